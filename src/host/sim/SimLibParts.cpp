#include "host/sim/SimLibParts.h"

#include <algorithm>
#include <cctype>
#include <system_error>

#include "host/sim/SimErrorCodes.h"
#include "host/sim/SimText.h"
#include "host/sim/StandInLibPartFile.h"

namespace sim {

namespace {

bool HasGsmExtension(const std::filesystem::path& p)
{
    std::string ext = p.extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    return ext == ".gsm";
}

SimLibPart FromFile(const std::filesystem::path& file, const StandInLibPart& in)
{
    SimLibPart part;
    part.name = Utf8ToUtf16(file.stem().string());
    part.file = file;
    part.mainGuid = in.mainGuid;
    part.pointCloudFile = in.pointCloudFile;
    for (const auto& p : in.params) {
        part.params.push_back(MakePar(p.typeID, p.name, p.number, Utf8ToUtf16(p.text)));
        part.flags.push_back(p.flags);
        if (p.name == "A") {
            part.a = p.number;
        } else if (p.name == "B") {
            part.b = p.number;
        }
    }
    return part;
}

}  // namespace

SimLibParts::SimLibParts(SimCallLog& log, SimFaults& faults, SimHandles& handles)
    : log_(log), faults_(faults), handles_(handles)
{
}

host::ErrCode SimLibParts::GetNum(int32_t& count)
{
    log_.Add("LibPart_GetNum");
    if (const host::ErrCode err = faults_.Take(Op::LibPartGetNum)) {
        return err;
    }
    count = Count();
    return host::NoError;
}

host::ErrCode SimLibParts::Get(host::LibPart& libPart)
{
    log_.Add("LibPart_Get " + std::to_string(libPart.index));
    const SimLibPart* part = Part(libPart.index);
    if (const host::ErrCode err = faults_.Take(Op::LibPartGet, libPart.index)) {
        if (err == APIERR_MISSINGDEF && part != nullptr) {
            SetUni(libPart.docu_UName, part->name);   // the host names a part whose definition is missing
        }
        return err;
    }
    if (part == nullptr) {
        return APIERR_BADINDEX;
    }
    SetUni(libPart.docu_UName, part->name);
    return host::NoError;
}

host::ErrCode SimLibParts::GetParams(int32_t libInd, double& a, double& b, int32_t& addParNum,
                                     host::AddParHandle& addPars)
{
    log_.Add("LibPart_GetParams " + std::to_string(libInd));
    if (const host::ErrCode err = faults_.Take(Op::LibPartGetParams, libInd)) {
        return err;
    }
    const SimLibPart* part = Part(libInd);
    if (part == nullptr) {
        return APIERR_BADINDEX;
    }
    a = part->a;
    b = part->b;
    addParNum = static_cast<int32_t>(part->params.size());
    addPars = handles_.Issue(part->params);
    return host::NoError;
}

host::ErrCode SimLibParts::DisposeAddParHdl(host::AddParHandle& addPars)
{
    log_.Add("DisposeAddParHdl");
    if (const host::ErrCode err = faults_.Take(Op::DisposeAddParHdl)) {
        return err;
    }
    return handles_.Dispose(addPars) ? host::NoError : APIERR_BADPARS;
}

host::ErrCode SimLibParts::OpenParameters(int32_t libInd)
{
    log_.Add("OPAR " + std::to_string(libInd));
    if (const host::ErrCode err = faults_.Take(Op::OpenParameters, libInd)) {
        return err;
    }
    if (openIndex_ != 0) {
        log_.AddProblem("OPAR while a parameter scope is open");
        return APIERR_NESTING;
    }
    if (Part(libInd) == nullptr) {
        return APIERR_BADINDEX;
    }
    openIndex_ = libInd;
    return host::NoError;
}

host::ErrCode SimLibParts::GetParameters(double& a, double& b, host::AddParHandle& params)
{
    log_.Add("GPAR");
    if (const host::ErrCode err = faults_.Take(Op::GetParameters)) {
        return err;
    }
    const SimLibPart* part = Part(openIndex_);
    if (part == nullptr) {
        log_.AddProblem("GPAR without an open parameter scope");
        return APIERR_NOTINIT;
    }
    a = part->a;
    b = part->b;
    params = handles_.Issue(part->params);
    return host::NoError;
}

host::ErrCode SimLibParts::CloseParameters()
{
    log_.Add("CPAR");
    if (const host::ErrCode err = faults_.Take(Op::CloseParameters)) {
        openIndex_ = 0;   // a failed close still ends the scope
        return err;
    }
    if (openIndex_ == 0) {
        log_.AddProblem("CPAR without an open parameter scope");
        return APIERR_NOTINIT;
    }
    openIndex_ = 0;
    return host::NoError;
}

int32_t SimLibParts::AddLibPart(const std::u16string& name, const std::vector<host::AddPar>& params)
{
    const host::AddPar* a = FindPar(params, "A");
    const host::AddPar* b = FindPar(params, "B");
    return AddLibPart(name, params, a != nullptr ? a->real : 1.0, b != nullptr ? b->real : 1.0);
}

int32_t SimLibParts::AddLibPart(const std::u16string& name, const std::vector<host::AddPar>& params, double a,
                                double b)
{
    SimLibPart part;
    part.name = name;
    part.mainGuid = "added-" + std::to_string(++addedCounter_);
    part.a = a;
    part.b = b;
    part.params = params;
    part.flags.assign(params.size(), 0);
    added_.push_back(part);
    parts_.push_back(part);
    return Count();
}

void SimLibParts::ClearAddedParts()
{
    added_.clear();
}

void SimLibParts::LoadFrom(const std::vector<host::LibraryInfo>& libraries)
{
    parts_ = added_;
    loadProblems_.clear();
    openIndex_ = 0;
    for (const auto& lib : libraries) {
        std::error_code ec;
        if (!std::filesystem::is_directory(lib.location, ec)) {
            continue;
        }
        std::vector<std::filesystem::path> files;
        std::filesystem::recursive_directory_iterator it(lib.location, ec);
        for (; !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
            if (it->is_regular_file(ec) && HasGsmExtension(it->path())) {
                files.push_back(it->path());
            }
        }
        if (ec) {
            loadProblems_.push_back("cannot list " + lib.location.string() + ": " + ec.message());
        }
        std::sort(files.begin(), files.end());
        for (const auto& file : files) {
            StandInLibPart in;
            std::string error;
            if (!ReadStandInLibPart(file, in, error)) {
                loadProblems_.push_back(file.string() + ": " + error);
                continue;
            }
            parts_.push_back(FromFile(file, in));
        }
    }
}

const SimLibPart* SimLibParts::Part(int32_t libInd) const
{
    if (libInd < 1 || libInd > Count()) {
        return nullptr;
    }
    return &parts_[static_cast<size_t>(libInd - 1)];
}

int32_t SimLibParts::IndexOfName(const std::u16string& name) const
{
    for (size_t i = 0; i < parts_.size(); ++i) {
        if (parts_[i].name == name) {
            return static_cast<int32_t>(i + 1);
        }
    }
    return 0;
}

std::string SimLibParts::KeyOf(int32_t libInd) const
{
    const SimLibPart* part = Part(libInd);
    if (part == nullptr) {
        return "";
    }
    return part->mainGuid.empty() ? part->file.string() : part->mainGuid;
}

int32_t SimLibParts::IndexOfKey(const std::string& key) const
{
    if (key.empty()) {
        return 0;
    }
    for (int32_t i = 1; i <= Count(); ++i) {
        if (KeyOf(i) == key) {
            return i;
        }
    }
    return 0;
}

}  // namespace sim
