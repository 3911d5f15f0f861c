// The four entry points the host calls, with the kit's signatures. The kit's
// static library (ACAP_STAT) hands them to the host through its export glue.
// Each binds the Archicad host first (the host may load the add-on anew
// between entry points) and then runs the portable frame; nothing may unwind
// into the host, so an exception ends the entry point with the result it has
// in every other case.
#include <exception>
#include <string>

#include "host/archicad/ArchicadConversions.h"
#include "host/archicad/ArchicadHost.h"
#include "main/EntryPoints.h"
#include "main/Log.h"

#include "ACAPinc.h"   // API_EnvirParams, API_AddonType, the entry points' declarations
#include "host/archicad/ArchicadApi.h"

namespace {

void LogException(const char* where, const char* what)
{
    const std::string line = std::string(where) + ": Ausnahme: " + what;
    Log(line.c_str());
}

template <typename Call>
GSErrCode Guarded(const char* where, Call&& call)
{
    try {
        return call();
    } catch (const std::exception& e) {
        LogException(where, e.what());
    } catch (...) {
        LogException(where, "unbekannt");
    }
    return NoError;
}

}  // namespace

API_AddonType PW_AC_ENTRY CheckEnvironment(API_EnvirParams* envir)
{
    archicad::BindArchicadHost();
    try {
        frame::EnvirParams params;
        const int32_t type = frame::CheckEnvironment(params);
        envir->addOnInfo.name = archicad::ToArchicad(params.addOnName);
        envir->addOnInfo.description = archicad::ToArchicad(params.addOnDescription);
        return static_cast<API_AddonType>(type);
    } catch (const std::exception& e) {
        LogException("CheckEnvironment", e.what());
    } catch (...) {
        LogException("CheckEnvironment", "unbekannt");
    }
    return APIAddon_Preload;
}

GSErrCode PW_AC_ENTRY RegisterInterface(void)
{
    archicad::BindArchicadHost();
    return Guarded("RegisterInterface", [] { return frame::RegisterInterface(); });
}

GSErrCode PW_AC_ENTRY Initialize(void)
{
    archicad::BindArchicadHost();
    return Guarded("Initialize", [] { return frame::Initialize(); });
}

GSErrCode PW_AC_ENTRY FreeData(void)
{
    archicad::BindArchicadHost();
    const GSErrCode err = Guarded("FreeData", [] { return frame::FreeData(); });
    // The palette itself lives on (held by pointer to the end of the process);
    // the adapters and their kit objects go now, while the kit still works.
    archicad::ReleaseArchicadHost();
    return err;
}
