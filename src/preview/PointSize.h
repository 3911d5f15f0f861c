#pragma once
// The size of the square drawn for each point, from how densely the points of
// a view fall on its picture: the picture is divided into cells of 16 x 16
// pixels and the points that land in each cell are counted per bin of one
// axis (the axis of the view's slab, so that the slab can be chosen after the
// counting; otherwise the axis nearest the direction of view). In each cell
// only the nearest two non-empty bins count, so that a wall hidden behind
// another does not make the visible one look denser. The median count over
// the cells hit gives the pixel area per point a on the surfaces that fill
// most of the picture, and randomly spread squares of side s cover about
// 98 % of a surface when s * s = 4 * a.
#include <cstdint>
#include <vector>

#include "preview/ViewCamera.h"

namespace preview {

constexpr int kLargestPointSize = 9;

class PointDensity {
public:
    static constexpr int kCell = 16;
    static constexpr int kBins = 64;

    // Bins over the range of `axis` (0..2) in the bounds; `nearerIsHigher`:
    // whether larger coordinates on it are nearer to the viewer.
    PointDensity(const ViewCamera& camera, int axis, bool nearerIsHigher, const Bounds& bounds);

    void Add(double sx, double sy, const double coordinate[3])
    {
        const int cx = int(sx) / kCell, cy = int(sy) / kCell;
        const int bin = BinAt((coordinate[axis_] - binLo_) * binScale_);
        ++counts_[(size_t(cy) * cellsX_ + size_t(cx)) * kBins + size_t(bin)];
    }

    // The point size for the points whose coordinate lies in the slab's kept
    // range, when every `sampleStride`-th point was counted.
    int PointSizeFor(const Slab& slab, uint64_t sampleStride = 1) const;

private:
    // The bin of a position `at` in bin widths from the lowest; below, above
    // and NaN fall into the end bins.
    static int BinAt(double at) { return !(at > 0) ? 0 : at >= kBins - 1 ? kBins - 1 : int(at); }

    int axis_;
    bool nearerIsHigher_;
    int cellsX_, cellsY_;
    double binLo_ = 0, binScale_ = 0;
    std::vector<uint32_t> counts_;
};

}  // namespace preview
