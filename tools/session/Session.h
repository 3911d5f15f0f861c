#pragma once
// Runs the add-on inside the simulated host from a script of user actions and
// writes, after each action, what a person at the screen would see.
// The script language is described in docs/session-driver.md.
#include <filesystem>
#include <iosfwd>
#include <map>
#include <string>

namespace session {

struct Options {
    std::filesystem::path converter;     // the stand-in LP_XMLConverter
    std::filesystem::path resourceFile;  // the add-on's localised .grc, for its strings; empty: host defaults
    bool keepWorkDir = false;            // leave the session's temporary folder behind
};

// Strings of the 'STR#' resources of a .grc file, keyed by (resource ID, 1-based index).
std::map<std::pair<int, int>, std::string> ReadGrcStrings(const std::filesystem::path& grcFile);

// Runs the whole script; returns 0 when every line was understood and carried
// out, 1 otherwise (the transcript says which line failed).
int RunSession(std::istream& script, std::ostream& out, const Options& options);

}  // namespace session
