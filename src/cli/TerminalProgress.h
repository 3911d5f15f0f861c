#pragma once
// The process window of the command-line tool: a progress bar on stderr (only
// when stderr is a terminal) and Ctrl-C as the cancel button.
#include <cstdint>
#include <string>

#include "host/ProcessWindow.h"

// While alive, SIGINT only sets a flag (the first time; a second Ctrl-C ends
// the process as usual). SIGINT is unblocked so that it always arrives.
class SigintCancel {
public:
    SigintCancel();
    ~SigintCancel();
    SigintCancel(const SigintCancel&) = delete;
    SigintCancel& operator=(const SigintCancel&) = delete;

    static bool Requested();

private:
    struct Saved;
    Saved* saved_;
};

class TerminalProgress : public host::ProcessWindow {
public:
    // `draw`: whether to draw the bar; normally isatty(stderr).
    explicit TerminalProgress(bool draw);
    ~TerminalProgress() override;

    host::ErrCode Open(const std::string& title, int32_t phaseCount) override;
    host::ErrCode NextPhase(const std::string& title, int32_t maxValue) override;
    host::ErrCode SetValue(int32_t value) override;
    host::ErrCode IsCanceled(bool& canceled) override;
    host::ErrCode Close() override;

    static bool StderrIsTerminal();

private:
    void Draw(int32_t value);

    bool draw_;
    bool open_ = false;
    bool lineDrawn_ = false;
    std::string title_;
    std::string phase_;
    int32_t max_ = 0;
    int lastPercent_ = -1;
};
