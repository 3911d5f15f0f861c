#pragma once
// The project's loaded library parts: those loaded from the registered library
// folders at the last reload, and those that tests add directly.
//
// Loading (LoadFrom, run by the library list's reload): parts added directly
// come first, in the order they were added; then, for every library list entry
// in list order whose location is an existing folder, every file ending in
// ".gsm" (any case) in that folder and its subfolders, sorted by path. Each file
// is read as a stand-in library part (StandInLibPartFile.h); its name is the file
// name without the extension. Files that cannot be read are skipped and noted
// in LoadProblems(). Indexes are 1-based and hold until the next reload; a part
// added directly between reloads is appended at the end.
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "host/LibParts.h"
#include "host/sim/SimCallLog.h"
#include "host/sim/SimFaults.h"
#include "host/sim/SimHandles.h"

namespace sim {

struct SimLibPart {
    std::u16string name;                 // docu_UName
    std::filesystem::path file;          // the .gsm; empty for a part added directly
    std::string mainGuid;                // identity that placed objects follow across reloads
    std::string pointCloudFile;          // file named by the 3D script (UTF-8), empty if none
    double a = 1.0;                      // default sizes handed out with the parameters
    double b = 1.0;
    std::vector<host::AddPar> params;    // default parameter values
    std::vector<uint16_t> flags;         // parameter flags, parallel to params
};

class SimLibParts : public host::LibParts {
public:
    SimLibParts(SimCallLog& log, SimFaults& faults, SimHandles& handles);

    // host::LibParts
    host::ErrCode GetNum(int32_t& count) override;
    host::ErrCode Get(host::LibPart& libPart) override;
    host::ErrCode GetParams(int32_t libInd, double& a, double& b, int32_t& addParNum,
                            host::AddParHandle& addPars) override;
    host::ErrCode DisposeAddParHdl(host::AddParHandle& addPars) override;
    host::ErrCode OpenParameters(int32_t libInd) override;
    host::ErrCode GetParameters(double& a, double& b, host::AddParHandle& params) override;
    host::ErrCode CloseParameters() override;

    // Adds a part that survives reloads; returns its current index. The sizes
    // default to the values of parameters "A" and "B" when present, else 1.
    int32_t AddLibPart(const std::u16string& name, const std::vector<host::AddPar>& params);
    int32_t AddLibPart(const std::u16string& name, const std::vector<host::AddPar>& params, double a, double b);
    void ClearAddedParts();

    // Replaces the loaded parts (see the header comment).
    void LoadFrom(const std::vector<host::LibraryInfo>& libraries);

    const std::vector<SimLibPart>& Parts() const { return parts_; }
    int32_t Count() const { return static_cast<int32_t>(parts_.size()); }
    const SimLibPart* Part(int32_t libInd) const;            // null when out of range
    int32_t IndexOfName(const std::u16string& name) const;   // first match; 0 when none
    // A key that names the same part across reloads (its main GUID); "" when out of range.
    std::string KeyOf(int32_t libInd) const;
    int32_t IndexOfKey(const std::string& key) const;        // first match; 0 when none
    const std::vector<std::string>& LoadProblems() const { return loadProblems_; }
    int32_t OpenParametersIndex() const { return openIndex_; }   // 0 when no scope is open

private:
    SimCallLog& log_;
    SimFaults& faults_;
    SimHandles& handles_;
    std::vector<SimLibPart> added_;
    std::vector<SimLibPart> parts_;
    std::vector<std::string> loadProblems_;
    int32_t openIndex_ = 0;
    int addedCounter_ = 0;
};

}  // namespace sim
