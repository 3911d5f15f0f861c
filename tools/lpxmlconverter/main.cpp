// pw-lpxmlconverter: stand-in for the host's library part converter.
//
//   pw-lpxmlconverter xml2libpart SOURCE.xml DEST.gsm
//
// Checks the library part XML (see host/sim/StandInXmlConverter.h) and writes
// DEST.gsm in the stand-in format that the simulated host loads. Exit status:
// 0 written; 1 the XML is not a valid library part (nothing written); 2 wrong
// command line; 3 the XML cannot be read or the .gsm cannot be written.
// Problems go to standard error, one per line.
//
// Test hook: with PW_FAKE_CONVERTER_FAIL=<n> it prints one line and exits with
// status n; with PW_FAKE_CONVERTER_FAIL=signal it prints one line and kills
// itself with SIGKILL; with "abort" it calls abort().
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/sim/StandInLibPartFile.h"
#include "host/sim/StandInXmlConverter.h"

namespace {

constexpr int kInvalid = 1;
constexpr int kUsage = 2;
constexpr int kIo = 3;

void FakeFailureIfAsked()
{
    const char* fake = std::getenv("PW_FAKE_CONVERTER_FAIL");
    if (fake == nullptr || *fake == '\0') {
        return;
    }
    if (std::strcmp(fake, "signal") == 0) {
        std::fprintf(stderr, "pw-lpxmlconverter: killing itself on request\n");
        std::fflush(stderr);
        std::raise(SIGKILL);
    }
    if (std::strcmp(fake, "abort") == 0) {
        std::fprintf(stderr, "pw-lpxmlconverter: aborting on request\n");
        std::fflush(stderr);
        std::abort();
    }
    const int code = std::atoi(fake);
    std::fprintf(stderr, "pw-lpxmlconverter: failing on request with status %d\n", code);
    std::exit(code);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::printf("pw-lpxmlconverter %s\n", PW_VERSION);
        return 0;
    }
    FakeFailureIfAsked();
    if (argc != 4 || std::strcmp(argv[1], "xml2libpart") != 0) {
        std::fprintf(stderr, "usage: %s xml2libpart SOURCE.xml DEST.gsm\n", argc > 0 ? argv[0] : "pw-lpxmlconverter");
        return kUsage;
    }
    const char* xmlPath = argv[2];
    const char* gsmPath = argv[3];

    std::ifstream in(xmlPath, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "error: cannot open %s\n", xmlPath);
        return kIo;
    }
    std::ostringstream text;
    text << in.rdbuf();

    sim::StandInLibPart part;
    std::vector<std::string> errors;
    if (!sim::ConvertLibPartXml(text.str(), part, errors)) {
        for (const auto& e : errors) {
            std::fprintf(stderr, "error: %s: %s\n", xmlPath, e.c_str());
        }
        std::fprintf(stderr, "xml2libpart failed: %zu error(s)\n", errors.size());
        return kInvalid;
    }
    std::string error;
    if (!sim::WriteStandInLibPart(gsmPath, part, error)) {
        std::fprintf(stderr, "error: %s\n", error.c_str());
        return kIo;
    }
    std::printf("xml2libpart: %s -> %s (%zu parameters)\n", xmlPath, gsmPath, part.params.size());
    return 0;
}
