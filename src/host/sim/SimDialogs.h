#pragma once
// The open-file dialog and the alert, answered from queues that tests fill.
// An empty queue answers "cancel" (open-file) or the default button (alert,
// initially 0 = dismissed).
#include <cstdint>
#include <deque>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/AlertDialog.h"
#include "host/OpenFileDialog.h"
#include "host/sim/SimCallLog.h"

namespace sim {

struct OpenFileRequest {
    std::string title;
    std::string typeText;
    std::string extension;
};

class SimOpenFileDialog : public host::OpenFileDialog {
public:
    explicit SimOpenFileDialog(SimCallLog& log) : log_(log) {}

    bool GetOpenFile(const std::string& title, const std::string& typeText, const std::string& extension,
                     std::filesystem::path& chosen) override;

    void QueueFile(const std::filesystem::path& file) { answers_.emplace_back(file); }
    void QueueCancel() { answers_.emplace_back(std::nullopt); }
    size_t PendingAnswers() const { return answers_.size(); }
    const std::vector<OpenFileRequest>& Requests() const { return requests_; }

private:
    SimCallLog& log_;
    std::deque<std::optional<std::filesystem::path>> answers_;
    std::vector<OpenFileRequest> requests_;
};

struct AlertShown {
    int16_t alertType = 0;
    std::string title;
    std::string largeText;
    std::string smallText;
    std::string button1;
    std::string button2;
    std::string button3;
    int16_t answer = 0;
};

class SimAlertDialog : public host::AlertDialog {
public:
    explicit SimAlertDialog(SimCallLog& log) : log_(log) {}

    int16_t Alert(int16_t alertType, const std::string& title, const std::string& largeText,
                  const std::string& smallText, const std::string& button1, const std::string& button2,
                  const std::string& button3) override;

    void QueueAnswer(int16_t button) { answers_.push_back(button); }
    void SetDefaultAnswer(int16_t button) { defaultAnswer_ = button; }
    size_t PendingAnswers() const { return answers_.size(); }
    const std::vector<AlertShown>& Shown() const { return shown_; }

private:
    SimCallLog& log_;
    std::deque<int16_t> answers_;
    int16_t defaultAnswer_ = 0;
    std::vector<AlertShown> shown_;
};

}  // namespace sim
