// Speed and memory of the preview renderer on a large point file.
//
// The point file (PW_BENCH_POINTS points, default 50 000 000) is made once
// from a synthetic building scan and kept in /tmp as
// pw_preview_bench_<points>.gspc (its E57 source beside it).
//   preview_bench                            full size
//   PW_BENCH_POINTS=2000000 preview_bench    quick run
//
// BM_Preview/<view>: RenderPreview at the command's default picture size
//   (1200x900, sheet 1800x1350), both passes over the file, one core.
//   points/s counts the points of the file once per picture. peakRSS is
//   getrusage's ru_maxrss of the whole process so far (making the file in
//   this run adds to it); run the command under /usr/bin/time -v for the
//   renderer alone.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "e57/Reader.h"
#include "import/ConvertE57ToGspc.h"
#include "import/GspcWriter.h"
#include "preview/RenderPreview.h"
#include "synth/SyntheticScan.h"

namespace {

uint64_t Points()
{
    const char* env = std::getenv("PW_BENCH_POINTS");
    if (env && *env) {
        const unsigned long long n = std::strtoull(env, nullptr, 10);
        if (n > 0)
            return n;
    }
    return 50000000;
}

class SilentWindow : public host::ProcessWindow {
public:
    host::ErrCode Open(const std::string&, int32_t) override { return host::NoError; }
    host::ErrCode NextPhase(const std::string&, int32_t) override { return host::NoError; }
    host::ErrCode SetValue(int32_t) override { return host::NoError; }
    host::ErrCode IsCanceled(bool& c) override
    {
        c = false;
        return host::NoError;
    }
    host::ErrCode Close() override { return host::NoError; }
};

// The point file, converted at density 100 from the synthetic scan the
// first time (written under a temporary name, renamed when complete).
const std::string& PointFile()
{
    static const std::string path = [] {
        const std::string base = "/tmp/pw_preview_bench_" + std::to_string(Points());
        const std::string gspc = base + ".gspc";
        struct stat st {};
        if (::stat(gspc.c_str(), &st) == 0)
            return gspc;
        synth::SynthOptions options;
        options.points = Points();
        options.scans = 8;
        options.seed = 1;
        synth::EnsureSyntheticScan(base + ".e57", options);
        e57::Reader reader(base + ".e57", e57::ReaderOptions());
        const std::string temp = gspc + ".tmp" + std::to_string(::getpid());
        GspcWriter writer;
        if (!reader.IsOpen() || !writer.Open(temp.c_str())) {
            std::fprintf(stderr, "cannot make %s\n", gspc.c_str());
            std::exit(1);
        }
        SilentWindow window;
        bool open = false;
        ConvertE57ToGspc(reader, reader.GetData3DCount(), writer, 100, "bench", window, open);
        std::rename(temp.c_str(), gspc.c_str());
        std::fprintf(stderr, "generated %s\n", gspc.c_str());
        return gspc;
    }();
    return path;
}

void BM_Preview(benchmark::State& state, preview::View view)
{
    const std::string& path = PointFile();
    preview::Settings settings;
    settings.view = view;
    settings.width = view == preview::View::Sheet ? 1800 : 1200;
    settings.height = view == preview::View::Sheet ? 1350 : 900;
    settings.title = "bench";
    uint64_t points = 0;
    for (auto _ : state) {
        const preview::Preview p = preview::RenderPreview(path, settings);
        points += p.pointCount;
        benchmark::DoNotOptimize(p.picture.rgb.data());
    }
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["points/s"] = benchmark::Counter(double(points), benchmark::Counter::kIsRate);
    state.counters["peakRSS_MiB"] = double(usage.ru_maxrss) / 1024.0;
}

}  // namespace

BENCHMARK_CAPTURE(BM_Preview, plan, preview::View::Plan)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Preview, section, preview::View::Section)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Preview, iso, preview::View::Iso)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Preview, sheet, preview::View::Sheet)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_MAIN();
