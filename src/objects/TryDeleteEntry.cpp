#include "objects/TryDeleteEntry.h"

#include <cstdio>
#include <string>
#include <vector>

#include <unistd.h>

#include "host/DefaultCharset.h"
#include "import/LibraryFolders.h"
#include "main/Log.h"
#include "objects/FindPlacedInstances.h"

bool TryDeleteEntry(host::Host& host, const PointCloudEntry& entry)
{
    const std::vector<host::Guid> instances = FindPlacedInstances(host.elements, entry.libIdx);
    const int count = static_cast<int>(instances.size());
    const char* pluralE = count == 1 ? "" : "e";

    // Only the text without instances mentions the E57 source file.
    std::string smallText;
    if (count > 0) {
        char buffer[128];
        std::snprintf(buffer, sizeof buffer,
                      "%d platziertes Objekt%s wird gelöscht. GSM + GSPC werden von der Festplatte entfernt.", count,
                      pluralE);
        smallText = buffer;
    } else {
        smallText = "GSM + GSPC-Dateien werden gelöscht. Die E57-Quelldatei bleibt erhalten.";
    }
    const std::string largeText = "\"" + entry.name + "\" löschen?";

    const int16_t answer =
        host.alertDialog.Alert(-2, "Punktwolke löschen", largeText, smallText, "Löschen", "Abbrechen", "");
    if (answer != 1) {
        return false;
    }

    // Only the model change is undoable; files and library list are not.
    if (count > 0) {
        host.undo.CallUndoableCommand("Punktwolke löschen",
                                      [&]() -> host::ErrCode { return host.elements.Delete(instances); });
    }

    // Failures from here on are not detected: files already gone, a folder
    // that still holds foreign files (rmdir only removes an empty one).
    // The paths reach the C library as narrow strings in the host's default set.
    const host::DefaultCharset& charset = host::CurrentDefaultCharset();
    const std::string gsmPath = charset.FromUtf8(entry.folder + "/" + entry.name + ".gsm");
    const std::string gspcPath = charset.FromUtf8(entry.folder + "/" + entry.gspcFileName);
    std::remove(gsmPath.c_str());
    std::remove(gspcPath.c_str());
    ::rmdir(charset.FromUtf8(entry.folder).c_str());

    UnregisterLibraryDir(host.libraryList, entry.folder);

    char line[512];
    std::snprintf(line, sizeof line, "Gelöscht: %s (%d Objekt%s entfernt)", entry.folder.c_str(), count, pluralE);
    Log(line);
    return true;
}
