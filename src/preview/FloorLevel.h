#pragma once
// The floor of a scan from the histogram of its point heights: the lowest
// strongly populated level. A floor is a large horizontal surface and so
// gathers a sharp peak in the histogram, while walls spread evenly over all
// heights; "strongly populated" means a peak of at least a quarter of the
// highest one (usually the floor itself or the ceiling).
#include <cstddef>
#include <cstdint>
#include <vector>

namespace preview {

struct HeightHistogram {
    double lo = 0.0;         // height of the lower edge of bin 0
    double binSize = 0.01;   // metres
    std::vector<uint64_t> counts;
    std::vector<double> sums;   // of the heights in each bin, for the mean height of a level

    HeightHistogram() = default;
    // Bins of 1 cm over [lo, hi], coarser when that would be more than 16384 bins.
    HeightHistogram(double lo, double hi);
    void Add(double z)
    {
        const double at = (z - lo) / binSize;
        const size_t bin = at <= 0 ? 0 : at >= double(counts.size() - 1) ? counts.size() - 1 : size_t(at);
        ++counts[bin];
        sums[bin] += z;
    }
};

// The floor height; `fallback` when the histogram is empty.
double FindFloor(const HeightHistogram& histogram, double fallback);

}  // namespace preview
