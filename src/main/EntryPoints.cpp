#include "main/EntryPoints.h"

#include <cstdio>
#include <exception>

#include "host/Host.h"
#include "main/Log.h"
#include "palette/PunktwolkenPalette.h"

namespace {

constexpr int32_t kAddOnTypePreload = 2;        // loaded at application start
constexpr int32_t kMenuPosUserDefined = 0;      // the add-on's own menu
constexpr int32_t kMenuFlagsDefault = 0;
constexpr int16_t kNoReferenceDialog = -32768;  // Show(): no dialog to place it next to

}  // namespace

namespace frame {

int32_t CheckEnvironment(EnvirParams& envir)
{
    host::AddOnRegistration& registration = host::CurrentHost().registration;
    envir.addOnName = registration.GetIndString(kStringsResId, 1);
    envir.addOnDescription = registration.GetIndString(kStringsResId, 2);
    return kAddOnTypePreload;
}

host::ErrCode RegisterInterface()
{
    host::CurrentHost().registration.RegisterMenu(kMenuResId, kPromptResId, kMenuPosUserDefined, kMenuFlagsDefault);
    return host::NoError;
}

host::ErrCode Initialize()
{
    Log("Initialize() aufgerufen.");
    host::AddOnRegistration& registration = host::CurrentHost().registration;
    registration.InstallMenuHandler(kMenuResId, &MenuCommandHandler);
    registration.RegisterModelessWindow(kPaletteRefId, &PunktwolkenPalette::ControlCallback, kPaletteFlags,
                                        PaletteGuid());
    Log("ModelessWindow registriert.");
    return host::NoError;
}

host::ErrCode FreeData()
{
    // The palette itself stays alive to the end of the process.
    host::CurrentHost().registration.UnregisterModelessWindow(kPaletteRefId);
    return host::NoError;
}

host::ErrCode MenuCommandHandler(const host::MenuParams& params)
{
    char line[128];
    std::snprintf(line, sizeof line, "MenuCommandHandler resID=%d itemIndex=%d", static_cast<int>(params.menuResID),
                  static_cast<int>(params.itemIndex));
    Log(line);

    if (params.menuResID == kMenuResId && params.itemIndex == 1) {
        PunktwolkenPalette* palette = nullptr;
        try {
            palette = PunktwolkenPalette::GetInstance();
        } catch (const std::exception& e) {
            // Nothing may leave a host callback; without a palette there is nothing to show.
            std::snprintf(line, sizeof line, "MenuHandler: Palette nicht erzeugt: %s", e.what());
            Log(line);
            return host::NoError;
        }
        palette->View().Show(kNoReferenceDialog);
        palette->Refresh();
        Log("MenuHandler: Show+Refresh done.");
    }
    return host::NoError;
}

}  // namespace frame
