#pragma once
// The process window ('IPWD', 'SPRP', 'SPRV', 'CANC', 'CPWD'). Every call is
// recorded; the window can be told to report "cancelled" from the N-th 'CANC'
// on (counted from 1 over the whole session).
#include <cstdint>
#include <string>
#include <vector>

#include "host/ProcessWindow.h"
#include "host/sim/SimCallLog.h"
#include "host/sim/SimFaults.h"

namespace sim {

class SimProcessWindow : public host::ProcessWindow {
public:
    SimProcessWindow(SimCallLog& log, SimFaults& faults) : log_(log), faults_(faults) {}

    host::ErrCode Open(const std::string& title, int32_t phaseCount) override;
    host::ErrCode NextPhase(const std::string& title, int32_t maxValue) override;
    host::ErrCode SetValue(int32_t value) override;
    host::ErrCode IsCanceled(bool& canceled) override;
    host::ErrCode Close() override;

    // 'CANC' number `n` and all later ones report a cancel; 0 never.
    void CancelFromCall(int n) { cancelFrom_ = n; }

    bool IsOpen() const { return open_; }
    // The window's calls only, in the call log's wording.
    const std::vector<std::string>& Calls() const { return calls_; }
    int OpenCount() const { return openCount_; }
    int CloseCount() const { return closeCount_; }
    int CancelQueries() const { return cancelQueries_; }
    const std::string& Title() const { return title_; }
    const std::vector<std::string>& PhaseTitles() const { return phaseTitles_; }
    const std::vector<int32_t>& PhaseMaxima() const { return phaseMaxima_; }
    const std::vector<int32_t>& Values() const { return values_; }

private:
    void Record(const std::string& call);

    SimCallLog& log_;
    SimFaults& faults_;
    std::vector<std::string> calls_;
    std::string title_;
    std::vector<std::string> phaseTitles_;
    std::vector<int32_t> phaseMaxima_;
    std::vector<int32_t> values_;
    bool open_ = false;
    int openCount_ = 0;
    int closeCount_ = 0;
    int cancelQueries_ = 0;
    int cancelFrom_ = 0;
};

}  // namespace sim
