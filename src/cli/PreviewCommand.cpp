#include <cstdio>

#include "cli/Commands.h"

void AddPreviewCommand(CLI::App& app, int& exitStatus)
{
    auto* cmd = app.add_subcommand("preview", "not available yet");
    cmd->callback([&exitStatus] {
        std::fprintf(stderr, "punktwolke: 'preview' is not available yet\n");
        exitStatus = 1;
    });
}
