#pragma once
// Menu and palette registration and the add-on's resource strings. It also
// plays the host's side: invoking the installed menu handler and sending
// messages to the registered palette callback.
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/AddOnRegistration.h"
#include "host/sim/SimCallLog.h"
#include "host/sim/SimFaults.h"

namespace sim {

struct MenuRegistration {
    int16_t menuStrResID = 0;
    int16_t promptStrResID = 0;
    int32_t menuPosCode = 0;
    int32_t menuFlags = 0;
};

struct ModelessWindow {
    int32_t referenceID = 0;
    host::PaletteControlCallBackProc callback = nullptr;
    uint32_t controlFlags = 0;
    host::Guid paletteGuid;
};

class SimRegistration : public host::AddOnRegistration {
public:
    SimRegistration(SimCallLog& log, SimFaults& faults);

    std::string GetIndString(int32_t resID, int32_t index) override;
    host::ErrCode RegisterMenu(int16_t menuStrResID, int16_t promptStrResID, int32_t menuPosCode,
                               int32_t menuFlags) override;
    host::ErrCode InstallMenuHandler(int16_t menuStrResID, host::MenuCommandProc handler) override;
    host::ErrCode RegisterModelessWindow(int32_t referenceID, host::PaletteControlCallBackProc callback,
                                         uint32_t controlFlags, const host::Guid& paletteGuid) override;
    host::ErrCode UnregisterModelessWindow(int32_t referenceID) override;

    // Resource strings; initially 32000/1 name, 32000/2 description, 32500/1 menu, 32600/1 prompt.
    void SetString(int32_t resID, int32_t index, const std::string& text) { strings_[{resID, index}] = text; }

    const std::vector<MenuRegistration>& Menus() const { return menus_; }
    // Installed handlers by menu resource ID.
    const std::map<int16_t, host::MenuCommandProc>& MenuHandlers() const { return handlers_; }
    // Currently registered palettes by reference ID.
    const std::map<int32_t, ModelessWindow>& Windows() const { return windows_; }

    // The host's side: the user chooses a menu item; the host messages a palette.
    // APIERR_BADID when nothing is installed/registered for the ID.
    host::ErrCode InvokeMenu(int16_t menuResID, int16_t itemIndex);
    host::ErrCode SendPaletteMessage(int32_t referenceID, int32_t messageID, intptr_t param);

private:
    SimCallLog& log_;
    SimFaults& faults_;
    std::map<std::pair<int32_t, int32_t>, std::string> strings_;
    std::vector<MenuRegistration> menus_;
    std::map<int16_t, host::MenuCommandProc> handlers_;
    std::map<int32_t, ModelessWindow> windows_;
};

}  // namespace sim
