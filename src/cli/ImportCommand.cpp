#include <cstdio>

#include "cli/Commands.h"

void AddImportCommand(CLI::App& app, int& exitStatus)
{
    auto* cmd = app.add_subcommand("import", "not available yet");
    cmd->callback([&exitStatus] {
        std::fprintf(stderr, "punktwolke: 'import' is not available yet\n");
        exitStatus = 1;
    });
}
