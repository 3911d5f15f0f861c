#include "preview/PointSize.h"

#include <algorithm>
#include <cmath>

namespace preview {

PointDensity::PointDensity(const ViewCamera& camera, int axis, bool nearerIsHigher, const Bounds& b)
    : axis_(axis), nearerIsHigher_(nearerIsHigher), cellsX_((camera.Width() + kCell - 1) / kCell),
      cellsY_((camera.Height() + kCell - 1) / kCell)
{
    binLo_ = b.lo[axis_];
    const double extent = b.hi[axis_] - b.lo[axis_];
    binScale_ = extent > 0 ? kBins / extent : 0.0;
    counts_.assign(size_t(cellsX_) * cellsY_ * kBins, 0);
}

int PointDensity::PointSizeFor(const Slab& slab, uint64_t sampleStride) const
{
    int firstBin = 0, lastBin = kBins - 1;
    if (slab.axis == axis_ && binScale_ > 0) {
        firstBin = BinAt((slab.keepLo - binLo_) * binScale_);
        lastBin = BinAt((slab.keepHi - binLo_) * binScale_);
    }
    std::vector<uint64_t> perCell;
    perCell.reserve(size_t(cellsX_) * cellsY_);
    for (size_t cell = 0; cell < size_t(cellsX_) * cellsY_; ++cell) {
        uint64_t n = 0;
        int binsTaken = 0;
        for (int k = 0; k <= lastBin - firstBin && binsTaken < 2; ++k) {
            const int bin = nearerIsHigher_ ? lastBin - k : firstBin + k;
            const uint32_t c = counts_[cell * kBins + size_t(bin)];
            n += c;
            binsTaken += n > 0;
        }
        if (n > 0)
            perCell.push_back(n);
    }
    if (perCell.empty())
        return 1;
    std::nth_element(perCell.begin(), perCell.begin() + perCell.size() / 2, perCell.end());
    const double median = double(perCell[perCell.size() / 2]) * double(sampleStride);
    const double areaPerPoint = double(kCell * kCell) / median;
    const int size = int(std::ceil(std::sqrt(4.0 * areaPerPoint)));
    return std::clamp(size, 1, kLargestPointSize);
}

}  // namespace preview
