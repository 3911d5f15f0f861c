#include "host/sim/SimLibraryList.h"

#include <utility>

#include "host/sim/SimErrorCodes.h"

namespace sim {

namespace {
constexpr int32_t kBuiltIn = 3;
constexpr int32_t kEmbedded = 4;
}  // namespace

SimLibraryList::SimLibraryList(SimCallLog& log, SimFaults& faults, std::function<void()> reload)
    : log_(log), faults_(faults), reload_(std::move(reload))
{
}

host::ErrCode SimLibraryList::GetLibraries(std::vector<host::LibraryInfo>& libraries, int32_t* embeddedLibraryIndex)
{
    log_.Add("GLIB");
    libraries.clear();
    if (const host::ErrCode err = faults_.Take(Op::GetLibraries)) {
        return err;
    }
    libraries = libraries_;
    if (embeddedLibraryIndex != nullptr) {
        *embeddedLibraryIndex = -1;
        for (size_t i = 0; i < libraries_.size(); ++i) {
            if (libraries_[i].libraryType == kEmbedded) {
                *embeddedLibraryIndex = static_cast<int32_t>(i);
                break;
            }
        }
    }
    return host::NoError;
}

host::ErrCode SimLibraryList::SetLibraries(const std::vector<host::LibraryInfo>& libraries)
{
    log_.Add("SLIB");
    if (const host::ErrCode err = faults_.Take(Op::SetLibraries)) {
        return err;
    }
    for (const auto& lib : libraries) {
        if (lib.libraryType == kBuiltIn) {
            log_.AddProblem("SLIB given a built-in library entry: " + lib.location.string());
            return APIERR_BADPARS;
        }
    }
    std::vector<host::LibraryInfo> next;
    for (const auto& lib : libraries_) {
        if (lib.libraryType == kBuiltIn) {
            next.push_back(lib);
        }
    }
    next.insert(next.end(), libraries.begin(), libraries.end());
    libraries_ = std::move(next);
    lastSet_ = libraries;
    ++setCount_;
    if (reloadOnSet_ && reload_) {
        reload_();
    }
    return host::NoError;
}

host::ErrCode SimLibraryList::ReloadLibraries()
{
    log_.Add("RLIB");
    if (const host::ErrCode err = faults_.Take(Op::ReloadLibraries)) {
        return err;
    }
    ++reloadCount_;
    if (reload_) {
        reload_();
    }
    return host::NoError;
}

host::LibraryInfo SimLibraryList::Local(const std::filesystem::path& folder)
{
    host::LibraryInfo info;
    info.location = folder;
    info.libraryType = 1;
    info.available = true;
    return info;
}

host::LibraryInfo SimLibraryList::BuiltIn(const std::filesystem::path& location)
{
    host::LibraryInfo info;
    info.location = location;
    info.name = location.filename().string();
    info.libraryType = kBuiltIn;
    info.available = true;
    info.readOnly = true;
    return info;
}

}  // namespace sim
