#include "host/sim/SimUndo.h"

#include "host/sim/SimErrorCodes.h"

namespace sim {

host::ErrCode SimUndo::CallUndoableCommand(const std::string& undoText, const std::function<host::ErrCode()>& command)
{
    log_.Add("CallUndoableCommand " + undoText);
    requested_.push_back(undoText);
    if (const host::ErrCode err = faults_.Take(Op::CallUndoableCommand)) {
        return err;
    }
    if (elements_.InUndoScope()) {
        log_.AddProblem("nested undoable command: " + undoText);
        return APIERR_NESTING;
    }
    SimElements::State before = elements_.Snapshot();
    elements_.SetInUndoScope(true);
    host::ErrCode err = host::NoError;
    try {
        err = command ? command() : host::NoError;
    } catch (...) {
        err = APIERR_COMMANDFAILED;
    }
    elements_.SetInUndoScope(false);
    log_.Add("CallUndoableCommand end " + std::to_string(err));
    if (err != host::NoError) {
        elements_.Restore(before);
        return err;
    }
    steps_.push_back(Step{undoText, std::move(before)});
    return host::NoError;
}

bool SimUndo::Undo()
{
    if (steps_.empty()) {
        return false;
    }
    elements_.Restore(steps_.back().before);
    steps_.pop_back();
    return true;
}

std::vector<std::string> SimUndo::StepTexts() const
{
    std::vector<std::string> out;
    for (const auto& s : steps_) {
        out.push_back(s.text);
    }
    return out;
}

}  // namespace sim
