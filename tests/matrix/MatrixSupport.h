#pragma once
// Support for the bad-input matrix: hostile E57 files made with the project's
// writer and then patched at the byte level (logical bytes changed, page
// checksums redone), a fingerprint of the source file, and a run of the
// punktwolke tool in a child process with bounds on time, memory and file size.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "e57/Crc32c.h"

namespace matrix {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kUnderAsan = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kUnderAsan = true;
#else
constexpr bool kUnderAsan = false;
#endif
#else
constexpr bool kUnderAsan = false;
#endif

inline Bytes ReadBytes(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

inline void WriteBytes(const fs::path& path, const Bytes& data)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
}

inline std::string Slurp(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// SHA-256 of a regular file's bytes, as hex; "" for anything else (a FIFO
// must not be opened here: that would wait for a writer).
inline std::string Sha256(const fs::path& path)
{
    std::error_code ec;
    if (!fs::is_regular_file(path, ec))
        return "";
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return "";
    EVP_MD_CTX* ctx = EVP_MD_CTX_new();
    EVP_DigestInit_ex(ctx, EVP_sha256(), nullptr);
    char buf[65536];
    while (in.read(buf, sizeof buf) || in.gcount() > 0)
        EVP_DigestUpdate(ctx, buf, static_cast<size_t>(in.gcount()));
    unsigned char md[EVP_MAX_MD_SIZE];
    unsigned len = 0;
    EVP_DigestFinal_ex(ctx, md, &len);
    EVP_MD_CTX_free(ctx);
    std::string hex;
    char two[3];
    for (unsigned i = 0; i < len; ++i) {
        std::snprintf(two, sizeof two, "%02x", md[i]);
        hex += two;
    }
    return hex;
}

// --- E57 bytes: physical pages of 1020 data bytes and a big-endian CRC-32C ---

inline void PutU64(Bytes& b, size_t at, uint64_t v)
{
    for (int i = 0; i < 8; ++i)
        b[at + i] = static_cast<uint8_t>(v >> (8 * i));
}

inline void PutU16(Bytes& b, size_t at, uint16_t v)
{
    b[at] = static_cast<uint8_t>(v);
    b[at + 1] = static_cast<uint8_t>(v >> 8);
}

inline uint64_t GetU64(const Bytes& b, size_t at)
{
    uint64_t v = 0;
    for (int i = 7; i >= 0; --i)
        v = (v << 8) | b[at + i];
    return v;
}

inline uint64_t ToLogicalOffset(uint64_t physical)
{
    return physical / 1024 * 1020 + physical % 1024;
}

inline uint64_t ToPhysicalOffset(uint64_t logical)
{
    return logical / 1020 * 1024 + logical % 1020;
}

inline Bytes Logical(const Bytes& physical)
{
    Bytes out;
    for (size_t p = 0; p + 1024 <= physical.size(); p += 1024)
        out.insert(out.end(), physical.begin() + static_cast<long>(p), physical.begin() + static_cast<long>(p + 1020));
    return out;
}

// Cuts logical bytes into pages (the last zero-filled) with their checksums.
inline Bytes Paginate(Bytes logical)
{
    logical.resize((logical.size() + 1019) / 1020 * 1020, 0);
    Bytes out;
    for (size_t p = 0; p < logical.size(); p += 1020) {
        out.insert(out.end(), logical.begin() + static_cast<long>(p), logical.begin() + static_cast<long>(p + 1020));
        const uint32_t crc = e57::Crc32c(logical.data() + p, 1020);
        for (int i = 0; i < 4; ++i)
            out.push_back(static_cast<uint8_t>(crc >> (24 - 8 * i)));
    }
    return out;
}

// The file with `edit` applied to its logical bytes and every checksum redone,
// so that only the structural change remains.
inline Bytes PatchLogical(const Bytes& physical, const std::function<void(Bytes&)>& edit)
{
    Bytes logical = Logical(physical);
    edit(logical);
    return Paginate(logical);
}

inline std::string XmlOf(const Bytes& physical)
{
    const Bytes logical = Logical(physical);
    const uint64_t start = ToLogicalOffset(GetU64(physical, 24));
    return std::string(logical.begin() + static_cast<long>(start),
                       logical.begin() + static_cast<long>(start + GetU64(physical, 32)));
}

// Replaces the XML section (the writer puts it last); header and checksums follow.
inline Bytes WithXml(const Bytes& physical, const std::string& xml)
{
    Bytes logical = Logical(physical);
    logical.resize(ToLogicalOffset(GetU64(physical, 24)));
    logical.insert(logical.end(), xml.begin(), xml.end());
    PutU64(logical, 32, xml.size());
    PutU64(logical, 16, (logical.size() + 1019) / 1020 * 1024);
    return Paginate(logical);
}

// `text` with the first `from` replaced; fails the test when it is absent.
inline std::string Replace(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << "'" << from << "' not in the XML";
    if (at != std::string::npos)
        text.replace(at, from.size(), to);
    return text;
}

// --- the tool in a child process ---

struct Limits {
    int seconds = 20;                 // killed after this long (a hang)
    uint64_t addressSpaceMb = 1024;   // RLIMIT_AS (not under ASan, which reserves terabytes)
    uint64_t fileSizeBytes = 0;       // RLIMIT_FSIZE when non-zero, SIGXFSZ ignored
};

struct RunResult {
    int exitCode = -1;     // -1 when it did not exit normally
    int signal = 0;        // the signal that ended it, 0 if none
    bool timedOut = false;
    long maxRssMb = 0;
    std::string out, err;
};

inline std::string ToolPath()
{
    return std::string(PW_PUNKTWOLKE);
}

inline RunResult RunTool(const std::vector<std::string>& args, const Limits& limits = Limits(),
                         const fs::path& cwd = fs::temp_directory_path())
{
    static int serial = 0;
    const std::string base = "/tmp/pw_matrix_run_" + std::to_string(getpid()) + "_" + std::to_string(++serial);
    const std::string outPath = base + ".out", errPath = base + ".err";
    std::vector<std::string> argv{ToolPath()};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> cargv;
    for (std::string& a : argv)
        cargv.push_back(a.data());
    cargv.push_back(nullptr);

    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        const int in = open("/dev/null", O_RDONLY);
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (in < 0 || out < 0 || err < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0 ||
            chdir(cwd.c_str()) != 0)
            _exit(126);
        if (!kUnderAsan && limits.addressSpaceMb != 0) {
            const rlim_t bytes = static_cast<rlim_t>(limits.addressSpaceMb) << 20;
            const struct rlimit as { bytes, bytes };
            setrlimit(RLIMIT_AS, &as);
        }
        if (limits.fileSizeBytes != 0) {
            const struct rlimit fsize { limits.fileSizeBytes, limits.fileSizeBytes };
            setrlimit(RLIMIT_FSIZE, &fsize);
            signal(SIGXFSZ, SIG_IGN);  // a full disk: writes fail with EFBIG instead
        }
        execv(cargv[0], cargv.data());
        _exit(127);
    }
    RunResult r;
    if (pid < 0) {
        r.err = "fork failed";
        return r;
    }
    int status = 0;
    struct rusage usage {};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(limits.seconds);
    for (;;) {
        const pid_t done = wait4(pid, &status, WNOHANG, &usage);
        if (done == pid)
            break;
        if (std::chrono::steady_clock::now() > deadline) {
            r.timedOut = true;
            kill(pid, SIGKILL);
            wait4(pid, &status, 0, &usage);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (WIFEXITED(status))
        r.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status))
        r.signal = WTERMSIG(status);
    r.maxRssMb = usage.ru_maxrss / 1024;
    r.out = Slurp(outPath);
    r.err = Slurp(errPath);
    std::remove(outPath.c_str());
    std::remove(errPath.c_str());
    return r;
}

// A fresh folder under /tmp, removed with its contents.
class Scratch {
public:
    Scratch()
    {
        char pattern[] = "/tmp/pw_matrix_XXXXXX";
        if (mkdtemp(pattern) != nullptr)
            path_ = pattern;
    }
    ~Scratch()
    {
        std::error_code ec;
        // Permissions taken away by a test would stop the removal.
        for (auto it = fs::recursive_directory_iterator(path_, ec); !ec && it != fs::recursive_directory_iterator();
             it.increment(ec))
            chmod(it->path().c_str(), 0755);
        fs::remove_all(path_, ec);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    const fs::path& Path() const { return path_; }
    fs::path operator/(const std::string& name) const { return path_ / name; }

private:
    fs::path path_;
};

}  // namespace matrix
