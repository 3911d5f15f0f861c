#pragma once
// The one place where the binding meets the differences between the kit
// versions it builds with (Archicad 26, 27, 28, 29). Every call that the host
// maker renamed in version 27 has one small wrapper here, switched on the
// kit's own version macro: a kit of version 27 or later defines
// ServerMainVers_2700. The adapters call only these wrappers.
//
// Version 26 keeps its request-code calls exactly as they were; 28 and 29
// keep the names of 27. The calling-convention macros are written only where
// the kit still declares them (they are empty on macOS; kit 29 has none).
#include "ACAPinc.h"

#if defined(ServerMainVers_2700)
#define PW_AC_CALLBACK
#define PW_AC_ENTRY
#else
#define PW_AC_CALLBACK __ACENV_CALL
#define PW_AC_ENTRY __ACDLL_CALL
#endif

namespace archicad::api {

// --- menu ----------------------------------------------------------------------

inline GSErrCode RegisterMenu(short menuStrResID, short promptStrResID, APIMenuCodeID menuPosCode, GSFlags menuFlags)
{
#if defined(ServerMainVers_2700)
    return ACAPI_MenuItem_RegisterMenu(menuStrResID, promptStrResID, menuPosCode, menuFlags);
#else
    return ACAPI_Register_Menu(menuStrResID, promptStrResID, menuPosCode, menuFlags);
#endif
}

inline GSErrCode InstallMenuHandler(short menuStrResID, APIMenuCommandProc* handler)
{
#if defined(ServerMainVers_2700)
    return ACAPI_MenuItem_InstallMenuHandler(menuStrResID, handler);
#else
    return ACAPI_Install_MenuHandler(menuStrResID, handler);
#endif
}

// --- process window --------------------------------------------------------------

inline GSErrCode InitProcessWindow(GS::UniString* title, Int32 phaseCount)
{
#if defined(ServerMainVers_2700)
    Int32 nPhase = phaseCount;
    return ACAPI_ProcessWindow_InitProcessWindow(title, &nPhase);
#else
    short nPhase = static_cast<short>(phaseCount);   // version 26 takes the phase count as short
    return ACAPI_Interface(APIIo_InitProcessWindowID, title, &nPhase);
#endif
}

inline GSErrCode SetNextProcessPhase(GS::UniString* subtitle, Int32* maxValue)
{
#if defined(ServerMainVers_2700)
    return ACAPI_ProcessWindow_SetNextProcessPhase(subtitle, maxValue);
#else
    return ACAPI_Interface(APIIo_SetNextProcessPhaseID, subtitle, maxValue);
#endif
}

inline GSErrCode SetProcessValue(Int32* value)
{
#if defined(ServerMainVers_2700)
    return ACAPI_ProcessWindow_SetProcessValue(value);
#else
    return ACAPI_Interface(APIIo_SetProcessValueID, value);
#endif
}

// Takes no arguments and answers a cancel through its result (APIERR_CANCEL).
inline GSErrCode IsProcessCanceled()
{
#if defined(ServerMainVers_2700)
    return ACAPI_ProcessWindow_IsProcessCanceled();
#else
    return ACAPI_Interface(APIIo_IsProcessCanceledID);
#endif
}

inline GSErrCode CloseProcessWindow()
{
#if defined(ServerMainVers_2700)
    return ACAPI_ProcessWindow_CloseProcessWindow();
#else
    return ACAPI_Interface(APIIo_CloseProcessWindowID);
#endif
}

// --- library list ------------------------------------------------------------------

inline GSErrCode GetLibraries(GS::Array<API_LibraryInfo>* libraries, Int32* embeddedLibraryIndex)
{
#if defined(ServerMainVers_2700)
    return ACAPI_LibraryManagement_GetLibraries(libraries, embeddedLibraryIndex);
#else
    return ACAPI_Environment(APIEnv_GetLibrariesID, libraries, embeddedLibraryIndex);
#endif
}

inline GSErrCode SetLibraries(GS::Array<API_LibraryInfo>* libraries)
{
#if defined(ServerMainVers_2700)
    return ACAPI_LibraryManagement_SetLibraries(libraries);
#else
    return ACAPI_Environment(APIEnv_SetLibrariesID, libraries);
#endif
}

inline GSErrCode ReloadLibraries()
{
#if defined(ServerMainVers_2700)
    return ACAPI_ProjectOperation_ReloadLibraries();
#else
    return ACAPI_Automate(APIDo_ReloadLibrariesID);
#endif
}

// --- stories -------------------------------------------------------------------------

inline GSErrCode GetStorySettings(API_StoryInfo* storyInfo)
{
#if defined(ServerMainVers_2700)
    return ACAPI_ProjectSetting_GetStorySettings(storyInfo);
#else
    return ACAPI_Environment(APIEnv_GetStorySettingsID, storyInfo);
#endif
}

// --- library parts and their parameters ----------------------------------------------

inline GSErrCode LibPartGetNum(Int32* count)
{
#if defined(ServerMainVers_2700)
    return ACAPI_LibraryPart_GetNum(count);
#else
    return ACAPI_LibPart_GetNum(count);
#endif
}

inline GSErrCode LibPartGet(API_LibPart* libPart)
{
#if defined(ServerMainVers_2700)
    return ACAPI_LibraryPart_Get(libPart);
#else
    return ACAPI_LibPart_Get(libPart);
#endif
}

inline GSErrCode LibPartGetParams(Int32 libInd, double* a, double* b, Int32* addParNum, API_AddParType*** addPars)
{
#if defined(ServerMainVers_2700)
    return ACAPI_LibraryPart_GetParams(libInd, a, b, addParNum, addPars);
#else
    return ACAPI_LibPart_GetParams(libInd, a, b, addParNum, addPars);
#endif
}

inline GSErrCode OpenParameters(API_ParamOwnerType* owner)
{
#if defined(ServerMainVers_2700)
    return ACAPI_LibraryPart_OpenParameters(owner);
#else
    return ACAPI_Goodies(APIAny_OpenParametersID, owner);
#endif
}

inline GSErrCode GetActParameters(API_GetParamsType* params)
{
#if defined(ServerMainVers_2700)
    return ACAPI_LibraryPart_GetActParameters(params);
#else
    return ACAPI_Goodies(APIAny_GetActParametersID, params);
#endif
}

inline GSErrCode CloseParameters()
{
#if defined(ServerMainVers_2700)
    return ACAPI_LibraryPart_CloseParameters();
#else
    return ACAPI_Goodies(APIAny_CloseParametersID);
#endif
}

// --- the library part converter ------------------------------------------------------

// LP_XMLConverter ships inside the application, and every main version installs
// into a folder named after it. Version 26 keeps the import's own default.
inline const char* LibPartConverterPath()
{
#if defined(ServerMainVers_2900)
    return "/Applications/GRAPHISOFT/Archicad 29/Archicad 29.app/Contents/MacOS/LP_XMLConverter.app/Contents/MacOS/LP_XMLConverter";
#elif defined(ServerMainVers_2800)
    return "/Applications/GRAPHISOFT/Archicad 28/Archicad 28.app/Contents/MacOS/LP_XMLConverter.app/Contents/MacOS/LP_XMLConverter";
#elif defined(ServerMainVers_2700)
    return "/Applications/GRAPHISOFT/Archicad 27/Archicad 27.app/Contents/MacOS/LP_XMLConverter.app/Contents/MacOS/LP_XMLConverter";
#else
    return nullptr;
#endif
}

}  // namespace archicad::api
