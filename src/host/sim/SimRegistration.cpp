#include "host/sim/SimRegistration.h"

#include "host/sim/SimErrorCodes.h"

namespace sim {

SimRegistration::SimRegistration(SimCallLog& log, SimFaults& faults) : log_(log), faults_(faults)
{
    strings_[{32000, 1}] = "Punktwolke";
    strings_[{32000, 2}] = "Importiert E57-Punktwolken als GDL-Objekte.";
    strings_[{32500, 1}] = "Punktwolken-Palette";
    strings_[{32600, 1}] = "Zeigt die Palette der importierten Punktwolken.";
}

std::string SimRegistration::GetIndString(int32_t resID, int32_t index)
{
    log_.Add("GetIndString " + std::to_string(resID) + " " + std::to_string(index));
    auto it = strings_.find({resID, index});
    return it == strings_.end() ? std::string() : it->second;
}

host::ErrCode SimRegistration::RegisterMenu(int16_t menuStrResID, int16_t promptStrResID, int32_t menuPosCode,
                                            int32_t menuFlags)
{
    log_.Add("RegisterMenu " + std::to_string(menuStrResID) + " " + std::to_string(promptStrResID) + " " +
             std::to_string(menuPosCode) + " " + std::to_string(menuFlags));
    if (const host::ErrCode err = faults_.Take(Op::RegisterMenu)) {
        return err;
    }
    menus_.push_back(MenuRegistration{menuStrResID, promptStrResID, menuPosCode, menuFlags});
    return host::NoError;
}

host::ErrCode SimRegistration::InstallMenuHandler(int16_t menuStrResID, host::MenuCommandProc handler)
{
    log_.Add("InstallMenuHandler " + std::to_string(menuStrResID));
    if (const host::ErrCode err = faults_.Take(Op::InstallMenuHandler)) {
        return err;
    }
    handlers_[menuStrResID] = handler;
    return host::NoError;
}

host::ErrCode SimRegistration::RegisterModelessWindow(int32_t referenceID, host::PaletteControlCallBackProc callback,
                                                      uint32_t controlFlags, const host::Guid& paletteGuid)
{
    log_.Add("RegisterModelessWindow " + std::to_string(referenceID) + " " + std::to_string(controlFlags));
    if (const host::ErrCode err = faults_.Take(Op::RegisterModelessWindow)) {
        return err;
    }
    if (windows_.count(referenceID) != 0) {
        return APIERR_BADID;
    }
    windows_[referenceID] = ModelessWindow{referenceID, callback, controlFlags, paletteGuid};
    return host::NoError;
}

host::ErrCode SimRegistration::UnregisterModelessWindow(int32_t referenceID)
{
    log_.Add("UnregisterModelessWindow " + std::to_string(referenceID));
    if (const host::ErrCode err = faults_.Take(Op::UnregisterModelessWindow)) {
        return err;
    }
    return windows_.erase(referenceID) != 0 ? host::NoError : APIERR_BADID;
}

host::ErrCode SimRegistration::InvokeMenu(int16_t menuResID, int16_t itemIndex)
{
    auto it = handlers_.find(menuResID);
    if (it == handlers_.end() || it->second == nullptr) {
        return APIERR_BADID;
    }
    host::MenuParams params;
    params.menuResID = menuResID;
    params.itemIndex = itemIndex;
    return it->second(params);
}

host::ErrCode SimRegistration::SendPaletteMessage(int32_t referenceID, int32_t messageID, intptr_t param)
{
    auto it = windows_.find(referenceID);
    if (it == windows_.end() || it->second.callback == nullptr) {
        return APIERR_BADID;
    }
    return it->second.callback(referenceID, messageID, param);
}

}  // namespace sim
