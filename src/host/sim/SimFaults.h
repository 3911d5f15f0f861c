#pragma once
// Result codes that tests force on host operations: on the next call(s), on
// every call, or only for one library part index or one element.
#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "host/HostTypes.h"

namespace sim {

enum class Op {
    GetLibraries, SetLibraries, ReloadLibraries,
    LibPartGetNum, LibPartGet, LibPartGetParams, DisposeAddParHdl,
    OpenParameters, GetParameters, CloseParameters,
    GetDefaults, Create, GetElemList, ElementGet, GetMemo, ChangeMemo, Delete, DisposeElemMemoHdls,
    CallUndoableCommand, GetStorySettings,
    ProcessOpen, ProcessNextPhase, ProcessSetValue, ProcessIsCanceled, ProcessClose,
    RegisterMenu, InstallMenuHandler, RegisterModelessWindow, UnregisterModelessWindow,
};

class SimFaults {
public:
    // The next `times` calls of `op` return `code`.
    void FailNext(Op op, host::ErrCode code, int times = 1);
    // Every call of `op` returns `code` until cleared.
    void FailAlways(Op op, host::ErrCode code);
    // Calls of `op` for this library part index (or other integer key) return `code`.
    void FailAt(Op op, int64_t index, host::ErrCode code);
    // Calls of `op` for this element return `code`.
    void FailFor(Op op, const host::Guid& guid, host::ErrCode code);
    void Clear(Op op);
    void ClearAll();

    // The code forced for this call (consuming a FailNext), or NoError.
    host::ErrCode Take(Op op);
    host::ErrCode Take(Op op, int64_t index);
    host::ErrCode Take(Op op, const host::Guid& guid);

private:
    struct Forced {
        host::ErrCode code = host::NoError;
        int remaining = 0;   // < 0: always
    };
    std::map<Op, Forced> byOp_;
    std::map<std::pair<Op, int64_t>, host::ErrCode> byIndex_;
    std::map<std::pair<Op, std::string>, host::ErrCode> byGuid_;
};

}  // namespace sim
