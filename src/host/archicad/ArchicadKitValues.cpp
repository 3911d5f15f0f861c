// Compile-time checks: every number that the portable code uses in place of a
// name of the kit must equal that name's value in the kit the add-on is built
// with. A kit with other values stops the build here.
#include <cstdint>

#include "host/HostTypes.h"

#include "ACAPinc.h"
#include "DG.h"   // DG_WARNING, DG_OK, ...

// Add-on type, menu position and flags, palette flags (entry points).
static_assert(APIAddon_Preload == 2, "add-on type code 2");
static_assert(MenuCode_UserDef == 0, "menu position code 0");
static_assert(MenuFlag_Default == 0, "menu flags 0");
static_assert((API_PalEnabled_FloorPlan | API_PalEnabled_Section | API_PalEnabled_3D | API_PalEnabled_Detail |
               API_PalEnabled_Layout | API_PalEnabled_Worksheet | API_PalEnabled_Elevation |
               API_PalEnabled_InteriorElevation | API_PalEnabled_DocumentFrom3D) == 1015,
              "palette flags 1015: every view but selection-only and model compare");

// Palette messages (PunktwolkenPalette::ControlCallback).
static_assert(APIPalMsg_ClosePalette == 1 && APIPalMsg_HidePalette_Begin == 2 && APIPalMsg_HidePalette_End == 3 &&
                  APIPalMsg_DisableItems_Begin == 4 && APIPalMsg_DisableItems_End == 5 &&
                  APIPalMsg_OpenPalette == 6 && APIPalMsg_IsPaletteVisible == 7,
              "palette message codes 1 to 7");

// Dialog library values passed as numbers (those of the palette's classes
// are checked in PunktwolkenPaletteDG.cpp).
static_assert(DG_WARNING == -2, "alert type -2 of the delete question");
static_assert(DG_OK == 1 && DG_CANCEL == 2 && DG_THIRD == 3, "alert answers 1, 2, 3");

// Request codes, as the portable code names them with FourCC. Only version 26
// reaches the host through them; from 27 on the calls have names of their own.
#if !defined(ServerMainVers_2700)
static_assert(APIEnv_GetLibrariesID == host::FourCC("GLIB"), "'GLIB'");
static_assert(APIEnv_SetLibrariesID == host::FourCC("SLIB"), "'SLIB'");
static_assert(APIDo_ReloadLibrariesID == host::FourCC("RLIB"), "'RLIB'");
static_assert(APIEnv_GetStorySettingsID == host::FourCC("GSTO"), "'GSTO'");
static_assert(APIAny_OpenParametersID == host::FourCC("OPAR"), "'OPAR'");
static_assert(APIAny_GetActParametersID == host::FourCC("GPAR"), "'GPAR'");
static_assert(APIAny_CloseParametersID == host::FourCC("CPAR"), "'CPAR'");
static_assert(APIIo_InitProcessWindowID == host::FourCC("IPWD"), "'IPWD'");
static_assert(APIIo_SetNextProcessPhaseID == host::FourCC("SPRP"), "'SPRP'");
static_assert(APIIo_SetProcessValueID == host::FourCC("SPRV"), "'SPRV'");
static_assert(APIIo_IsProcessCanceledID == host::FourCC("CANC"), "'CANC'");
static_assert(APIIo_CloseProcessWindowID == host::FourCC("CPWD"), "'CPWD'");
#endif

// Element and parameter codes of HostTypes.h.
static_assert(host::API_ObjectID == API_ObjectID, "object element type");
static_assert(host::kMemoMaskAddPars == APIMemoMask_AddPars, "memo mask of the parameters");
static_assert(int(host::APIParT_Integer) == int(APIParT_Integer) && int(host::APIParT_Length) == int(APIParT_Length) &&
                  int(host::APIParT_RealNum) == int(APIParT_RealNum) &&
                  int(host::APIParT_CString) == int(APIParT_CString) &&
                  int(host::APIParT_Boolean) == int(APIParT_Boolean) && int(host::APIParT_Title) == int(APIParT_Title),
              "parameter type codes");
static_assert(API_LocalLibrary == 1 && API_BuiltInLibrary == 3, "library types 1 (local) and 3 (built-in)");
static_assert(sizeof(API_Guid) == 16 && sizeof(GS::Guid) == 16, "16-byte identifiers");
