#pragma once
// Accounting of the parameter handles that the simulated host hands out.
// Every handle it creates stays registered until the add-on disposes it
// (DisposeAddParHdl, DisposeElemMemoHdls), so tests can see leaked handles and
// disposals of handles the host never gave out (or gave out and took back).
#include <vector>

#include "host/HostTypes.h"
#include "host/sim/SimCallLog.h"

namespace sim {

class SimHandles {
public:
    explicit SimHandles(SimCallLog& log) : log_(log) {}

    // A new handle holding a copy of `params`, registered as outstanding.
    host::AddParHandle Issue(const std::vector<host::AddPar>& params);
    // Takes a handle back; null is accepted and ignored. A handle that is not
    // outstanding is recorded as a problem; returns false then.
    bool Dispose(host::AddParHandle& handle);
    bool IsOutstanding(const host::AddParHandle& handle) const;

    size_t Outstanding() const { return outstanding_.size(); }
    size_t IssuedTotal() const { return issued_; }
    size_t BadDisposals() const { return badDisposals_; }

private:
    SimCallLog& log_;
    std::vector<host::AddParHandle> outstanding_;   // kept alive so addresses are never reused
    size_t issued_ = 0;
    size_t badDisposals_ = 0;
};

}  // namespace sim
