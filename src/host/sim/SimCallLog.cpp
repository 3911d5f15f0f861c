#include "host/sim/SimCallLog.h"

namespace sim {

std::vector<std::string> SimCallLog::Matching(const std::string& prefix) const
{
    std::vector<std::string> out;
    for (const auto& c : calls_) {
        if (c.compare(0, prefix.size(), prefix) == 0) {
            out.push_back(c);
        }
    }
    return out;
}

long SimCallLog::IndexOf(const std::string& prefix, size_t from) const
{
    for (size_t i = from; i < calls_.size(); ++i) {
        if (calls_[i].compare(0, prefix.size(), prefix) == 0) {
            return static_cast<long>(i);
        }
    }
    return -1;
}

std::string SimCallLog::Text() const
{
    std::string out;
    for (const auto& c : calls_) {
        if (!out.empty()) {
            out.push_back('\n');
        }
        out += c;
    }
    return out;
}

}  // namespace sim
