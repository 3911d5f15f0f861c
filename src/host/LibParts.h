#pragma once
// The project's loaded library parts and their parameters
// (ACAPI_LibPart_GetNum / _Get / _GetParams, ACAPI_DisposeAddParHdl, and the
// parameter editing scope 'OPAR' / 'GPAR' / 'CPAR').
#include <cstdint>

#include "host/HostTypes.h"

namespace host {

class LibParts {
public:
    virtual ~LibParts() = default;
    virtual ErrCode GetNum(int32_t& count) = 0;
    virtual ErrCode Get(LibPart& libPart) = 0;   // libPart.index is the input
    virtual ErrCode GetParams(int32_t libInd, double& a, double& b, int32_t& addParNum, AddParHandle& addPars) = 0;
    virtual ErrCode DisposeAddParHdl(AddParHandle& addPars) = 0;

    // Parameter editing scope of one library part's defaults.
    virtual ErrCode OpenParameters(int32_t libInd) = 0;                 // 'OPAR'
    virtual ErrCode GetParameters(double& a, double& b, AddParHandle& params) = 0;  // 'GPAR'
    virtual ErrCode CloseParameters() = 0;                              // 'CPAR'
};

}  // namespace host
