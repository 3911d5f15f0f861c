#pragma once
// The host's report window (ACAPI_WriteReport): one line, optionally as an alert.
#include <string>

namespace host {

class ReportWindow {
public:
    virtual ~ReportWindow() = default;
    virtual void WriteReport(const std::string& text, bool withAlert) = 0;
};

}  // namespace host
