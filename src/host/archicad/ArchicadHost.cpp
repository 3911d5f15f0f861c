#include "host/archicad/ArchicadHost.h"

#include "host/DefaultCharset.h"
#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/ArchicadApi.h"
#include "import/WriteGsmViaXml.h"

namespace archicad {

namespace {

// All adapters in one heap object. Created on first use and released in
// FreeData: the kit's services are gone by the time the bundle unloads, so
// no object of the kit may live in static storage.
struct Adapters {
    ArchicadRegistration registration;
    ArchicadOpenFileDialog openFileDialog;
    ArchicadAlertDialog alertDialog;
    ArchicadReportWindow reportWindow;
    ArchicadProcessWindow processWindow;
    ArchicadLibraryList libraryList;
    ArchicadLibParts libParts;
    ArchicadElements elements;
    ArchicadUndoableCommand undo;
    ArchicadStories stories;
    ArchicadDefaultCharset defaultCharset;
    host::Host bundle{registration, openFileDialog, alertDialog, reportWindow, processWindow,
                      libraryList,  libParts,       elements,    undo,         stories};
};

Adapters* g_adapters = nullptr;
bool g_factoryInstalled = false;

}  // namespace

void BindArchicadHost()
{
    if (g_adapters == nullptr) {
        g_adapters = new Adapters;
    }
    host::SetCurrentHost(&g_adapters->bundle);
    host::SetDefaultCharset(&g_adapters->defaultCharset);
    // The converter of the Archicad version this bundle is built for.
    if (const char* converter = api::LibPartConverterPath()) {
        LP_XMLCONVERTER = converter;
    }
    if (!g_factoryInstalled) {
        InstallPaletteViewFactory();
        g_factoryInstalled = true;
    }
}

void ReleaseArchicadHost()
{
    host::SetCurrentHost(nullptr);
    host::SetDefaultCharset(nullptr);
    delete g_adapters;
    g_adapters = nullptr;
}

}  // namespace archicad
