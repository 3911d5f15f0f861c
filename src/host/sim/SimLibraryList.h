#pragma once
// The project's library list ('GLIB', 'SLIB', 'RLIB').
//
// Built-in entries (type 3) belong to the host: 'SLIB' keeps those of the
// current list (in front of the new entries) and refuses a list that contains
// one (APIERR_BADPARS, list unchanged, noted as a problem). 'SLIB' only stores
// the list; the library parts are loaded again by 'RLIB' (or by 'SLIB' as well
// after SetReloadOnSet(true)).
#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

#include "host/LibraryList.h"
#include "host/sim/SimCallLog.h"
#include "host/sim/SimFaults.h"

namespace sim {

class SimLibraryList : public host::LibraryList {
public:
    SimLibraryList(SimCallLog& log, SimFaults& faults, std::function<void()> reload);

    // host::LibraryList
    host::ErrCode GetLibraries(std::vector<host::LibraryInfo>& libraries, int32_t* embeddedLibraryIndex) override;
    host::ErrCode SetLibraries(const std::vector<host::LibraryInfo>& libraries) override;
    host::ErrCode ReloadLibraries() override;

    // Replaces the list without a host call and without loading anything.
    void Seed(const std::vector<host::LibraryInfo>& libraries) { libraries_ = libraries; }
    const std::vector<host::LibraryInfo>& Libraries() const { return libraries_; }
    // The list that the last accepted 'SLIB' was given; empty before any.
    const std::vector<host::LibraryInfo>& LastSet() const { return lastSet_; }
    int SetCount() const { return setCount_; }
    int ReloadCount() const { return reloadCount_; }
    void SetReloadOnSet(bool reload) { reloadOnSet_ = reload; }

    // Entries as tests seed them.
    static host::LibraryInfo Local(const std::filesystem::path& folder);
    static host::LibraryInfo BuiltIn(const std::filesystem::path& location);

private:
    SimCallLog& log_;
    SimFaults& faults_;
    std::function<void()> reload_;
    std::vector<host::LibraryInfo> libraries_;
    std::vector<host::LibraryInfo> lastSet_;
    int setCount_ = 0;
    int reloadCount_ = 0;
    bool reloadOnSet_ = false;
};

}  // namespace sim
