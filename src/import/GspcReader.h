#pragma once
// Defensive reader of .gspc point files. Every inconsistency (wrong magic or
// version, a size that is not 32 + 15 * N, bounds that are NaN, infinite or
// inverted) throws GspcFormatError with a message that says what is wrong.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

class GspcFormatError : public std::runtime_error {
public:
    explicit GspcFormatError(const std::string& what) : std::runtime_error(what) {}
};

struct GspcPoint {
    float x = 0.0f, y = 0.0f, z = 0.0f;
    unsigned char r = 0, g = 0, b = 0;
};

struct GspcHeader {
    int32_t version = 0;
    // Interleaved as in the file: min X, max X, min Y, max Y, min Z, max Z.
    float bounds[6] = {0, 0, 0, 0, 0, 0};
    uint64_t pointCount = 0;
};

constexpr size_t kGspcHeaderSize = 32;
constexpr size_t kGspcRecordSize = 15;

// Checks the first 32 bytes of a file of `fileSize` bytes; throws GspcFormatError.
GspcHeader ParseGspcHeader(const unsigned char* bytes, size_t available, uint64_t fileSize);

// Decodes one 15-byte record (little-endian floats, on any machine).
inline GspcPoint DecodeGspcRecord(const unsigned char* record)
{
    auto f32 = [record](int at) {
        const unsigned char* q = record + at;
        const uint32_t bits = uint32_t(q[0]) | (uint32_t(q[1]) << 8) | (uint32_t(q[2]) << 16) | (uint32_t(q[3]) << 24);
        float f;
        std::memcpy(&f, &bits, sizeof f);
        return f;
    };
    GspcPoint p;
    p.x = f32(0);
    p.y = f32(4);
    p.z = f32(8);
    p.r = record[12];
    p.g = record[13];
    p.b = record[14];
    return p;
}

// Streams the points of a file in blocks; memory use does not depend on its size.
class GspcReader {
public:
    // Opens and checks the header; throws GspcFormatError.
    explicit GspcReader(const std::string& path);
    ~GspcReader();
    GspcReader(const GspcReader&) = delete;
    GspcReader& operator=(const GspcReader&) = delete;

    const GspcHeader& Header() const { return header_; }
    uint64_t PointCount() const { return header_.pointCount; }

    // Fills up to `maxPoints` points; returns how many, 0 at the end. Throws
    // GspcFormatError when the file turns out shorter than its size said.
    size_t Read(GspcPoint* out, size_t maxPoints);

    // The same as Read, but the records as they are in the file (15 bytes
    // each), for callers that decode them on the fly.
    size_t ReadRecords(unsigned char* out, size_t maxPoints);

private:
    std::FILE* file_ = nullptr;
    GspcHeader header_;
    uint64_t pointsLeft_ = 0;
    std::vector<unsigned char> chunk_;
};
