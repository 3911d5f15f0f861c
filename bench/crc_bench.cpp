// CRC-32C alone, on data already in memory: 16 MiB of E57 pages (1020 payload
// bytes each), the way the reader checks them. Free of disk and page-cache
// effects, so it compares CRC implementations on a busy machine.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "e57/Crc32c.h"

namespace {

constexpr size_t kPageSize = 1024;
constexpr size_t kPayload = 1020;

std::vector<uint8_t> Pages()
{
    std::vector<uint8_t> pages(16u << 20);
    uint64_t x = 0x9E3779B97F4A7C15u;
    for (auto& b : pages) {
        x ^= x << 13;
        x ^= x >> 7;
        x ^= x << 17;
        b = uint8_t(x);
    }
    return pages;
}

void BM_Crc32cPages(benchmark::State& state)
{
    const std::vector<uint8_t> pages = Pages();
    for (auto _ : state) {
        uint32_t acc = 0;
        for (size_t off = 0; off + kPageSize <= pages.size(); off += kPageSize)
            acc ^= e57::Crc32c(&pages[off], kPayload);
        benchmark::DoNotOptimize(acc);
    }
    state.SetBytesProcessed(int64_t(pages.size() / kPageSize * kPayload) * int64_t(state.iterations()));
}
BENCHMARK(BM_Crc32cPages)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
