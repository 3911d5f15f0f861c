#include <cstdio>

#include "cli/Commands.h"

void AddInfoCommand(CLI::App& app, int& exitStatus)
{
    auto* cmd = app.add_subcommand("info", "not available yet");
    cmd->callback([&exitStatus] {
        std::fprintf(stderr, "punktwolke: 'info' is not available yet\n");
        exitStatus = 1;
    });
}
