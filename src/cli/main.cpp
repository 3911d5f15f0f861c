// punktwolke: the import of E57 point clouds without the host.
#include <cstdio>

#include "cli/Commands.h"

int main(int argc, char** argv)
{
    CLI::App app{"punktwolke - E57 point clouds into Archicad library parts"};
    app.set_version_flag("--version", "punktwolke " PW_VERSION);
    app.require_subcommand(1);
    int exitStatus = 0;
    AddInfoCommand(app, exitStatus);
    AddConvertCommand(app, exitStatus);
    AddSynthCommand(app, exitStatus);
    AddPreviewCommand(app, exitStatus);
    AddImportCommand(app, exitStatus);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int rc = app.exit(e);
        return rc == 0 ? 0 : 2;
    }
    return exitStatus;
}
