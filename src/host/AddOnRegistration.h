#pragma once
// Registration of the add-on's menu command and modeless palette, and its
// resource strings (ACAPI_Register_Menu, ACAPI_Install_MenuHandler,
// ACAPI_RegisterModelessWindow, ACAPI_UnregisterModelessWindow, RSGetIndString).
#include <cstdint>
#include <string>

#include "host/HostTypes.h"

namespace host {

struct MenuParams {
    int16_t menuResID = 0;
    int16_t itemIndex = 0;
};

using MenuCommandProc = ErrCode (*)(const MenuParams& params);
using PaletteControlCallBackProc = ErrCode (*)(int32_t referenceID, int32_t messageID, intptr_t param);

class AddOnRegistration {
public:
    virtual ~AddOnRegistration() = default;
    virtual std::string GetIndString(int32_t resID, int32_t index) = 0;   // from the add-on's own resources
    virtual ErrCode RegisterMenu(int16_t menuStrResID, int16_t promptStrResID, int32_t menuPosCode, int32_t menuFlags) = 0;
    virtual ErrCode InstallMenuHandler(int16_t menuStrResID, MenuCommandProc handler) = 0;
    virtual ErrCode RegisterModelessWindow(int32_t referenceID, PaletteControlCallBackProc callback,
                                           uint32_t controlFlags, const Guid& paletteGuid) = 0;
    virtual ErrCode UnregisterModelessWindow(int32_t referenceID) = 0;
};

}  // namespace host
