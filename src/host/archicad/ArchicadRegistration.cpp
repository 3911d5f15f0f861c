#include <map>

#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/ArchicadConversions.h"

namespace archicad {

namespace {

// The host calls these C-style procedures; they pass the call on to the
// portable handler registered for the menu resource / palette reference.
std::map<short, host::MenuCommandProc>& MenuHandlers()
{
    static std::map<short, host::MenuCommandProc> handlers;
    return handlers;
}

std::map<Int32, host::PaletteControlCallBackProc>& PaletteCallbacks()
{
    static std::map<Int32, host::PaletteControlCallBackProc> callbacks;
    return callbacks;
}

GSErrCode __ACENV_CALL MenuCommandProc(const API_MenuParams* menuParams)
{
    if (menuParams == nullptr) {
        return NoError;
    }
    const auto found = MenuHandlers().find(menuParams->menuItemRef.menuResID);
    if (found == MenuHandlers().end()) {
        return NoError;
    }
    host::MenuParams params;
    params.menuResID = menuParams->menuItemRef.menuResID;
    params.itemIndex = static_cast<int16_t>(menuParams->menuItemRef.itemIndex);
    try {
        return found->second(params);
    } catch (...) {
        return NoError;   // nothing may unwind into the host
    }
}

GSErrCode __ACENV_CALL PaletteControlProc(Int32 referenceID, API_PaletteMessageID messageID, GS::IntPtr param)
{
    const auto found = PaletteCallbacks().find(referenceID);
    if (found == PaletteCallbacks().end()) {
        return NoError;
    }
    try {
        return found->second(referenceID, static_cast<int32_t>(messageID), static_cast<intptr_t>(param));
    } catch (...) {
        return NoError;   // nothing may unwind into the host
    }
}

}  // namespace

std::string ArchicadRegistration::GetIndString(int32_t resID, int32_t index)
{
    GS::UniString text;
    RSGetIndString(&text, static_cast<GSResID>(resID), static_cast<Int32>(index), ACAPI_GetOwnResModule(),
                   RST_Localised);
    return ToPortable(text);
}

host::ErrCode ArchicadRegistration::RegisterMenu(int16_t menuStrResID, int16_t promptStrResID, int32_t menuPosCode,
                                                 int32_t menuFlags)
{
    return ACAPI_Register_Menu(menuStrResID, promptStrResID, static_cast<APIMenuCodeID>(menuPosCode),
                               static_cast<GSFlags>(menuFlags));
}

host::ErrCode ArchicadRegistration::InstallMenuHandler(int16_t menuStrResID, host::MenuCommandProc handler)
{
    MenuHandlers()[menuStrResID] = handler;
    return ACAPI_Install_MenuHandler(menuStrResID, MenuCommandProc);
}

host::ErrCode ArchicadRegistration::RegisterModelessWindow(int32_t referenceID,
                                                           host::PaletteControlCallBackProc callback,
                                                           uint32_t controlFlags, const host::Guid& paletteGuid)
{
    PaletteCallbacks()[referenceID] = callback;
    return ACAPI_RegisterModelessWindow(referenceID, PaletteControlProc, static_cast<GSFlags>(controlFlags),
                                        ToArchicad(paletteGuid));
}

host::ErrCode ArchicadRegistration::UnregisterModelessWindow(int32_t referenceID)
{
    const GSErrCode err = ACAPI_UnregisterModelessWindow(referenceID);
    PaletteCallbacks().erase(referenceID);
    return err;
}

}  // namespace archicad
