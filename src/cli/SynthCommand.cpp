#include <cstdio>

#include "cli/Commands.h"

void AddSynthCommand(CLI::App& app, int& exitStatus)
{
    auto* cmd = app.add_subcommand("synth", "not available yet");
    cmd->callback([&exitStatus] {
        std::fprintf(stderr, "punktwolke: 'synth' is not available yet\n");
        exitStatus = 1;
    });
}
