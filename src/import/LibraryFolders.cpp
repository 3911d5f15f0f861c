#include "import/LibraryFolders.h"

#include <vector>

namespace {

// Entries of this type are never written back by the add-on.
constexpr int32_t kSkippedLibraryType = 3;
// The type the add-on gives a folder that it registers.
constexpr int32_t kLocalLibraryType = 1;

std::vector<host::LibraryInfo> GetLibraryList(host::LibraryList& libraries)
{
    std::vector<host::LibraryInfo> list;
    int32_t embeddedLibraryIndex = 0;
    libraries.GetLibraries(list, &embeddedLibraryIndex);
    return list;
}

}  // namespace

void RegisterLibraryDir(host::LibraryList& libraries, const std::filesystem::path& folder)
{
    const std::vector<host::LibraryInfo> list = GetLibraryList(libraries);
    const std::string folderPath = folder.string();

    // Folders are compared by their exact path text, without normalisation.
    std::vector<host::LibraryInfo> newList;
    newList.reserve(list.size() + 1);
    bool present = false;
    for (const host::LibraryInfo& entry : list) {
        if (entry.libraryType == kSkippedLibraryType) {
            continue;
        }
        if (entry.location.string() == folderPath) {
            present = true;
        }
        newList.push_back(entry);
    }
    if (!present) {
        host::LibraryInfo added;
        added.location = folder;
        added.libraryType = kLocalLibraryType;
        newList.push_back(added);
    }
    // Written back also when nothing was added; the caller reloads when it needs to.
    libraries.SetLibraries(newList);
}

void UnregisterLibraryDir(host::LibraryList& libraries, const std::string& folderPath)
{
    const std::vector<host::LibraryInfo> list = GetLibraryList(libraries);
    std::vector<host::LibraryInfo> newList;
    newList.reserve(list.size());
    for (const host::LibraryInfo& entry : list) {
        if (entry.libraryType == kSkippedLibraryType) {
            continue;
        }
        if (entry.location.string() != folderPath) {
            newList.push_back(entry);
        }
    }
    libraries.SetLibraries(newList);
}

void ReloadLibraries(host::LibraryList& libraries)
{
    const std::vector<host::LibraryInfo> list = GetLibraryList(libraries);
    std::vector<host::LibraryInfo> newList;
    newList.reserve(list.size());
    for (const host::LibraryInfo& entry : list) {
        if (entry.libraryType != kSkippedLibraryType) {
            newList.push_back(entry);
        }
    }
    libraries.SetLibraries(newList);
    libraries.ReloadLibraries();
}
