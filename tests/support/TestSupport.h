#pragma once
// Shared by the test folders: temporary folders, whole-file reads, SHA-256 and
// the paths of the shared sample files.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

namespace pwtest {

// A fresh folder under /tmp, removed with everything in it at the end of the test.
class TempDir {
public:
    explicit TempDir(const std::string& prefix = "pw_test")
    {
        std::string pattern = "/tmp/" + prefix + "_XXXXXX";
        if (mkdtemp(pattern.data()) != nullptr)
            path_ = pattern;
        else
            ADD_FAILURE() << "cannot create " << pattern;
    }
    ~TempDir()
    {
        std::error_code ec;
        if (!path_.empty())
            std::filesystem::remove_all(path_, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    std::string File(const std::string& name) const { return (path_ / name).string(); }

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

inline std::string Slurp(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

inline std::vector<std::string> ReadLines(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

inline std::string Sha256Hex(const std::string& data)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int len = 0;
    EVP_Digest(data.data(), data.size(), digest, &len, EVP_sha256(), nullptr);
    std::string out;
    for (unsigned i = 0; i < len; ++i) {
        out += "0123456789abcdef"[digest[i] >> 4];
        out += "0123456789abcdef"[digest[i] & 15];
    }
    return out;
}

inline std::string SamplePath(const std::string& name)
{
    return std::string(PW_SHARED_DIR) + "/e57/" + name;
}

inline bool SamplePresent(const std::string& name)
{
    struct stat st {};
    return ::stat(SamplePath(name).c_str(), &st) == 0;
}

}  // namespace pwtest
