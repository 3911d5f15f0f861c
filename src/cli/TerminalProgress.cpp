#include "cli/TerminalProgress.h"

#include <signal.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace {

volatile std::sig_atomic_t g_sigint = 0;

extern "C" void OnSigint(int)
{
    g_sigint = 1;
}

constexpr int kBarWidth = 40;

}  // namespace

struct SigintCancel::Saved {
    struct sigaction action;
};

SigintCancel::SigintCancel() : saved_(new Saved)
{
    g_sigint = 0;
    struct sigaction sa {};
    sa.sa_handler = OnSigint;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESETHAND;   // a second Ctrl-C ends the process
    sigaction(SIGINT, &sa, &saved_->action);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

SigintCancel::~SigintCancel()
{
    sigaction(SIGINT, &saved_->action, nullptr);
    delete saved_;
}

bool SigintCancel::Requested()
{
    return g_sigint != 0;
}

TerminalProgress::TerminalProgress(bool draw) : draw_(draw) {}

TerminalProgress::~TerminalProgress()
{
    if (lineDrawn_)
        std::fputc('\n', stderr);
}

bool TerminalProgress::StderrIsTerminal()
{
    return isatty(STDERR_FILENO) == 1;
}

host::ErrCode TerminalProgress::Open(const std::string& title, int32_t)
{
    title_ = title;
    open_ = true;
    return host::NoError;
}

host::ErrCode TerminalProgress::NextPhase(const std::string& title, int32_t maxValue)
{
    phase_ = title;
    max_ = maxValue;
    lastPercent_ = -1;
    Draw(0);
    return host::NoError;
}

host::ErrCode TerminalProgress::SetValue(int32_t value)
{
    Draw(value);
    return host::NoError;
}

host::ErrCode TerminalProgress::IsCanceled(bool& canceled)
{
    canceled = SigintCancel::Requested();
    return host::NoError;
}

host::ErrCode TerminalProgress::Close()
{
    if (lineDrawn_) {
        std::fputc('\n', stderr);
        std::fflush(stderr);
        lineDrawn_ = false;
    }
    open_ = false;
    return host::NoError;
}

void TerminalProgress::Draw(int32_t value)
{
    if (!draw_ || !open_)
        return;
    int percent = 0;
    if (max_ > 0) {
        const int64_t v = value < 0 ? 0 : (value > max_ ? max_ : value);
        percent = static_cast<int>(v * 100 / max_);
    }
    if (percent == lastPercent_)
        return;
    lastPercent_ = percent;
    char bar[kBarWidth + 1];
    const int filled = percent * kBarWidth / 100;
    for (int i = 0; i < kBarWidth; ++i)
        bar[i] = i < filled ? '#' : '.';
    bar[kBarWidth] = '\0';
    std::fprintf(stderr, "\r%s [%s] %3d%%", phase_.c_str(), bar, percent);
    std::fflush(stderr);
    lineDrawn_ = true;
}
