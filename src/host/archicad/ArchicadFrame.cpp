#include "host/archicad/ArchicadFrame.h"

#include <exception>

#include "main/EntryPoints.h"
#include "main/Log.h"

namespace archicad {

namespace {

constexpr int32_t kAddOnTypePreload = 2;

void LogException(const char* where, const char* what)
{
    std::string line = std::string(where) + ": Ausnahme: " + what;
    Log(line.c_str());
}

}  // namespace

// Nothing may unwind into the host: an exception ends the entry point with
// the result it has in every other case.

int32_t FrameCheckEnvironment(std::string& name, std::string& description)
{
    try {
        EnvirParams envir;
        const int32_t type = ::CheckEnvironment(envir);
        name = envir.addOnName;
        description = envir.addOnDescription;
        return type;
    } catch (const std::exception& e) {
        LogException("CheckEnvironment", e.what());
    } catch (...) {
        LogException("CheckEnvironment", "unbekannt");
    }
    return kAddOnTypePreload;
}

host::ErrCode FrameRegisterInterface()
{
    try {
        return ::RegisterInterface();
    } catch (const std::exception& e) {
        LogException("RegisterInterface", e.what());
    } catch (...) {
        LogException("RegisterInterface", "unbekannt");
    }
    return host::NoError;
}

host::ErrCode FrameInitialize()
{
    try {
        return ::Initialize();
    } catch (const std::exception& e) {
        LogException("Initialize", e.what());
    } catch (...) {
        LogException("Initialize", "unbekannt");
    }
    return host::NoError;
}

host::ErrCode FrameFreeData()
{
    try {
        return ::FreeData();
    } catch (const std::exception& e) {
        LogException("FreeData", e.what());
    } catch (...) {
        LogException("FreeData", "unbekannt");
    }
    return host::NoError;
}

const host::Guid& FramePaletteGuid()
{
    return ::PaletteGuid();
}

int16_t FramePaletteResId()
{
    return kPaletteResId;
}

}  // namespace archicad
