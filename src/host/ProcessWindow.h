#pragma once
// The host's process (progress) window: 'IPWD', 'SPRP', 'SPRV', 'CANC', 'CPWD'.
#include <cstdint>
#include <string>

#include "host/HostTypes.h"

namespace host {

class ProcessWindow {
public:
    virtual ~ProcessWindow() = default;
    virtual ErrCode Open(const std::string& title, int32_t phaseCount) = 0;           // 'IPWD'
    virtual ErrCode NextPhase(const std::string& title, int32_t maxValue) = 0;       // 'SPRP'
    virtual ErrCode SetValue(int32_t value) = 0;                                     // 'SPRV'
    virtual ErrCode IsCanceled(bool& canceled) = 0;                                  // 'CANC'
    virtual ErrCode Close() = 0;                                                     // 'CPWD'
};

}  // namespace host
