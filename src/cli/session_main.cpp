// punktwolke-session: the add-on in the simulated host, driven by a script of
// user actions (see docs/session-driver.md).
#include <CLI/CLI.hpp>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include <unistd.h>

#include "tools/session/Session.h"

namespace fs = std::filesystem;

namespace {

// The folder of this executable.
fs::path ExecutableFolder(const char* argv0)
{
    std::error_code ec;
    fs::path self = fs::read_symlink("/proc/self/exe", ec);
    if (ec) {
        self = fs::absolute(argv0, ec);
    }
    return self.parent_path();
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app{"punktwolke-session - run the add-on in the simulated host from a script of user actions"};
    std::string script;
    std::string converter;
    std::string resources = PW_DEFAULT_RESOURCE_FILE;
    bool keep = false;
    app.set_version_flag("--version", "punktwolke-session " PW_VERSION);
    app.add_option("script", script, "script file, or - for standard input")->required();
    app.add_option("--converter", converter,
                   "stand-in LP_XMLConverter (default: ../lpxmlconverter/pw-lpxmlconverter next to this program)");
    app.add_option("--resources", resources, "the add-on's localised .grc file, for its strings");
    app.add_flag("--keep", keep, "keep the session's temporary folder");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int rc = app.exit(e);
        return rc == 0 ? 0 : 2;
    }

    session::Options options;
    options.converter = converter.empty()
                            ? ExecutableFolder(argv[0]) / ".." / "lpxmlconverter" / "pw-lpxmlconverter"
                            : fs::path(converter);
    if (!fs::exists(options.converter)) {
        std::cerr << "punktwolke-session: converter not found: " << options.converter.string() << "\n";
        return 2;
    }
    options.resourceFile = resources;
    options.keepWorkDir = keep;

    try {
        if (script == "-") {
            return session::RunSession(std::cin, std::cout, options);
        }
        std::ifstream in(script);
        if (!in) {
            std::cerr << "punktwolke-session: cannot read " << script << "\n";
            return 2;
        }
        return session::RunSession(in, std::cout, options);
    } catch (const std::exception& e) {
        std::cerr << "punktwolke-session: " << e.what() << "\n";
        return 2;
    }
}
