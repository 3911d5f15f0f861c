#pragma once
// Every host call the add-on makes, in order, as a short text ("GLIB",
// "OPAR 3", "SPRV 5", ...), and the misuses of the host API that the simulated
// host noticed (a handle disposed twice, 'GPAR' without 'OPAR', ...).
#include <string>
#include <vector>

namespace sim {

class SimCallLog {
public:
    void Add(const std::string& call) { calls_.push_back(call); }
    const std::vector<std::string>& Calls() const { return calls_; }
    // Calls whose text starts with `prefix`.
    std::vector<std::string> Matching(const std::string& prefix) const;
    size_t Count(const std::string& prefix) const { return Matching(prefix).size(); }
    // Position of the first call starting with `prefix` at or after `from`; -1 when none.
    long IndexOf(const std::string& prefix, size_t from = 0) const;
    // All calls joined with "\n".
    std::string Text() const;
    void Clear() { calls_.clear(); }

    void AddProblem(const std::string& problem) { problems_.push_back(problem); }
    const std::vector<std::string>& Problems() const { return problems_; }
    void ClearProblems() { problems_.clear(); }

private:
    std::vector<std::string> calls_;
    std::vector<std::string> problems_;
};

}  // namespace sim
