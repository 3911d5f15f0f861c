#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/ArchicadApi.h"
#include "host/archicad/ArchicadConversions.h"

namespace archicad {

host::ErrCode ArchicadLibParts::GetNum(int32_t& count)
{
    Int32 hostCount = count;
    const GSErrCode err = api::LibPartGetNum(&hostCount);
    count = hostCount;
    return err;
}

host::ErrCode ArchicadLibParts::Get(host::LibPart& libPart)
{
    API_LibPart hostPart;
    BNZeroMemory(&hostPart, sizeof hostPart);
    hostPart.index = libPart.index;
    const GSErrCode err = api::LibPartGet(&hostPart);
    CopyUniText(hostPart.docu_UName, libPart.docu_UName);
    delete hostPart.location;   // the caller owns the location the host allocated
    return err;
}

host::ErrCode ArchicadLibParts::GetParams(int32_t libInd, double& a, double& b, int32_t& addParNum,
                                          host::AddParHandle& addPars)
{
    double hostA = a;
    double hostB = b;
    Int32 hostCount = addParNum;
    API_AddParType** handle = nullptr;
    const GSErrCode err = api::LibPartGetParams(libInd, &hostA, &hostB, &hostCount, &handle);
    a = hostA;
    b = hostB;
    addParNum = hostCount;
    addPars = ToPortable(handle);
    return err;
}

host::ErrCode ArchicadLibParts::DisposeAddParHdl(host::AddParHandle& addPars)
{
    API_AddParType** handle = ReleaseArchicad(addPars);
    addPars.reset();
    return ACAPI_DisposeAddParHdl(&handle);
}

host::ErrCode ArchicadLibParts::OpenParameters(int32_t libInd)
{
    // Defaults of a library part: only the index is set, guid and type stay empty.
    API_ParamOwnerType owner;
    BNZeroMemory(&owner, sizeof owner);
    owner.libInd = libInd;
    return api::OpenParameters(&owner);
}

host::ErrCode ArchicadLibParts::GetParameters(double& a, double& b, host::AddParHandle& params)
{
    API_GetParamsType get;
    BNZeroMemory(&get, sizeof get);
    const GSErrCode err = api::GetActParameters(&get);
    a = get.a;
    b = get.b;
    params = ToPortable(get.params);
    return err;
}

host::ErrCode ArchicadLibParts::CloseParameters()
{
    return api::CloseParameters();
}

}  // namespace archicad
