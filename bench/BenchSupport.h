#pragma once
// Shared by the benchmarks: the large synthetic scan they read, its size, and
// the pread + CRC-32C floor that any reader checking every page is compared to.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "e57/Crc32c.h"
#include "e57/Reader.h"
#include "synth/SyntheticScan.h"

namespace bench {

inline uint64_t BenchPoints()
{
    const char* env = std::getenv("PW_BENCH_POINTS");
    if (env && *env) {
        const unsigned long long n = std::strtoull(env, nullptr, 10);
        if (n > 0)
            return n;
    }
    return 40000000;
}

// PW_BENCH_POINTS points in 8 scans, generated once and kept in /tmp.
inline const std::string& BenchFile()
{
    static const std::string path = [] {
        const uint64_t points = BenchPoints();
        std::string p = points % 1000000 == 0 ? "/tmp/pw_bench_" + std::to_string(points / 1000000) + "m.e57"
                                               : "/tmp/pw_bench_" + std::to_string(points) + ".e57";
        synth::SynthOptions options;
        options.points = points;
        options.scans = 8;
        options.seed = 1;
        if (synth::EnsureSyntheticScan(p, options))
            std::fprintf(stderr, "generated %s\n", p.c_str());
        return p;
    }();
    return path;
}

inline uint64_t FileSize(const std::string& path)
{
    const int fd = ::open(path.c_str(), O_RDONLY);
    const off_t size = fd >= 0 ? ::lseek(fd, 0, SEEK_END) : 0;
    if (fd >= 0)
        ::close(fd);
    return uint64_t(size);
}

// Plain pread of a file in 1 MiB pieces plus CRC-32C of every page: the
// floor of any reader that checks every page. Returns the bad pages, or
// UINT64_MAX when the file cannot be opened.
inline uint64_t ReadAndChecksum(const std::string& path)
{
    std::vector<uint8_t> buffer(1 << 20);
    const int fd = ::open(path.c_str(), O_RDONLY);
    if (fd < 0)
        return UINT64_MAX;
    uint64_t bad = 0;
    off_t offset = 0;
    for (ssize_t n; (n = ::pread(fd, buffer.data(), buffer.size(), offset)) > 0; offset += n) {
        for (ssize_t page = 0; page + 1024 <= n; page += 1024) {
            const uint8_t* p = &buffer[size_t(page)];
            const uint32_t stored =
                uint32_t(p[1020]) << 24 | uint32_t(p[1021]) << 16 | uint32_t(p[1022]) << 8 | p[1023];
            bad += e57::Crc32c(p, 1020) != stored;
        }
    }
    ::close(fd);
    return bad;
}

inline void PreadCrc(benchmark::State& state)
{
    const std::string& path = BenchFile();
    for (auto _ : state) {
        const uint64_t bad = ReadAndChecksum(path);
        if (bad == UINT64_MAX) {
            state.SkipWithError("cannot open the benchmark file");
            return;
        }
        benchmark::DoNotOptimize(bad);
    }
    state.SetBytesProcessed(int64_t(FileSize(path)) * int64_t(state.iterations()));
}

// Every point of every scan through the reader into double coordinates and,
// for scans with colour, uint16 colours, in blocks of 65536: the fields and
// block size the conversion asks for, without thinning, pose or writing.
inline void DecodeAllPoints(benchmark::State& state, int checksumPolicy)
{
    const std::string& path = BenchFile();
    constexpr size_t kBlock = 65536;
    std::vector<double> x(kBlock), y(kBlock), z(kBlock);
    std::vector<uint16_t> red(kBlock), green(kBlock), blue(kBlock);
    std::vector<int8_t> invalid(kBlock);
    e57::ReaderOptions options;
    options.checksumPolicy = checksumPolicy;
    uint64_t points = 0;
    double sink = 0;
    for (auto _ : state) {
        e57::Reader reader(path, options);
        if (!reader.IsOpen()) {
            state.SkipWithError("cannot open the benchmark file");
            return;
        }
        for (int64_t s = 0; s < reader.GetData3DCount(); ++s) {
            e57::Data3D header;
            reader.ReadData3D(s, header);
            e57::Data3DPointsData_d b;
            b.cartesianX = x.data();
            b.cartesianY = y.data();
            b.cartesianZ = z.data();
            if (header.pointFields.colorRedField && header.pointFields.colorGreenField &&
                header.pointFields.colorBlueField) {
                b.colorRed = red.data();
                b.colorGreen = green.data();
                b.colorBlue = blue.data();
                b.isColorInvalid = invalid.data();
            }
            e57::CompressedVectorReader cv = reader.SetUpData3DPointsData(s, kBlock, b);
            for (unsigned n; (n = cv.read()) > 0;) {
                points += n;
                sink += x[n - 1] + double(red[n - 1]);
            }
        }
        benchmark::DoNotOptimize(sink);
    }
    state.counters["points/s"] = benchmark::Counter(double(points), benchmark::Counter::kIsRate);
    state.counters["points"] = double(points) / double(state.iterations());
    state.SetBytesProcessed(int64_t(FileSize(path)) * int64_t(state.iterations()));
}

}  // namespace bench
