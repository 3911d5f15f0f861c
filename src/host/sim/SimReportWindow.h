#pragma once
// The report window: every line with its alert flag.
#include <string>
#include <vector>

#include "host/ReportWindow.h"
#include "host/sim/SimCallLog.h"

namespace sim {

struct ReportLine {
    std::string text;
    bool withAlert = false;
};

class SimReportWindow : public host::ReportWindow {
public:
    explicit SimReportWindow(SimCallLog& log) : log_(log) {}

    void WriteReport(const std::string& text, bool withAlert) override
    {
        log_.Add(std::string("WriteReport ") + (withAlert ? "1 " : "0 ") + text);
        lines_.push_back(ReportLine{text, withAlert});
    }

    const std::vector<ReportLine>& Lines() const { return lines_; }
    // Text of the last line; "" when none.
    std::string Last() const { return lines_.empty() ? std::string() : lines_.back().text; }
    void Clear() { lines_.clear(); }

private:
    SimCallLog& log_;
    std::vector<ReportLine> lines_;
};

}  // namespace sim
