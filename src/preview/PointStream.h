#pragma once
// One pass over the points of a point file in blocks, skipping points outside
// the header's bounds (NaN coordinates, or a file that lies about its bounds).
#include <cstdint>
#include <cstring>
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

// The same points as ForEachPoint in the same order, decoded into runs of up
// to kPointRun for `perRun(points, count)`: a caller drawing each point into
// several pictures goes over a run once per picture, with that picture's
// settings held in registers, and decodes every record only once.
constexpr size_t kPointRun = 4096;

// A little-endian float of a record, as DecodeGspcRecord reads it.
inline float DecodeGspcFloat(const unsigned char* q)
{
    const uint32_t bits = uint32_t(q[0]) | (uint32_t(q[1]) << 8) | (uint32_t(q[2]) << 16) | (uint32_t(q[3]) << 24);
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

template <typename PerRun>
void ForEachPointRun(GspcReader& reader, PerRun&& perRun)
{
    const float* b = reader.Header().bounds;
    constexpr size_t kBlock = 16384;   // records, read into a buffer that stays in cache
    std::vector<unsigned char> records(kBlock * kGspcRecordSize);
    std::vector<GspcPoint> run(kPointRun);
    for (size_t n; (n = reader.ReadRecords(records.data(), kBlock)) > 0;) {
        size_t count = 0;
        for (size_t i = 0; i < n; ++i) {
            // Decoded field by field into its place (a whole point built and
            // then copied would be read back before its parts are stored, a
            // stall), and kept when within the bounds.
            const unsigned char* record = &records[i * kGspcRecordSize];
            GspcPoint& p = run[count];
            p.x = DecodeGspcFloat(record);
            p.y = DecodeGspcFloat(record + 4);
            p.z = DecodeGspcFloat(record + 8);
            p.r = record[12];
            p.g = record[13];
            p.b = record[14];
            if (!(p.x >= b[0] && p.x <= b[1] && p.y >= b[2] && p.y <= b[3] && p.z >= b[4] && p.z <= b[5]))
                continue;
            if (++count == kPointRun) {
                perRun(run.data(), count);
                count = 0;
            }
        }
        if (count > 0)
            perRun(run.data(), count);
    }
}

template <typename PerPoint>
void ForEachPoint(GspcReader& reader, PerPoint&& perPoint)
{
    ForEachPoint(reader, [](const unsigned char*) { return true; }, perPoint);
}

}  // namespace preview
