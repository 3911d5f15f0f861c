#pragma once
// Timed runs of the conversion and of its floors, each in a child process of
// its own, so that the child's peak resident memory (wait4's ru_maxrss) is
// that of the one run and of nothing else.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#if defined(__linux__)
#include <sys/vfs.h>
#endif
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "e57/Reader.h"
#include "import/GspcWriter.h"
#include "parallel/ParallelConversion.h"

namespace bench {

struct Run {
    bool ok = false;
    double seconds = 0;        // of the work itself, without the process start
    double peakRssMiB = 0;     // of the child process
    int64_t kept = 0;
    std::string error;
};

// Runs `work` (returning its kept point count, or throwing) in a child.
inline Run InChild(const std::function<int64_t()>& work)
{
    Run run;
    int fds[2];
    if (::pipe(fds) != 0) {
        run.error = "pipe failed";
        return run;
    }
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(fds[0]);
        char message[256] = {};
        double seconds = 0;
        int64_t kept = -1;
        try {
            const auto start = std::chrono::steady_clock::now();
            kept = work();
            seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        } catch (const std::exception& e) {
            std::snprintf(message, sizeof message, "%s", e.what());
        }
        const bool w = ::write(fds[1], &seconds, sizeof seconds) == sizeof seconds &&
                       ::write(fds[1], &kept, sizeof kept) == sizeof kept &&
                       ::write(fds[1], message, sizeof message) == sizeof message;
        ::_exit(w ? 0 : 1);
    }
    ::close(fds[1]);
    char message[256] = {};
    const bool got = pid > 0 && ::read(fds[0], &run.seconds, sizeof run.seconds) == sizeof run.seconds &&
                     ::read(fds[0], &run.kept, sizeof run.kept) == sizeof run.kept &&
                     ::read(fds[0], message, sizeof message) == sizeof message;
    ::close(fds[0]);
    int status = 0;
    struct rusage usage {};
    if (pid > 0)
        ::wait4(pid, &status, 0, &usage);
    run.peakRssMiB = double(usage.ru_maxrss) / 1024.0;
    run.ok = got && WIFEXITED(status) && WEXITSTATUS(status) == 0 && message[0] == '\0' && run.kept >= 0;
    run.error = got ? message : "the child process failed";
    return run;
}

// The fastest of `repetitions` runs; its peak memory is the largest of all.
inline Run Best(int repetitions, const std::function<Run()>& once)
{
    Run best;
    double peak = 0;
    for (int i = 0; i < repetitions; ++i) {
        Run r = once();
        if (!r.ok)
            return r;
        peak = std::max(peak, r.peakRssMiB);
        if (!best.ok || r.seconds < best.seconds)
            best = r;
    }
    best.peakRssMiB = peak;
    return best;
}

class SilentWindow : public host::ProcessWindow {
public:
    host::ErrCode Open(const std::string&, int32_t) override { return host::NoError; }
    host::ErrCode NextPhase(const std::string&, int32_t) override { return host::NoError; }
    host::ErrCode SetValue(int32_t) override { return host::NoError; }
    host::ErrCode IsCanceled(bool& c) override { c = false; return host::NoError; }
    host::ErrCode Close() override { return host::NoError; }
};

// The conversion as `punktwolke convert --threads N` runs it, all checksums verified.
inline Run Convert(const std::string& e57, const std::string& out, int density, int threads)
{
    return InChild([&]() -> int64_t {
        e57::ReaderOptions options;
        options.checksumPolicy = 100;
        e57::Reader reader(e57, options);
        if (!reader.IsOpen())
            throw std::runtime_error("cannot open " + e57);
        GspcWriter writer;
        if (!writer.Open(out.c_str()))
            throw std::runtime_error("cannot create " + out);
        SilentWindow window;
        bool open = false;
        const ConversionResult r = parallel::ConvertWithThreads(reader, e57, reader.GetData3DCount(), writer,
                                                                density, "bench", window, open, threads);
        if (writer.WriteFailed())
            throw std::runtime_error("could not write all of " + out);
        return r.keptPoints;
    });
}

// Writing `bytes` to `out` in 1 MiB pieces, as the point file is written (no sync).
inline Run WriteFloor(const std::string& out, uint64_t bytes)
{
    return InChild([&]() -> int64_t {
        std::vector<unsigned char> block(1 << 20, 0x5A);
        const int fd = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd < 0)
            throw std::runtime_error("cannot create " + out);
        for (uint64_t left = bytes; left > 0;) {
            const size_t n = left < block.size() ? size_t(left) : block.size();
            if (::write(fd, block.data(), n) != ssize_t(n)) {
                ::close(fd);
                throw std::runtime_error("cannot write " + out);
            }
            left -= n;
        }
        ::close(fd);
        return 0;
    });
}

inline uint64_t FreeBytes(const std::string& folder)
{
    struct statvfs st {};
    if (::statvfs(folder.c_str(), &st) != 0)
        return 0;
    return uint64_t(st.f_bavail) * st.f_frsize;
}

// "tmpfs" for a file in memory, "disk" otherwise (Linux only; "?" elsewhere).
inline std::string KindOfFolder(const std::string& folder)
{
#if defined(__linux__)
    struct statfs st {};
    if (::statfs(folder.c_str(), &st) != 0)
        return "?";
    return st.f_type == 0x01021994 ? "tmpfs" : "disk";
#else
    (void)folder;
    return "?";
#endif
}

inline std::string FolderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : (slash == 0 ? "/" : path.substr(0, slash));
}

}  // namespace bench
