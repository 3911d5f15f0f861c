#pragma once
// Sub-commands of the punktwolke tool. Each adds itself to the app and, when
// it runs, stores its exit status: 0 success, 1 failure (one clear line on
// stderr), 2 wrong usage.
#include <CLI/CLI.hpp>

void AddInfoCommand(CLI::App& app, int& exitStatus);
void AddConvertCommand(CLI::App& app, int& exitStatus);
void AddSynthCommand(CLI::App& app, int& exitStatus);
void AddPreviewCommand(CLI::App& app, int& exitStatus);
void AddImportCommand(CLI::App& app, int& exitStatus);
