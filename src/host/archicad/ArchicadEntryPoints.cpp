// The four entry points the host calls, with the kit's signatures. The kit's
// static library (ACAP_STAT) hands them to the host through its export glue.
// Each binds the Archicad host first (the host may load the add-on anew
// between entry points) and then runs the portable frame.
#include <string>

#include "host/archicad/ArchicadConversions.h"
#include "host/archicad/ArchicadFrame.h"
#include "host/archicad/ArchicadHost.h"
#include "host/archicad/ArchicadSdk.h"

API_AddonType __ACDLL_CALL CheckEnvironment(API_EnvirParams* envir)
{
    archicad::BindArchicadHost();
    std::string name;
    std::string description;
    const int32_t type = archicad::FrameCheckEnvironment(name, description);
    envir->addOnInfo.name = archicad::ToArchicad(name);
    envir->addOnInfo.description = archicad::ToArchicad(description);
    return static_cast<API_AddonType>(type);
}

GSErrCode __ACDLL_CALL RegisterInterface(void)
{
    archicad::BindArchicadHost();
    return archicad::FrameRegisterInterface();
}

GSErrCode __ACDLL_CALL Initialize(void)
{
    archicad::BindArchicadHost();
    return archicad::FrameInitialize();
}

GSErrCode __ACDLL_CALL FreeData(void)
{
    archicad::BindArchicadHost();
    return archicad::FrameFreeData();
}
