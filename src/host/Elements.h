#pragma once
// Model elements of the project (ACAPI_Element_*), objects only.
#include <cstdint>
#include <vector>

#include "host/HostTypes.h"

namespace host {

class Elements {
public:
    virtual ~Elements() = default;
    virtual ErrCode GetDefaults(Element& element, ElementMemo& memo) = 0;   // element.typeID selects the tool
    virtual ErrCode Create(Element& element, ElementMemo& memo) = 0;        // inside an undoable command
    virtual ErrCode GetElemList(int32_t typeID, std::vector<Guid>& guids) = 0;  // no filter flags
    virtual ErrCode Get(Element& element) = 0;                              // element.guid is the input; mask 0
    virtual ErrCode GetMemo(const Guid& guid, ElementMemo& memo, uint64_t mask) = 0;
    virtual ErrCode ChangeMemo(const Guid& guid, uint64_t mask, const ElementMemo& memo) = 0;  // undoable
    virtual ErrCode Delete(const std::vector<Guid>& guids) = 0;             // undoable
    virtual ErrCode DisposeElemMemoHdls(ElementMemo& memo) = 0;
};

}  // namespace host
