#include "import/GspcWriter.h"

#include <cstring>

namespace {

constexpr size_t kRecordSize = 15;
constexpr size_t kHeaderSize = 32;
// Records are gathered here and handed to stdio in large blocks: one fwrite
// per few hundred thousand points instead of six per point.
constexpr size_t kBufferRecords = 1u << 16;
constexpr size_t kBufferBytes = kBufferRecords * kRecordSize;

inline void PutU32(unsigned char* p, uint32_t v)
{
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
    p[2] = static_cast<unsigned char>(v >> 16);
    p[3] = static_cast<unsigned char>(v >> 24);
}

inline void PutF32(unsigned char* p, float f)
{
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    std::memcpy(p, &f, sizeof f);   // already the file's byte order
#else
    uint32_t bits;
    std::memcpy(&bits, &f, sizeof bits);
    PutU32(p, bits);
#endif
}

}  // namespace

GspcWriter::GspcWriter() = default;

GspcWriter::~GspcWriter()
{
    if (file_ != nullptr) {
        Flush();
        std::fclose(file_);
    }
}

bool GspcWriter::Open(const char* path)
{
    std::FILE* f = std::fopen(path, "wb");
    if (f == nullptr)
        return false;
    // The writer buffers itself; stdio only passes the blocks on.
    std::setvbuf(f, nullptr, _IONBF, 0);
    file_ = f;
    writeFailed_ = false;
    buffer_.resize(kBufferBytes);
    used_ = 0;

    unsigned char header[kHeaderSize] = {};
    std::memcpy(header, "GSPC", 4);
    PutU32(header + 4, 2);
    if (std::fwrite(header, 1, sizeof header, file_) != sizeof header)
        writeFailed_ = true;
    return true;
}

void GspcWriter::Write(float x, float y, float z, unsigned char r, unsigned char g, unsigned char b)
{
    const unsigned char rgb[3] = {r, g, b};
    Write(&x, &y, &z, rgb, 1);
}

void GspcWriter::Write(const float* x, const float* y, const float* z, const unsigned char* rgb, size_t count)
{
    if (count == 0)
        return;
    if (buffer_.size() < kBufferBytes)
        buffer_.resize(kBufferBytes);   // also when called before Open: memory stays safe, the bytes go nowhere
    if (firstPoint_) {
        bounds_[0] = bounds_[1] = x[0];
        bounds_[2] = bounds_[3] = y[0];
        bounds_[4] = bounds_[5] = z[0];
        firstPoint_ = false;
    }
    // The bounds live in registers for the loop. "min > v ? v : min" is the
    // strict test of one point after the other: a NaN never replaces a bound,
    // and of equal values (such as -0 and +0) the first one stays.
    float minX = bounds_[0], maxX = bounds_[1], minY = bounds_[2], maxY = bounds_[3], minZ = bounds_[4],
          maxZ = bounds_[5];
    size_t done = 0;
    while (done < count) {
        if (used_ + kRecordSize > buffer_.size())
            Flush();
        const size_t room = (buffer_.size() - used_) / kRecordSize;
        const size_t end = done + (count - done < room ? count - done : room);
        unsigned char* p = buffer_.data() + used_;
        for (size_t i = done; i < end; ++i, p += kRecordSize) {
            const float xi = x[i], yi = y[i], zi = z[i];
            minX = minX > xi ? xi : minX;
            maxX = xi > maxX ? xi : maxX;
            minY = minY > yi ? yi : minY;
            maxY = yi > maxY ? yi : maxY;
            minZ = minZ > zi ? zi : minZ;
            maxZ = zi > maxZ ? zi : maxZ;
            PutF32(p, xi);
            PutF32(p + 4, yi);
            PutF32(p + 8, zi);
            p[12] = rgb[3 * i];
            p[13] = rgb[3 * i + 1];
            p[14] = rgb[3 * i + 2];
        }
        used_ += (end - done) * kRecordSize;
        done = end;
    }
    bounds_[0] = minX;
    bounds_[1] = maxX;
    bounds_[2] = minY;
    bounds_[3] = maxY;
    bounds_[4] = minZ;
    bounds_[5] = maxZ;
}

void GspcWriter::Flush()
{
    if (file_ != nullptr && used_ > 0) {
        if (std::fwrite(buffer_.data(), 1, used_, file_) != used_)
            writeFailed_ = true;
    }
    used_ = 0;
}

bool GspcWriter::Close()
{
    if (file_ == nullptr)
        return false;
    Flush();

    unsigned char bounds[24];
    for (int i = 0; i < 6; ++i)
        PutF32(bounds + 4 * i, bounds_[i]);
    if (std::fseek(file_, 8, SEEK_SET) != 0 || std::fwrite(bounds, 1, sizeof bounds, file_) != sizeof bounds)
        writeFailed_ = true;
    if (std::fclose(file_) != 0)
        writeFailed_ = true;
    file_ = nullptr;
    std::vector<unsigned char>().swap(buffer_);
    used_ = 0;
    return true;
}
