#pragma once
// A fresh folder under /tmp, removed with everything in it at the end of the test.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

class TempDir {
public:
    TempDir()
    {
        std::string pattern = "/tmp/pw_hosttest_XXXXXX";
        if (mkdtemp(pattern.data()) != nullptr) {
            path_ = pattern;
        }
    }
    ~TempDir()
    {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& Path() const { return path_; }

    std::filesystem::path Write(const std::string& relative, const std::string& text) const
    {
        const std::filesystem::path file = path_ / relative;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
        return file;
    }

private:
    std::filesystem::path path_;
};
