#pragma once
// One pass over the points of a point file in blocks, skipping points outside
// the header's bounds (NaN coordinates, or a file that lies about its bounds).
#include <vector>

#include "import/GspcReader.h"
#include "preview/ViewCamera.h"

namespace preview {

inline Bounds HeaderBounds(const GspcHeader& h)
{
    Bounds b;
    for (int a = 0; a < 3; ++a) {
        b.lo[a] = h.bounds[2 * a];
        b.hi[a] = h.bounds[2 * a + 1];
    }
    return b;
}

template <typename PerPoint>
void ForEachPoint(GspcReader& reader, PerPoint&& perPoint)
{
    const float* b = reader.Header().bounds;
    std::vector<GspcPoint> block(65536);
    for (size_t n; (n = reader.Read(block.data(), block.size())) > 0;) {
        for (size_t i = 0; i < n; ++i) {
            const GspcPoint& p = block[i];
            if (p.x >= b[0] && p.x <= b[1] && p.y >= b[2] && p.y <= b[3] && p.z >= b[4] && p.z <= b[5])
                perPoint(p);
        }
    }
}

}  // namespace preview
