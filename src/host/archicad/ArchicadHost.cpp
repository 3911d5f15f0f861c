#include "host/archicad/ArchicadHost.h"

#include <memory>

#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/PunktwolkenPaletteDG.h"

namespace archicad {

host::Host& ArchicadHost()
{
    static ArchicadRegistration registration;
    static ArchicadOpenFileDialog openFileDialog;
    static ArchicadAlertDialog alertDialog;
    static ArchicadReportWindow reportWindow;
    static ArchicadProcessWindow processWindow;
    static ArchicadLibraryList libraryList;
    static ArchicadLibParts libParts;
    static ArchicadElements elements;
    static ArchicadUndoableCommand undo;
    static ArchicadStories stories;
    static host::Host bundle{registration, openFileDialog, alertDialog, reportWindow, processWindow,
                             libraryList,  libParts,       elements,    undo,         stories};
    return bundle;
}

void BindArchicadHost()
{
    static bool bound = false;
    if (bound) {
        return;
    }
    host::SetCurrentHost(&ArchicadHost());
    PunktwolkenPalette::SetViewFactory([](PunktwolkenPalette& palette) -> std::unique_ptr<PaletteView> {
        std::unique_ptr<PaletteView> view = std::make_unique<PunktwolkenPaletteDG>(palette);
        // The palette lives to the end of the process: the add-on's code must
        // stay loaded as long as its window exists.
        ACAPI_KeepInMemory(true);
        return view;
    });
    bound = true;
}

}  // namespace archicad
