#include "host/sim/SimHandles.h"

#include <algorithm>
#include <memory>

namespace sim {

host::AddParHandle SimHandles::Issue(const std::vector<host::AddPar>& params)
{
    auto handle = std::make_shared<std::vector<host::AddPar>>(params);
    outstanding_.push_back(handle);
    ++issued_;
    return handle;
}

bool SimHandles::Dispose(host::AddParHandle& handle)
{
    if (!handle) {
        return true;
    }
    auto it = std::find(outstanding_.begin(), outstanding_.end(), handle);
    handle.reset();
    if (it == outstanding_.end()) {
        ++badDisposals_;
        log_.AddProblem("dispose of a parameter handle that is not outstanding");
        return false;
    }
    outstanding_.erase(it);
    return true;
}

bool SimHandles::IsOutstanding(const host::AddParHandle& handle) const
{
    return handle && std::find(outstanding_.begin(), outstanding_.end(), handle) != outstanding_.end();
}

}  // namespace sim
