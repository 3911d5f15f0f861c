#pragma once
// Undoable commands (ACAPI_CallUndoableCommand). The function runs with the
// element changes allowed; each completed step keeps the element state from
// before it, so Undo() brings the elements back. When the function returns an
// error or throws, its changes are rolled back and no step is recorded (a throw
// gives APIERR_COMMANDFAILED). A forced error refuses the command without
// running the function. Nested commands are refused (APIERR_NESTING).
// Files and the library list are not part of a step.
#include <string>
#include <vector>

#include "host/UndoableCommand.h"
#include "host/sim/SimCallLog.h"
#include "host/sim/SimElements.h"
#include "host/sim/SimFaults.h"

namespace sim {

class SimUndo : public host::UndoableCommand {
public:
    SimUndo(SimCallLog& log, SimFaults& faults, SimElements& elements)
        : log_(log), faults_(faults), elements_(elements)
    {
    }

    host::ErrCode CallUndoableCommand(const std::string& undoText,
                                      const std::function<host::ErrCode()>& command) override;

    // Undoes the last step; false when there is none.
    bool Undo();
    // Texts of the steps that can be undone, oldest first.
    std::vector<std::string> StepTexts() const;
    // Texts of every command the add-on asked for, in order (also refused and failed ones).
    const std::vector<std::string>& RequestedTexts() const { return requested_; }
    bool InCommand() const { return elements_.InUndoScope(); }

private:
    struct Step {
        std::string text;
        SimElements::State before;
    };

    SimCallLog& log_;
    SimFaults& faults_;
    SimElements& elements_;
    std::vector<Step> steps_;
    std::vector<std::string> requested_;
};

}  // namespace sim
