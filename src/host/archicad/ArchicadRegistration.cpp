#include "RS.hpp"   // RSGetIndString

#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/ArchicadApi.h"
#include "host/archicad/ArchicadConversions.h"

namespace archicad {

namespace {

// The registration adapter that exists (created on first use, released in
// FreeData). A plain pointer: nothing here is destroyed when the add-on unloads.
ArchicadRegistration* g_current = nullptr;

// The host calls these C-style procedures; they pass the call on to the
// portable handler registered for the menu resource / palette reference.
GSErrCode PW_AC_CALLBACK MenuCommandProc(const API_MenuParams* menuParams)
{
    ArchicadRegistration* registration = ArchicadRegistration::Current();
    if (menuParams == nullptr || registration == nullptr) {
        return NoError;
    }
    const auto found = registration->menuHandlers.find(menuParams->menuItemRef.menuResID);
    if (found == registration->menuHandlers.end()) {
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

GSErrCode PW_AC_CALLBACK PaletteControlProc(Int32 referenceID, API_PaletteMessageID messageID, GS::IntPtr param)
{
    ArchicadRegistration* registration = ArchicadRegistration::Current();
    if (registration == nullptr) {
        return NoError;
    }
    const auto found = registration->paletteCallbacks.find(referenceID);
    if (found == registration->paletteCallbacks.end()) {
        return NoError;
    }
    try {
        return found->second(referenceID, static_cast<int32_t>(messageID), static_cast<intptr_t>(param));
    } catch (...) {
        return NoError;   // nothing may unwind into the host
    }
}

}  // namespace

ArchicadRegistration::ArchicadRegistration()
{
    g_current = this;
}

ArchicadRegistration::~ArchicadRegistration()
{
    if (g_current == this) {
        g_current = nullptr;
    }
}

ArchicadRegistration* ArchicadRegistration::Current()
{
    return g_current;
}

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
    return api::RegisterMenu(menuStrResID, promptStrResID, static_cast<APIMenuCodeID>(menuPosCode),
                             static_cast<GSFlags>(menuFlags));
}

host::ErrCode ArchicadRegistration::InstallMenuHandler(int16_t menuStrResID, host::MenuCommandProc handler)
{
    menuHandlers[menuStrResID] = handler;
    return api::InstallMenuHandler(menuStrResID, MenuCommandProc);
}

host::ErrCode ArchicadRegistration::RegisterModelessWindow(int32_t referenceID,
                                                           host::PaletteControlCallBackProc callback,
                                                           uint32_t controlFlags, const host::Guid& paletteGuid)
{
    paletteCallbacks[referenceID] = callback;
    return ACAPI_RegisterModelessWindow(referenceID, PaletteControlProc, static_cast<GSFlags>(controlFlags),
                                        ToArchicad(paletteGuid));
}

host::ErrCode ArchicadRegistration::UnregisterModelessWindow(int32_t referenceID)
{
    const GSErrCode err = ACAPI_UnregisterModelessWindow(referenceID);
    paletteCallbacks.erase(referenceID);
    return err;
}

}  // namespace archicad
