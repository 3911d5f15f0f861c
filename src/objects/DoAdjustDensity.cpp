#include "objects/DoAdjustDensity.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "e57/Reader.h"
#include "host/DefaultCharset.h"
#include "import/ConvertE57ToGspc.h"
#include "import/GspcWriter.h"
#include "import/LibraryFolders.h"
#include "main/Log.h"
#include "objects/FindPlacedInstances.h"

namespace {

bool ParameterNameIs(const host::AddPar& par, const char* name)
{
    // Exact, case-sensitive; a name filling the whole field has no terminator.
    const size_t length = ::strnlen(par.name.data(), par.name.size());
    return length == std::strlen(name) && std::memcmp(par.name.data(), name, length) == 0;
}

// Records the new density and point count in every placed instance of the
// part, in one undoable step. Returns the number of instances changed.
int UpdatePlacedParams(host::Host& host, int libIdx, int densityPercent, long long writtenPoints)
{
    // Only the part's parameter count is wanted; the result code is not checked.
    int32_t partParamCount = 0;
    {
        double a = 0.0;
        double b = 0.0;
        host::AddParHandle partParams;
        host.libParts.GetParams(libIdx, a, b, partParamCount, partParams);
        host.libParts.DisposeAddParHdl(partParams);
    }

    const std::vector<host::Guid> instances = FindPlacedInstances(host.elements, libIdx);
    if (instances.empty()) {
        return 0;
    }

    int updated = 0;

    host.undo.CallUndoableCommand("Punktwolkendichte anpassen", [&]() -> host::ErrCode {
        for (const host::Guid& guid : instances) {
            host::ElementMemo memo{};
            if (host.elements.GetMemo(guid, memo, host::kMemoMaskAddPars) != host::NoError) {
                host.elements.DisposeElemMemoHdls(memo);
                continue;
            }
            if (memo.params) {
                // The walk covers the part's parameter count, not the
                // instance's own list; it never runs past the instance's list.
                std::vector<host::AddPar>& params = *memo.params;
                const size_t walk = partParamCount > 0
                                        ? std::min(params.size(), static_cast<size_t>(partParamCount))
                                        : 0;
                for (size_t i = 0; i < walk; ++i) {
                    if (ParameterNameIs(params[i], "iDensityPercent")) {
                        params[i].real = static_cast<double>(densityPercent);
                    } else if (ParameterNameIs(params[i], "iReducedPoints")) {
                        params[i].real = static_cast<double>(writtenPoints);
                    }
                }
            }
            if (host.elements.ChangeMemo(guid, host::kMemoMaskAddPars, memo) == host::NoError) {
                ++updated;
            }
            host.elements.DisposeElemMemoHdls(memo);
        }
        return host::NoError;
    });
    return updated;
}

// The report text goes to a narrow string in the host string's default
// character set and back before it is written: characters that set lacks do
// not survive.
std::string ThroughDefaultCharset(const std::string& utf8Text)
{
    const host::DefaultCharset& charset = host::CurrentDefaultCharset();
    return charset.ToUtf8(charset.FromUtf8(utf8Text));
}

}  // namespace

bool DoAdjustDensity(host::Host& host, const PointCloudEntry& entry, int densityPercent)
{
    Log("--- DoAdjustDensity ---");
    // The file paths reach the E57 reader and the C library as narrow strings
    // in the host's default character set.
    const host::DefaultCharset& charset = host::CurrentDefaultCharset();
    const std::string gspcPath = charset.FromUtf8(entry.folder + "/" + entry.gspcFileName);

    bool processWindowOpen = false;
    // On an exception the writer is left as it is: no Close, so the point
    // file keeps its unfinished header.
    GspcWriter writer;
    try {
        e57::ReaderOptions options;
        options.checksumPolicy = 100;
        e57::Reader reader(charset.FromUtf8(entry.e57Path), options);
        if (!reader.IsOpen()) {
            host.reportWindow.WriteReport("E57-Datei konnte nicht geöffnet werden.", true);
            return false;
        }
        const int64_t scanCount = reader.GetData3DCount();
        if (scanCount <= 0) {
            host.reportWindow.WriteReport("E57-Datei enthält keine Scans.", true);
            return false;
        }

        // A folder deleted by hand is made again; any failure shows up when
        // the point file cannot be opened.
        std::error_code ignored;
        std::filesystem::create_directory(std::filesystem::path(charset.FromUtf8(entry.folder)), ignored);

        // Rewrites the existing point file in place.
        if (!writer.Open(gspcPath.c_str())) {
            host.reportWindow.WriteReport("GSPC-Datei konnte nicht angelegt werden.", true);
            return false;
        }

        const ConversionResult result = ConvertE57ToGspc(reader, scanCount, writer, densityPercent,
                                                         "Punktwolke reimportieren...", host.processWindow,
                                                         processWindowOpen);
        // Writer and reader are closed now. A cancelled re-import leaves the
        // shorter but complete point file and says nothing.
        host.processWindow.Close();
        processWindowOpen = false;
        if (result.cancelled) {
            return false;
        }
        // A point file cut short (full disk) does not hold the points the
        // instances would be told about: fail like a file that cannot be written.
        if (writer.WriteFailed()) {
            char line[256];
            std::snprintf(line, sizeof line, "GSPC-Fehler: could not write all of %s", gspcPath.c_str());
            Log(line);
            host.reportWindow.WriteReport("GSPC-Datei konnte nicht angelegt werden.", true);
            return false;
        }

        const int updated = UpdatePlacedParams(host, entry.libIdx, densityPercent, result.keptPoints);
        char line[64];
        std::snprintf(line, sizeof line, "updCount=%d", updated);
        Log(line);

        // Reload also without instances, so the host reads the new point file.
        ReloadLibraries(host.libraryList);

        std::string report = "\"" + entry.name + "\" neu importiert mit " + std::to_string(densityPercent) +
                             "% der Punkte";
        if (updated > 0) {
            report += " (" + std::to_string(updated) + " Objekt(e) aktualisiert).";
        } else {
            report += ".";
        }
        host.reportWindow.WriteReport(ThroughDefaultCharset(report), false);
        return true;
    } catch (const std::exception& ex) {
        if (processWindowOpen) {
            host.processWindow.Close();
        }
        char line[256];
        std::snprintf(line, sizeof line, "Exception: %s", ex.what());
        Log(line);
        host.reportWindow.WriteReport("Fehler beim Einlesen der E57-Datei.", true);
        return false;
    }
}
