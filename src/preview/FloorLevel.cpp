#include "preview/FloorLevel.h"

#include <algorithm>
#include <cmath>

namespace preview {

HeightHistogram::HeightHistogram(double lowest, double highest) : lo(lowest)
{
    const double extent = std::max(0.0, highest - lowest);
    binSize = std::max(0.01, extent / 16383.0);
    counts.assign(size_t(std::floor(extent / binSize)) + 1, 0);
    sums.assign(counts.size(), 0.0);
}

double FindFloor(const HeightHistogram& h, double fallback)
{
    const size_t n = h.counts.size();
    if (n == 0)
        return fallback;
    // Counts over a window of +-2 bins, so that a floor whose scatter spreads
    // it over neighbouring bins still forms one peak.
    std::vector<uint64_t> window(n, 0);
    uint64_t highest = 0;
    for (size_t i = 0; i < n; ++i) {
        for (size_t j = i >= 2 ? i - 2 : 0; j <= std::min(n - 1, i + 2); ++j)
            window[i] += h.counts[j];
        highest = std::max(highest, window[i]);
    }
    if (highest == 0)
        return fallback;
    size_t i = 0;
    while (window[i] * 4 < highest)
        ++i;
    // Climb to the top of this peak, then take the mean height in its
    // fullest bin and the bins beside it.
    for (int step = 0; step < 10 && i + 1 < n && window[i + 1] >= window[i]; ++step)
        ++i;
    size_t best = i;
    for (size_t j = i >= 2 ? i - 2 : 0; j <= std::min(n - 1, i + 2); ++j)
        if (h.counts[j] > h.counts[best])
            best = j;
    double sum = 0;
    uint64_t count = 0;
    for (size_t j = best >= 1 ? best - 1 : 0; j <= std::min(n - 1, best + 1); ++j) {
        sum += h.sums[j];
        count += h.counts[j];
    }
    return sum / double(count);
}

}  // namespace preview
