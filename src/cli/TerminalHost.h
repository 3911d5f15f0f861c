#pragma once
// The host services of the command-line tool, so that the import runs through
// the add-on's own code: the open-file dialog answers with the file given on
// the command line, report lines go to stdout (alerts to stderr), the process
// window is a progress bar on stderr with Ctrl-C as its cancel button, and
// the project behind it is empty (no libraries, parts, elements or stories).
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "cli/TerminalProgress.h"
#include "host/Host.h"

class TerminalHost {
public:
    // `drawProgress`: whether to draw the progress bar (normally: stderr is a
    // terminal). `printReports` false keeps the report lines that are not
    // alerts off stdout (batches and JSON print their own summary).
    TerminalHost(std::filesystem::path chosenFile, bool drawProgress, bool printReports = true);
    ~TerminalHost();
    TerminalHost(const TerminalHost&) = delete;
    TerminalHost& operator=(const TerminalHost&) = delete;

    host::Host& Services() { return *host_; }

    // Number of report lines written with an alert so far.
    int AlertCount() const;
    // The text of the last report line written with an alert ("" if none).
    const std::string& LastAlert() const;

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
    std::unique_ptr<host::Host> host_;
};
