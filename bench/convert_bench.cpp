// Speed and memory of the E57 to point file conversion, beside its floors,
// for one file:
//   read + CRC    pread of the whole E57 file and CRC-32C of every page
//   write         writing as many bytes as the density-100 point file has
//   convert       ConvertE57ToGspc at densities 100 and 10, on one thread
//                 (the add-on's conversion) and on all cores (punktwolke's default)
// Every figure is the fastest of PW_BENCH_REPS runs (default 3), each in a
// child process of its own; "peak" is that child's peak resident memory.
//
// The E57 file (PW_BENCH_POINTS points, default 40 000 000, in 8 scans of
// mixed encodings, colour and poses) is generated once into /tmp as
// pw_bench_<points>.e57, shared with e57_read_bench. PW_BENCH_FILE names
// another E57 file instead. The point file goes to PW_BENCH_OUT (default
// /tmp/pw_convert_bench.gspc; /dev/shm/... puts it in memory).
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "ConversionRuns.h"

namespace {

int Repetitions()
{
    const char* env = std::getenv("PW_BENCH_REPS");
    const int n = env && *env ? std::atoi(env) : 3;
    return n > 0 ? n : 1;
}

void Print(const char* what, const bench::Run& r, uint64_t points)
{
    if (!r.ok) {
        std::printf("%-34s failed: %s\n", what, r.error.c_str());
        return;
    }
    std::printf("%-34s %8.3f s  %6.2f ns/point  peak %6.1f MiB\n", what, r.seconds,
                points ? r.seconds * 1e9 / double(points) : 0.0, r.peakRssMiB);
}

}  // namespace

int main()
{
    const char* fileEnv = std::getenv("PW_BENCH_FILE");
    std::string e57;
    if (fileEnv && *fileEnv) {
        e57 = fileEnv;
    } else {
        // Generated in a child, so that this process stays small for the runs it forks.
        const bench::Run made = bench::InChild([&] { return int64_t(bench::BenchFile().size()); });
        if (!made.ok) {
            std::fprintf(stderr, "cannot make the benchmark file: %s\n", made.error.c_str());
            return 1;
        }
        e57 = bench::BenchFile();
    }
    const char* outEnv = std::getenv("PW_BENCH_OUT");
    const std::string out = outEnv && *outEnv ? outEnv : "/tmp/pw_convert_bench.gspc";
    const int reps = Repetitions();
    const int cores = parallel::DefaultThreadCount();

    uint64_t points = 0;
    {
        e57::Reader reader(e57, e57::ReaderOptions());
        if (!reader.IsOpen()) {
            std::fprintf(stderr, "cannot open %s\n", e57.c_str());
            return 1;
        }
        for (int64_t i = 0; i < reader.GetData3DCount(); ++i) {
            e57::Data3D h;
            if (reader.ReadData3D(i, h) && h.pointCount > 0)
                points += uint64_t(h.pointCount);
        }
    }
    std::printf("file:   %s (%llu points, %.0f MB)\n", e57.c_str(), static_cast<unsigned long long>(points),
                double(bench::FileSize(e57)) / 1e6);
    std::printf("output: %s (%s)\n", out.c_str(), bench::KindOfFolder(bench::FolderOf(out)).c_str());
    std::printf("runs:   fastest of %d; all cores = %d threads\n\n", reps, cores);
    std::fflush(stdout);

    const bench::Run read = bench::Best(reps, [&] {
        return bench::InChild([&] {
            if (bench::ReadAndChecksum(e57) == UINT64_MAX)
                throw std::runtime_error("cannot read " + e57);
            return int64_t(0);
        });
    });
    Print("floor: read + CRC-32C", read, points);
    const uint64_t outputBytes = 32 + 15 * points;
    const bench::Run write = bench::Best(reps, [&] { return bench::WriteFloor(out, outputBytes); });
    char label[64];
    std::snprintf(label, sizeof label, "floor: write %.0f MB", double(outputBytes) / 1e6);
    Print(label, write, points);
    std::fflush(stdout);

    for (int density : {100, 10}) {
        for (int threads : cores > 1 ? std::vector<int>{1, cores} : std::vector<int>{1}) {
            const bench::Run r = bench::Best(reps, [&] { return bench::Convert(e57, out, density, threads); });
            std::snprintf(label, sizeof label, "convert d=%d, %d thread%s", density, threads, threads == 1 ? "" : "s");
            Print(label, r, points);
            std::fflush(stdout);
        }
    }
    std::remove(out.c_str());
    return 0;
}
