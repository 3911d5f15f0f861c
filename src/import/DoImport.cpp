#include "import/DoImport.h"

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "e57/Reader.h"
#include "import/ConvertE57ToGspc.h"
#include "import/GspcWriter.h"
#include "import/LibraryFolders.h"
#include "import/WriteGsmViaXml.h"
#include "main/Log.h"

// Log lines are cut at their fixed buffer sizes on purpose.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wformat-truncation"
#endif

namespace {

// The file name without a trailing ".e57" in any case; a name that is only
// ".e57" keeps it.
std::string BaseName(const std::string& fileName)
{
    if (fileName.size() > 4) {
        std::string suffix = fileName.substr(fileName.size() - 4);
        for (char& c : suffix) {
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
        if (suffix == ".e57") {
            return fileName.substr(0, fileName.size() - 4);
        }
    }
    return fileName;
}

}  // namespace

std::string DoImport(host::Host& host, int densityPercent)
{
    return DoImport(host, densityPercent, WriteGsmViaXml);
}

std::string DoImport(host::Host& host, int densityPercent, LibPartGenerator generateLibPart)
{
    return DoImport(host, densityPercent, generateLibPart, ConvertE57ToGspc);
}

std::string DoImport(host::Host& host, int densityPercent, LibPartGenerator generateLibPart, Conversion convert)
{
    Log("--- DoImport ---");

    std::filesystem::path chosen;
    if (!host.openFileDialog.GetOpenFile("E57-Datei öffnen", "E57-Punktwolke", "e57", chosen)) {
        return "";
    }

    const std::string e57Path = chosen.string();
    char line[512];
    std::snprintf(line, sizeof line, "E57: %s", e57Path.c_str());
    Log(line);

    // The output folder is a subfolder of the E57 file's folder, named after the file.
    const std::string baseName = BaseName(chosen.filename().string());
    const size_t lastSlash = e57Path.rfind('/');
    const std::string directory = lastSlash == std::string::npos ? e57Path : e57Path.substr(0, lastSlash);
    // A file in the root folder gets its folder in the root, not relative to the working folder.
    const std::filesystem::path outputFolder =
        std::filesystem::path(lastSlash == 0 ? std::string("/") : directory) / baseName;
    const std::string outputFolderPath = outputFolder.string();
    {
        // An existing folder is reused and its files overwritten.
        std::error_code ignored;
        std::filesystem::create_directory(outputFolder, ignored);
    }

    const std::string gspcFileName = baseName + "_data.gspc";
    const std::string gspcPath = (outputFolder / gspcFileName).string();

    float sizeX = 1.0f, sizeY = 1.0f, sizeZ = 1.0f;
    float offsetX = 0.0f, offsetY = 0.0f, offsetZ = 0.0f;
    int64_t totalPoints = 0;
    int64_t keptPoints = 0;
    bool processWindowOpen = false;

    try {
        e57::ReaderOptions options;
        options.checksumPolicy = 100;
        e57::Reader reader(e57Path, options);
        if (!reader.IsOpen()) {
            host.reportWindow.WriteReport("E57-Datei konnte nicht geöffnet werden.", true);
            return "";
        }
        const int64_t scanCount = reader.GetData3DCount();
        if (scanCount == 0) {
            host.reportWindow.WriteReport("E57-Datei enthält keine Scans.", true);
            return "";
        }
        GspcWriter writer;
        if (!writer.Open(gspcPath.c_str())) {
            host.reportWindow.WriteReport("GSPC-Datei konnte nicht angelegt werden.", true);
            return "";
        }

        const ConversionResult result = convert(reader, scanCount, writer, densityPercent, "E57 importieren...",
                                                host.processWindow, processWindowOpen);
        if (result.cancelled) {
            // The partial point file stays on disk, closed.
            host.processWindow.Close();
            host.reportWindow.WriteReport("Import abgebrochen.", false);
            return "";
        }
        // A point file cut short (full disk) must not become a library part.
        if (writer.WriteFailed()) {
            throw std::runtime_error("could not write all of " + gspcPath);
        }
        totalPoints = result.totalPoints;
        keptPoints = result.keptPoints;
        sizeX = result.sizeX;
        sizeY = result.sizeY;
        sizeZ = result.sizeZ;
        offsetX = result.offsetX;
        offsetY = result.offsetY;
        offsetZ = result.offsetZ;
    } catch (const std::exception& e) {
        // The unfinished point file stays on disk.
        if (processWindowOpen) {
            host.processWindow.Close();
        }
        char errorLine[256];
        std::snprintf(errorLine, sizeof errorLine, "E57-Fehler: %s", e.what());
        Log(errorLine);
        host.reportWindow.WriteReport("E57-Konvertierung fehlgeschlagen.", true);
        return "";
    }

    host.processWindow.NextPhase("GSM erstellen...", 1);
    const bool made = generateLibPart(gspcFileName.c_str(), baseName.c_str(), outputFolderPath.c_str(), sizeX,
                                      sizeY, sizeZ, offsetX, offsetY, offsetZ, densityPercent, e57Path.c_str(),
                                      totalPoints, keptPoints);
    host.processWindow.SetValue(1);
    host.processWindow.Close();

    if (!made) {
        Log("WriteGsmViaXml fehlgeschlagen.");
        host.reportWindow.WriteReport("GSM konnte nicht erstellt werden.", true);
        return "";
    }

    RegisterLibraryDir(host.libraryList, outputFolder);
    host.libraryList.ReloadLibraries();

    host.reportWindow.WriteReport("\"" + baseName + "\" importiert (" + std::to_string(densityPercent) +
                                      "% der Punkte).",
                                  false);
    return baseName;
}
