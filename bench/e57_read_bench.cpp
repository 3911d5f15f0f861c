// Reading speed of the E57 reader on a large synthetic scan.
//
// The file (PW_BENCH_POINTS points, default 40 000 000, in 8 scans of mixed
// encodings) is generated once and kept in /tmp as pw_bench_<points>.e57.
//   e57_read_bench                          full size
//   PW_BENCH_POINTS=2000000 e57_read_bench  quick run
//
// BM_DecodeAllPoints: every point of every scan through the reader into
//   double coordinates and uint16 colours (scans with colour), blocks of 65536;
//   arg = checksum policy.
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
    bench::DecodeAllPoints(state, int(state.range(0)));
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
