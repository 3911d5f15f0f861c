// Reading speed of the E57 reader on a large synthetic scan.
//
// The file (PW_BENCH_POINTS points, default 40 000 000, in 8 scans of mixed
// encodings) is generated once and kept in /tmp as pw_bench_<points>.e57.
//   e57_read_bench                          full size
//   PW_BENCH_POINTS=2000000 e57_read_bench  quick run
//
// BM_DecodeAllPoints: every point of every scan through the reader into
//   double coordinates and uint16 colours, blocks of 65536; arg = checksum policy.
// BM_VerifyAllPages:  Reader::VerifyAllPages over the whole file.
// BM_PreadCrc:        plain pread of the file plus CRC-32C of every page, the
//   floor for any reader that checks every page.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "e57/Reader.h"

namespace {

using bench::BenchFile;
using bench::FileSize;

void BM_DecodeAllPoints(benchmark::State& state)
{
    const std::string& path = BenchFile();
    constexpr size_t kBlock = 65536;
    std::vector<double> x(kBlock), y(kBlock), z(kBlock);
    std::vector<uint16_t> red(kBlock), green(kBlock), blue(kBlock);
    std::vector<int8_t> invalid(kBlock);
    e57::Data3DPointsData_d b;
    b.cartesianX = x.data();
    b.cartesianY = y.data();
    b.cartesianZ = z.data();
    b.colorRed = red.data();
    b.colorGreen = green.data();
    b.colorBlue = blue.data();
    b.isColorInvalid = invalid.data();
    e57::ReaderOptions options;
    options.checksumPolicy = int(state.range(0));
    uint64_t points = 0;
    double sink = 0;
    for (auto _ : state) {
        e57::Reader reader(path, options);
        if (!reader.IsOpen()) {
            state.SkipWithError("cannot open the benchmark file");
            return;
        }
        for (int64_t s = 0; s < reader.GetData3DCount(); ++s) {
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
BENCHMARK(BM_DecodeAllPoints)->Arg(100)->Arg(0)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_VerifyAllPages(benchmark::State& state)
{
    const std::string& path = BenchFile();
    for (auto _ : state) {
        e57::Reader reader(path, e57::ReaderOptions());
        const uint64_t bad = reader.VerifyAllPages();
        if (bad != 0) {
            state.SkipWithError("bad pages in the benchmark file");
            return;
        }
    }
    state.SetBytesProcessed(int64_t(FileSize(path)) * int64_t(state.iterations()));
}
BENCHMARK(BM_VerifyAllPages)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PreadCrc(benchmark::State& state)
{
    bench::PreadCrc(state);
}
BENCHMARK(BM_PreadCrc)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
