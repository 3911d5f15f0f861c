#include "host/sim/SimElements.h"

#include "host/sim/SimErrorCodes.h"
#include "host/sim/SimLibParts.h"
#include "host/sim/SimStories.h"
#include "host/sim/SimText.h"

namespace sim {

SimElements::SimElements(SimCallLog& log, SimFaults& faults, SimHandles& handles, SimLibParts& libParts,
                         SimStories& stories)
    : log_(log), faults_(faults), handles_(handles), libParts_(libParts), stories_(stories)
{
    defaults_.typeID = host::API_ObjectID;
    defaults_.level = 1.5;
    defaults_.xRatio = 1.0;
    defaults_.yRatio = 1.0;
    defaultParams_ = {LengthPar("A", 1.0), LengthPar("B", 1.0), LengthPar("ZZYZX", 1.0)};
}

host::ErrCode SimElements::GetDefaults(host::Element& element, host::ElementMemo& memo)
{
    log_.Add("GetDefaults " + std::to_string(element.typeID));
    if (const host::ErrCode err = faults_.Take(Op::GetDefaults)) {
        return err;
    }
    if (element.typeID != host::API_ObjectID) {
        return APIERR_BADELEMENTTYPE;
    }
    element = defaults_;
    element.typeID = host::API_ObjectID;
    if (memo.params) {
        log_.AddProblem("GetDefaults into a memo that still holds a parameter handle");
    }
    memo.params = handles_.Issue(defaultParams_);
    return host::NoError;
}

host::ErrCode SimElements::Create(host::Element& element, host::ElementMemo& memo)
{
    log_.Add("Create " + std::to_string(element.libInd));
    if (const host::ErrCode err = faults_.Take(Op::Create)) {
        return err;
    }
    if (!inUndoScope_) {
        log_.AddProblem("Create outside an undoable command");
        return APIERR_NEEDSUNDOSCOPE;
    }
    if (element.typeID != host::API_ObjectID) {
        return APIERR_BADELEMENTTYPE;
    }
    if (!stories_.IsStory(element.floorInd)) {
        return APIERR_INVALFLOOR;
    }
    const SimLibPart* part = libParts_.Part(element.libInd);
    if (part == nullptr) {
        return APIERR_BADINDEX;
    }
    SimObject obj;
    obj.element = element;
    obj.element.guid = NextGuid();
    obj.params = memo.params ? *memo.params : part->params;
    obj.partKey = libParts_.KeyOf(element.libInd);
    objects_.push_back(obj);
    element.guid = obj.element.guid;
    return host::NoError;
}

host::ErrCode SimElements::GetElemList(int32_t typeID, std::vector<host::Guid>& guids)
{
    log_.Add("GetElemList " + std::to_string(typeID));
    guids.clear();
    if (const host::ErrCode err = faults_.Take(Op::GetElemList)) {
        return err;
    }
    for (const auto& obj : objects_) {
        if (obj.element.typeID == typeID) {
            guids.push_back(obj.element.guid);
        }
    }
    return host::NoError;
}

host::ErrCode SimElements::Get(host::Element& element)
{
    log_.Add("Get " + GuidToString(element.guid));
    if (const host::ErrCode err = faults_.Take(Op::ElementGet, element.guid)) {
        return err;
    }
    const SimObject* obj = Find(element.guid);
    if (obj == nullptr) {
        return APIERR_BADID;
    }
    element = obj->element;
    return host::NoError;
}

host::ErrCode SimElements::GetMemo(const host::Guid& guid, host::ElementMemo& memo, uint64_t mask)
{
    log_.Add("GetMemo " + GuidToString(guid));
    if (const host::ErrCode err = faults_.Take(Op::GetMemo, guid)) {
        return err;
    }
    const SimObject* obj = Find(guid);
    if (obj == nullptr) {
        return APIERR_BADID;
    }
    if ((mask & host::kMemoMaskAddPars) != 0) {
        if (memo.params) {
            log_.AddProblem("GetMemo into a memo that still holds a parameter handle");
        }
        memo.params = handles_.Issue(obj->params);
    }
    return host::NoError;
}

host::ErrCode SimElements::ChangeMemo(const host::Guid& guid, uint64_t mask, const host::ElementMemo& memo)
{
    log_.Add("ChangeMemo " + GuidToString(guid));
    if (const host::ErrCode err = faults_.Take(Op::ChangeMemo, guid)) {
        return err;
    }
    if (!inUndoScope_) {
        log_.AddProblem("ChangeMemo outside an undoable command");
        return APIERR_NEEDSUNDOSCOPE;
    }
    SimObject* obj = FindMutable(guid);
    if (obj == nullptr) {
        return APIERR_BADID;
    }
    if ((mask & host::kMemoMaskAddPars) != 0) {
        if (!memo.params) {
            return APIERR_BADPARS;
        }
        obj->params = *memo.params;
    }
    return host::NoError;
}

host::ErrCode SimElements::Delete(const std::vector<host::Guid>& guids)
{
    log_.Add("Delete " + std::to_string(guids.size()));
    if (const host::ErrCode err = faults_.Take(Op::Delete)) {
        return err;
    }
    if (!inUndoScope_) {
        log_.AddProblem("Delete outside an undoable command");
        return APIERR_NEEDSUNDOSCOPE;
    }
    // All or nothing: one unknown or refused element fails the whole call.
    for (const auto& guid : guids) {
        if (Find(guid) == nullptr) {
            return APIERR_BADID;
        }
        if (const host::ErrCode err = faults_.Take(Op::Delete, guid)) {
            return err;
        }
    }
    for (const auto& guid : guids) {
        for (auto it = objects_.begin(); it != objects_.end(); ++it) {
            if (it->element.guid == guid) {
                objects_.erase(it);
                break;
            }
        }
    }
    return host::NoError;
}

host::ErrCode SimElements::DisposeElemMemoHdls(host::ElementMemo& memo)
{
    log_.Add("DisposeElemMemoHdls");
    if (const host::ErrCode err = faults_.Take(Op::DisposeElemMemoHdls)) {
        return err;
    }
    return handles_.Dispose(memo.params) ? host::NoError : APIERR_BADPARS;
}

void SimElements::SetObjectDefaults(const host::Element& element, const std::vector<host::AddPar>& params)
{
    defaults_ = element;
    defaultParams_ = params;
}

host::Guid SimElements::AddObject(int32_t libInd, int16_t floorInd, const std::vector<host::AddPar>& params)
{
    SimObject obj;
    obj.element = defaults_;
    obj.element.typeID = host::API_ObjectID;
    obj.element.guid = NextGuid();
    obj.element.libInd = libInd;
    obj.element.floorInd = floorInd;
    obj.params = params;
    obj.partKey = libParts_.KeyOf(libInd);
    objects_.push_back(obj);
    return obj.element.guid;
}

const SimObject* SimElements::Find(const host::Guid& guid) const
{
    for (const auto& obj : objects_) {
        if (obj.element.guid == guid) {
            return &obj;
        }
    }
    return nullptr;
}

SimObject* SimElements::FindMutable(const host::Guid& guid)
{
    for (auto& obj : objects_) {
        if (obj.element.guid == guid) {
            return &obj;
        }
    }
    return nullptr;
}

std::vector<const SimObject*> SimElements::ObjectsOfPart(int32_t libInd) const
{
    std::vector<const SimObject*> out;
    for (const auto& obj : objects_) {
        if (obj.element.libInd == libInd) {
            out.push_back(&obj);
        }
    }
    return out;
}

void SimElements::FollowLibParts()
{
    for (auto& obj : objects_) {
        obj.element.libInd = libParts_.IndexOfKey(obj.partKey);
    }
}

host::Guid SimElements::NextGuid()
{
    ++guidCounter_;
    host::Guid guid;
    guid.bytes[6] = 0x40;
    guid.bytes[8] = 0x80;
    guid.bytes[12] = static_cast<uint8_t>(guidCounter_ >> 24);
    guid.bytes[13] = static_cast<uint8_t>(guidCounter_ >> 16);
    guid.bytes[14] = static_cast<uint8_t>(guidCounter_ >> 8);
    guid.bytes[15] = static_cast<uint8_t>(guidCounter_);
    return guid;
}

}  // namespace sim
