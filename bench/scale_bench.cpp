// Whether the conversion's cost per point and its memory stay flat as files
// grow: synthetic files of about 50 and 400 million points (PW_SCALE_POINTS
// overrides the list, e.g. "5000000,40000000"), converted at densities 100
// and 10 on one thread and on all cores. Every conversion runs in a child
// process of its own; "peak" is its peak resident memory. A file that does
// not fit (with its point file) into the free space of /tmp is skipped with
// a message. Files are kept as /tmp/pw_scale_<points>.e57 for later runs
// (PW_SCALE_KEEP=0 removes them); the point file goes to PW_BENCH_OUT
// (default /tmp/pw_scale_bench.gspc).
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "ConversionRuns.h"

namespace {

std::vector<uint64_t> Sizes()
{
    const char* env = std::getenv("PW_SCALE_POINTS");
    std::vector<uint64_t> sizes;
    if (env && *env) {
        std::stringstream list(env);
        for (std::string item; std::getline(list, item, ',');)
            if (const uint64_t n = std::strtoull(item.c_str(), nullptr, 10))
                sizes.push_back(n);
    }
    if (sizes.empty())
        sizes = {50000000, 400000000};
    return sizes;
}

}  // namespace

int main()
{
    const char* outEnv = std::getenv("PW_BENCH_OUT");
    const std::string out = outEnv && *outEnv ? outEnv : "/tmp/pw_scale_bench.gspc";
    const char* keepEnv = std::getenv("PW_SCALE_KEEP");
    const bool keep = !(keepEnv && std::string(keepEnv) == "0");
    const int cores = parallel::DefaultThreadCount();
    std::printf("output: %s (%s); all cores = %d threads\n", out.c_str(),
                bench::KindOfFolder(bench::FolderOf(out)).c_str(), cores);
    std::printf("%12s %8s %8s %10s %12s %10s\n", "points", "density", "threads", "seconds", "ns/point", "peak MiB");

    struct Row {
        uint64_t points;
        int density, threads;
        double nsPerPoint, peak;
    };
    std::vector<Row> rows;
    for (const uint64_t points : Sizes()) {
        const std::string e57 = "/tmp/pw_scale_" + std::to_string(points) + ".e57";
        // About 18.3 bytes per point in the E57 file and 15 in the point file.
        const uint64_t need = (bench::FileSize(e57) > 0 ? 0 : points * 19) +
                              (bench::KindOfFolder(bench::FolderOf(out)) == "tmpfs" ? 0 : points * 15);
        if (bench::FreeBytes("/tmp") < need + (uint64_t(1) << 30)) {
            std::printf("%12llu skipped: needs %.1f GB free in /tmp, has %.1f GB\n",
                        static_cast<unsigned long long>(points), double(need) / 1e9,
                        double(bench::FreeBytes("/tmp")) / 1e9);
            continue;
        }
        const bench::Run made = bench::InChild([&] {
            synth::SynthOptions options;
            options.points = points;
            options.scans = 8;
            options.seed = 1;
            synth::EnsureSyntheticScan(e57, options);
            return int64_t(0);
        });
        if (!made.ok) {
            std::printf("%12llu cannot generate %s: %s\n", static_cast<unsigned long long>(points), e57.c_str(),
                        made.error.c_str());
            continue;
        }
        for (int density : {100, 10}) {
            for (int threads : cores > 1 ? std::vector<int>{1, cores} : std::vector<int>{1}) {
                const bench::Run r = bench::Convert(e57, out, density, threads);
                if (!r.ok) {
                    std::printf("%12llu %8d %8d failed: %s\n", static_cast<unsigned long long>(points), density,
                                threads, r.error.c_str());
                    continue;
                }
                const double ns = r.seconds * 1e9 / double(points);
                std::printf("%12llu %8d %8d %10.3f %12.2f %10.1f\n", static_cast<unsigned long long>(points),
                            density, threads, r.seconds, ns, r.peakRssMiB);
                std::fflush(stdout);
                rows.push_back({points, density, threads, ns, r.peakRssMiB});
            }
        }
        std::remove(out.c_str());
        if (!keep)
            std::remove(e57.c_str());
    }

    // Growth from the smallest to the largest file, per density and thread count.
    bool flat = true;
    for (const Row& small : rows) {
        for (const Row& large : rows) {
            if (large.points <= small.points || large.density != small.density || large.threads != small.threads)
                continue;
            const double timeGrowth = large.nsPerPoint / small.nsPerPoint - 1.0;
            const double memoryGrowth = large.peak - small.peak;
            std::printf("d=%d, %d thread(s): %llu -> %llu points: time per point %+.1f %%, peak memory %+.1f MiB\n",
                        small.density, small.threads, static_cast<unsigned long long>(small.points),
                        static_cast<unsigned long long>(large.points), 100.0 * timeGrowth, memoryGrowth);
            flat = flat && timeGrowth <= 0.10 && memoryGrowth <= 0.5;
        }
    }
    std::printf("%s\n", flat ? "flat: time per point within 10 %, memory not growing"
                             : "NOT flat: time per point grew by more than 10 % or memory grew");
    return 0;
}
