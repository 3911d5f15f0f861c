#pragma once
// The project's object elements, each with its own parameter list.
//
// Create, ChangeMemo and Delete work only inside an undoable command
// (APIERR_NEEDSUNDOSCOPE otherwise). New elements get sequential GUIDs
// 00000000-0000-4000-8000-00000000000N. Elements refer to their library part
// by index like the host's records do; after a library reload the index of
// every element is moved to where its part now is (0 when the part is gone).
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/Elements.h"
#include "host/sim/SimCallLog.h"
#include "host/sim/SimFaults.h"
#include "host/sim/SimHandles.h"

namespace sim {

class SimLibParts;
class SimStories;

struct SimObject {
    host::Element element;              // typeID, guid, floorInd, libInd, position, level, ...
    std::vector<host::AddPar> params;   // the element's own parameter values
    std::string partKey;                // identity of its library part across reloads
};

class SimElements : public host::Elements {
public:
    SimElements(SimCallLog& log, SimFaults& faults, SimHandles& handles, SimLibParts& libParts, SimStories& stories);

    // host::Elements
    host::ErrCode GetDefaults(host::Element& element, host::ElementMemo& memo) override;
    host::ErrCode Create(host::Element& element, host::ElementMemo& memo) override;
    host::ErrCode GetElemList(int32_t typeID, std::vector<host::Guid>& guids) override;
    host::ErrCode Get(host::Element& element) override;
    host::ErrCode GetMemo(const host::Guid& guid, host::ElementMemo& memo, uint64_t mask) override;
    host::ErrCode ChangeMemo(const host::Guid& guid, uint64_t mask, const host::ElementMemo& memo) override;
    host::ErrCode Delete(const std::vector<host::Guid>& guids) override;
    host::ErrCode DisposeElemMemoHdls(host::ElementMemo& memo) override;

    // The object tool's defaults that GetDefaults hands out. Initially: level 1.5,
    // ratios 1, and the parameters A, B, ZZYZX (1 m each).
    void SetObjectDefaults(const host::Element& element, const std::vector<host::AddPar>& params);

    // Places an object directly (no host call, no undo step); returns its GUID.
    host::Guid AddObject(int32_t libInd, int16_t floorInd, const std::vector<host::AddPar>& params);

    // Read access, in creation order.
    const std::vector<SimObject>& Objects() const { return objects_; }
    const SimObject* Find(const host::Guid& guid) const;
    std::vector<const SimObject*> ObjectsOfPart(int32_t libInd) const;
    size_t Count() const { return objects_.size(); }

    // Undo support: the whole element state.
    struct State {
        std::vector<SimObject> objects;
    };
    State Snapshot() const { return State{objects_}; }
    void Restore(const State& state) { objects_ = state.objects; }

    // Set by the undoable command while its function runs.
    void SetInUndoScope(bool inScope) { inUndoScope_ = inScope; }
    bool InUndoScope() const { return inUndoScope_; }

    // After a library reload: moves every element's libInd to its part's new index.
    void FollowLibParts();

private:
    host::Guid NextGuid();
    SimObject* FindMutable(const host::Guid& guid);

    SimCallLog& log_;
    SimFaults& faults_;
    SimHandles& handles_;
    SimLibParts& libParts_;
    SimStories& stories_;
    std::vector<SimObject> objects_;
    host::Element defaults_;
    std::vector<host::AddPar> defaultParams_;
    uint32_t guidCounter_ = 0;
    bool inUndoScope_ = false;
};

}  // namespace sim
