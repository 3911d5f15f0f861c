#pragma once
// The host's open-file dialog (DGGetOpenFile with one file type popup item).
#include <filesystem>
#include <string>

namespace host {

class OpenFileDialog {
public:
    virtual ~OpenFileDialog() = default;
    // True when the user picked a file; `chosen` then holds its location.
    virtual bool GetOpenFile(const std::string& title, const std::string& typeText,
                             const std::string& extension, std::filesystem::path& chosen) = 0;
};

}  // namespace host
