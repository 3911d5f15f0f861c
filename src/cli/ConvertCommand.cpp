#include <cstdio>

#include "cli/Commands.h"

void AddConvertCommand(CLI::App& app, int& exitStatus)
{
    auto* cmd = app.add_subcommand("convert", "not available yet");
    cmd->callback([&exitStatus] {
        std::fprintf(stderr, "punktwolke: 'convert' is not available yet\n");
        exitStatus = 1;
    });
}
