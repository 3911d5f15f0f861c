#pragma once
// The host's alert (DGAlert). Returns the button number: 1 first, 2 second, 3 third, 0 dismissed.
#include <cstdint>
#include <string>

namespace host {

class AlertDialog {
public:
    virtual ~AlertDialog() = default;
    virtual int16_t Alert(int16_t alertType, const std::string& title, const std::string& largeText,
                          const std::string& smallText, const std::string& button1,
                          const std::string& button2, const std::string& button3) = 0;
};

}  // namespace host
