#pragma once
// Editing of the project's library list: add a folder, remove a folder, reload.
#include <filesystem>
#include <string>

#include "host/LibraryList.h"

void RegisterLibraryDir(host::LibraryList& libraries, const std::filesystem::path& folder);
void UnregisterLibraryDir(host::LibraryList& libraries, const std::string& folderPath);
void ReloadLibraries(host::LibraryList& libraries);
