#include "host/sim/SimProcessWindow.h"

namespace sim {

void SimProcessWindow::Record(const std::string& call)
{
    calls_.push_back(call);
    log_.Add(call);
}

host::ErrCode SimProcessWindow::Open(const std::string& title, int32_t phaseCount)
{
    Record("IPWD " + title + " " + std::to_string(phaseCount));
    if (const host::ErrCode err = faults_.Take(Op::ProcessOpen)) {
        return err;
    }
    if (open_) {
        log_.AddProblem("IPWD while the process window is open");
    }
    open_ = true;
    ++openCount_;
    title_ = title;
    return host::NoError;
}

host::ErrCode SimProcessWindow::NextPhase(const std::string& title, int32_t maxValue)
{
    Record("SPRP " + title + " " + std::to_string(maxValue));
    if (const host::ErrCode err = faults_.Take(Op::ProcessNextPhase)) {
        return err;
    }
    if (!open_) {
        log_.AddProblem("SPRP while the process window is closed");
    }
    phaseTitles_.push_back(title);
    phaseMaxima_.push_back(maxValue);
    return host::NoError;
}

host::ErrCode SimProcessWindow::SetValue(int32_t value)
{
    Record("SPRV " + std::to_string(value));
    if (const host::ErrCode err = faults_.Take(Op::ProcessSetValue)) {
        return err;
    }
    if (!open_) {
        log_.AddProblem("SPRV while the process window is closed");
    }
    values_.push_back(value);
    return host::NoError;
}

host::ErrCode SimProcessWindow::IsCanceled(bool& canceled)
{
    Record("CANC");
    ++cancelQueries_;
    if (const host::ErrCode err = faults_.Take(Op::ProcessIsCanceled)) {
        return err;
    }
    canceled = cancelFrom_ > 0 && cancelQueries_ >= cancelFrom_;
    return host::NoError;
}

host::ErrCode SimProcessWindow::Close()
{
    Record("CPWD");
    if (const host::ErrCode err = faults_.Take(Op::ProcessClose)) {
        return err;
    }
    if (open_) {
        ++closeCount_;
    }
    open_ = false;
    return host::NoError;
}

}  // namespace sim
