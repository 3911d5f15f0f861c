#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/ArchicadConversions.h"

namespace archicad {

namespace {

// A memo handed back by the host: its parameter list goes to the portable
// memo (which owns it from then on); whatever else the host put into it is
// freed at once, the add-on uses only the parameters.
void TakeParams(API_ElementMemo& hostMemo, host::ElementMemo& memo)
{
    memo.params = ToPortable(hostMemo.params);
    hostMemo.params = nullptr;
    ACAPI_DisposeElemMemoHdls(&hostMemo);
}

}  // namespace

ArchicadElements::ArchicadElements()
{
    BNZeroMemory(&m_defaults, sizeof m_defaults);
}

host::ErrCode ArchicadElements::GetDefaults(host::Element& element, host::ElementMemo& memo)
{
    API_Element hostElement;
    BNZeroMemory(&hostElement, sizeof hostElement);
    hostElement.header.type = API_ElemType(static_cast<API_ElemTypeID>(element.typeID));
    API_ElementMemo hostMemo;
    BNZeroMemory(&hostMemo, sizeof hostMemo);

    const GSErrCode err = ACAPI_Element_GetDefaults(&hostElement, &hostMemo);
    ToPortable(hostElement, element);
    TakeParams(hostMemo, memo);
    if (err == NoError) {
        m_defaults = hostElement;
        m_haveDefaults = true;
    }
    return err;
}

host::ErrCode ArchicadElements::Create(host::Element& element, host::ElementMemo& memo)
{
    API_Element hostElement;
    if (m_haveDefaults && m_defaults.header.type.typeID == static_cast<API_ElemTypeID>(element.typeID)) {
        hostElement = m_defaults;
    } else {
        BNZeroMemory(&hostElement, sizeof hostElement);
    }
    ToArchicad(element, hostElement);

    API_ElementMemo hostMemo;
    BNZeroMemory(&hostMemo, sizeof hostMemo);
    FreshAddParHandle fresh;
    hostMemo.params = ToArchicad(memo.params, fresh);   // still owned by memo.params or by fresh

    const GSErrCode err = ACAPI_Element_Create(&hostElement, &hostMemo);
    ToPortable(hostElement, element);
    return err;
}

host::ErrCode ArchicadElements::GetElemList(int32_t typeID, std::vector<host::Guid>& guids)
{
    GS::Array<API_Guid> list;
    const GSErrCode err =
        ACAPI_Element_GetElemList(API_ElemType(static_cast<API_ElemTypeID>(typeID)), &list, APIFilt_None, APINULLGuid);
    guids.clear();
    for (UIndex i = 0; i < list.GetSize(); ++i) {
        guids.push_back(ToPortable(list[i]));
    }
    return err;
}

host::ErrCode ArchicadElements::Get(host::Element& element)
{
    API_Element hostElement;
    BNZeroMemory(&hostElement, sizeof hostElement);
    hostElement.header.guid = ToArchicad(element.guid);
    const GSErrCode err = ACAPI_Element_Get(&hostElement, 0);
    ToPortable(hostElement, element);
    return err;
}

host::ErrCode ArchicadElements::GetMemo(const host::Guid& guid, host::ElementMemo& memo, uint64_t mask)
{
    API_ElementMemo hostMemo;
    BNZeroMemory(&hostMemo, sizeof hostMemo);
    const GSErrCode err = ACAPI_Element_GetMemo(ToArchicad(guid), &hostMemo, static_cast<UInt64>(mask));
    TakeParams(hostMemo, memo);
    return err;
}

host::ErrCode ArchicadElements::ChangeMemo(const host::Guid& guid, uint64_t mask, const host::ElementMemo& memo)
{
    API_Guid hostGuid = ToArchicad(guid);
    API_ElementMemo hostMemo;
    BNZeroMemory(&hostMemo, sizeof hostMemo);
    FreshAddParHandle fresh;
    hostMemo.params = ToArchicad(memo.params, fresh);   // still owned by memo.params or by fresh
    return ACAPI_Element_ChangeMemo(hostGuid, static_cast<UInt64>(mask), &hostMemo);
}

host::ErrCode ArchicadElements::Delete(const std::vector<host::Guid>& guids)
{
    GS::Array<API_Guid> list;
    for (const host::Guid& guid : guids) {
        list.Push(ToArchicad(guid));
    }
    return ACAPI_Element_Delete(list);
}

host::ErrCode ArchicadElements::DisposeElemMemoHdls(host::ElementMemo& memo)
{
    API_ElementMemo hostMemo;
    BNZeroMemory(&hostMemo, sizeof hostMemo);
    hostMemo.params = ReleaseArchicad(memo.params);
    memo.params.reset();
    return ACAPI_DisposeElemMemoHdls(&hostMemo);
}

}  // namespace archicad
