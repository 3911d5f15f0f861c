#pragma once
// Every host service the add-on uses, in one bundle handed to the commands.
// The add-on binds it to the real host; tests bind it to the simulated host;
// the command-line tool binds it to a terminal.
#include "host/AddOnRegistration.h"
#include "host/AlertDialog.h"
#include "host/Elements.h"
#include "host/LibParts.h"
#include "host/LibraryList.h"
#include "host/OpenFileDialog.h"
#include "host/ProcessWindow.h"
#include "host/ReportWindow.h"
#include "host/Stories.h"
#include "host/UndoableCommand.h"

namespace host {

struct Host {
    AddOnRegistration& registration;
    OpenFileDialog& openFileDialog;
    AlertDialog& alertDialog;
    ReportWindow& reportWindow;
    ProcessWindow& processWindow;
    LibraryList& libraryList;
    LibParts& libParts;
    Elements& elements;
    UndoableCommand& undo;
    Stories& stories;
};

// The host the add-on's entry points and palette work with. Set once by the
// binding (or a test / the session driver) before the first entry point runs.
Host& CurrentHost();
void SetCurrentHost(Host* host);

}  // namespace host
