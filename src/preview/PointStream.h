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

// `perRecord(record)` sees every record undecoded and returns whether the
// point is wanted; `perPoint(point)` gets the wanted points within the bounds.
template <typename PerRecord, typename PerPoint>
void ForEachPoint(GspcReader& reader, PerRecord&& perRecord, PerPoint&& perPoint)
{
    const float* b = reader.Header().bounds;
    constexpr size_t kBlock = 65536;
    std::vector<unsigned char> records(kBlock * kGspcRecordSize);
    for (size_t n; (n = reader.ReadRecords(records.data(), kBlock)) > 0;) {
        for (size_t i = 0; i < n; ++i) {
            const unsigned char* record = &records[i * kGspcRecordSize];
            if (!perRecord(record))
                continue;
            const GspcPoint p = DecodeGspcRecord(record);
            if (p.x >= b[0] && p.x <= b[1] && p.y >= b[2] && p.y <= b[3] && p.z >= b[4] && p.z <= b[5])
                perPoint(p);
        }
    }
}

template <typename PerPoint>
void ForEachPoint(GspcReader& reader, PerPoint&& perPoint)
{
    ForEachPoint(reader, [](const unsigned char*) { return true; }, perPoint);
}

}  // namespace preview
