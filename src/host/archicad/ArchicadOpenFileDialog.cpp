#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/ArchicadConversions.h"

#include "DG.h"             // DG_DLL_EXPORT, for the next header
#include "DGFileDlg.hpp"    // DGGetOpenFile, DGTypePopupItem
#include "Location.hpp"

namespace archicad {

bool ArchicadOpenFileDialog::GetOpenFile(const std::string& title, const std::string& typeText,
                                         const std::string& extension, std::filesystem::path& chosen)
{
    DGTypePopupItem fileType;
    fileType.text = ToArchicad(typeText);
    fileType.extensions = ToArchicad(extension);
    fileType.macType = 0;

    IO::Location location;
    if (!DGGetOpenFile(&location, 1, &fileType, nullptr, ToArchicad(title), 0)) {
        return false;
    }
    chosen = ToPortable(location);
    return true;
}

}  // namespace archicad
