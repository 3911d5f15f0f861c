#include "host/sim/SimDialogs.h"

namespace sim {

bool SimOpenFileDialog::GetOpenFile(const std::string& title, const std::string& typeText,
                                    const std::string& extension, std::filesystem::path& chosen)
{
    log_.Add("DGGetOpenFile " + title);
    requests_.push_back(OpenFileRequest{title, typeText, extension});
    if (answers_.empty()) {
        return false;
    }
    const std::optional<std::filesystem::path> answer = answers_.front();
    answers_.pop_front();
    if (!answer) {
        return false;
    }
    chosen = *answer;
    return true;
}

int16_t SimAlertDialog::Alert(int16_t alertType, const std::string& title, const std::string& largeText,
                              const std::string& smallText, const std::string& button1, const std::string& button2,
                              const std::string& button3)
{
    log_.Add("DGAlert " + largeText);
    int16_t answer = defaultAnswer_;
    if (!answers_.empty()) {
        answer = answers_.front();
        answers_.pop_front();
    }
    shown_.push_back(AlertShown{alertType, title, largeText, smallText, button1, button2, button3, answer});
    return answer;
}

}  // namespace sim
