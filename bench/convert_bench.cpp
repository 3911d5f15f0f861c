// Speed and memory of the E57 to point file conversion on a large synthetic scan.
//
// The file (PW_BENCH_POINTS points, default 40 000 000, in 8 scans of mixed
// encodings and colour) is generated once and kept in /tmp as
// pw_bench_<points>.e57 (shared with e57_read_bench). The point file goes to
// /tmp/pw_convert_bench.gspc (PW_BENCH_OUT overrides it).
//   convert_bench                          full size
//   PW_BENCH_POINTS=2000000 convert_bench  quick run
//
// BM_Convert/<density>: ConvertE57ToGspc with all checksums verified, as the
//   import runs it; points/s counts points read. rssMax = largest resident
//   size sampled at every progress call; peakRSS = getrusage's ru_maxrss of
//   the whole process so far (includes generating the file when that happened
//   in this run).
// BM_DecodeOnly: the same reading without thinning, pose or writing.
// BM_PreadCrc:   plain pread of the file plus CRC-32C of every page: the floor.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "e57/Reader.h"
#include "import/ConvertE57ToGspc.h"
#include "import/GspcWriter.h"

namespace {

using bench::BenchFile;
using bench::FileSize;

std::string OutFile()
{
    const char* env = std::getenv("PW_BENCH_OUT");
    return env && *env ? env : "/tmp/pw_convert_bench.gspc";
}

double CurrentRssBytes()
{
    long pages = 0, resident = 0;
    std::FILE* f = std::fopen("/proc/self/statm", "r");
    if (f == nullptr)
        return 0;
    if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2)
        resident = 0;
    std::fclose(f);
    return double(resident) * double(sysconf(_SC_PAGESIZE));
}

double PeakRssBytes()
{
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) * 1024.0;
}

// Never cancels; samples the resident size at every progress call.
class SamplingWindow : public host::ProcessWindow {
public:
    double maxRss = 0;
    host::ErrCode Open(const std::string&, int32_t) override { Sample(); return host::NoError; }
    host::ErrCode NextPhase(const std::string&, int32_t) override { return host::NoError; }
    host::ErrCode SetValue(int32_t) override { Sample(); return host::NoError; }
    host::ErrCode IsCanceled(bool& c) override { c = false; return host::NoError; }
    host::ErrCode Close() override { return host::NoError; }

private:
    void Sample()
    {
        const double rss = CurrentRssBytes();
        if (rss > maxRss)
            maxRss = rss;
    }
};

void BM_Convert(benchmark::State& state)
{
    const std::string& path = BenchFile();
    const std::string out = OutFile();
    const int density = int(state.range(0));
    int64_t points = 0, kept = 0;
    SamplingWindow window;
    for (auto _ : state) {
        e57::Reader reader(path, e57::ReaderOptions());
        if (!reader.IsOpen()) {
            state.SkipWithError("cannot open the benchmark file");
            return;
        }
        GspcWriter writer;
        if (!writer.Open(out.c_str())) {
            state.SkipWithError("cannot create the point file");
            return;
        }
        bool windowOpen = false;
        const ConversionResult r =
            ConvertE57ToGspc(reader, reader.GetData3DCount(), writer, density, "bench", window, windowOpen);
        points += r.totalPoints;
        kept += r.keptPoints;
    }
    state.counters["points/s"] = benchmark::Counter(double(points), benchmark::Counter::kIsRate);
    state.counters["kept"] = double(kept) / double(state.iterations());
    state.counters["rssMax"] = window.maxRss;
    state.counters["peakRSS"] = PeakRssBytes();
    state.SetBytesProcessed(int64_t(FileSize(path)) * int64_t(state.iterations()));
    std::remove(out.c_str());
}
BENCHMARK(BM_Convert)->Arg(100)->Arg(10)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_DecodeOnly(benchmark::State& state)
{
    bench::DecodeAllPoints(state, 100);
}
BENCHMARK(BM_DecodeOnly)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PreadCrc(benchmark::State& state)
{
    bench::PreadCrc(state);
}
BENCHMARK(BM_PreadCrc)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
