#pragma once
// The import command: E57 file -> folder with point file and library part,
// registered as a library of the project.
#include <string>

#include "host/Host.h"
#include "import/ConvertE57ToGspc.h"

// Returns the base name of the imported point cloud, or "" when nothing was imported.
std::string DoImport(host::Host& host, int densityPercent);

// Makes the library part from the converted point file; same arguments and
// result as WriteGsmViaXml, which is what the add-on always uses.
using LibPartGenerator = bool (*)(const char* gspcFileName, const char* partName, const char* outputFolder,
                                  float sizeX, float sizeY, float sizeZ,
                                  float offsetX, float offsetY, float offsetZ,
                                  int densityPercent, const char* e57Path,
                                  long long totalPoints, long long reducedPoints);

// The same command with another library part step (the command-line tool's XML-only mode).
std::string DoImport(host::Host& host, int densityPercent, LibPartGenerator generateLibPart);

// The conversion step; ConvertE57ToGspc is what the add-on always uses.
using Conversion = ConversionResult (*)(e57::Reader& reader, int64_t scanCount, GspcWriter& writer,
                                        int32_t densityPercent, const std::string& windowTitle,
                                        host::ProcessWindow& processWindow, bool& processWindowOpen);

// The same command with another conversion step as well (the command-line tool's threads).
std::string DoImport(host::Host& host, int densityPercent, LibPartGenerator generateLibPart, Conversion convert);
