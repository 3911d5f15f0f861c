#pragma once
// The import command: E57 file -> folder with point file and library part,
// registered as a library of the project.
#include <string>

#include "host/Host.h"

// Returns the base name of the imported point cloud, or "" when nothing was imported.
std::string DoImport(host::Host& host, int densityPercent);
