#include "host/sim/SimFaults.h"

#include "host/sim/SimText.h"

namespace sim {

void SimFaults::FailNext(Op op, host::ErrCode code, int times)
{
    byOp_[op] = Forced{code, times};
}

void SimFaults::FailAlways(Op op, host::ErrCode code)
{
    byOp_[op] = Forced{code, -1};
}

void SimFaults::FailAt(Op op, int64_t index, host::ErrCode code)
{
    byIndex_[{op, index}] = code;
}

void SimFaults::FailFor(Op op, const host::Guid& guid, host::ErrCode code)
{
    byGuid_[{op, GuidToString(guid)}] = code;
}

void SimFaults::Clear(Op op)
{
    byOp_.erase(op);
    for (auto it = byIndex_.begin(); it != byIndex_.end();) {
        it = it->first.first == op ? byIndex_.erase(it) : std::next(it);
    }
    for (auto it = byGuid_.begin(); it != byGuid_.end();) {
        it = it->first.first == op ? byGuid_.erase(it) : std::next(it);
    }
}

void SimFaults::ClearAll()
{
    byOp_.clear();
    byIndex_.clear();
    byGuid_.clear();
}

host::ErrCode SimFaults::Take(Op op)
{
    auto it = byOp_.find(op);
    if (it == byOp_.end() || it->second.remaining == 0) {
        return host::NoError;
    }
    const host::ErrCode code = it->second.code;
    if (it->second.remaining > 0 && --it->second.remaining == 0) {
        byOp_.erase(it);
    }
    return code;
}

host::ErrCode SimFaults::Take(Op op, int64_t index)
{
    const host::ErrCode code = Take(op);
    if (code != host::NoError) {
        return code;
    }
    auto it = byIndex_.find({op, index});
    return it == byIndex_.end() ? host::NoError : it->second;
}

host::ErrCode SimFaults::Take(Op op, const host::Guid& guid)
{
    const host::ErrCode code = Take(op);
    if (code != host::NoError) {
        return code;
    }
    auto it = byGuid_.find({op, GuidToString(guid)});
    return it == byGuid_.end() ? host::NoError : it->second;
}

}  // namespace sim
