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
    uint32_t bits;
    std::memcpy(&bits, &f, sizeof bits);
    PutU32(p, bits);
}

}  // namespace

GspcWriter::GspcWriter() = default;

GspcWriter::~GspcWriter() = default;

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
    if (firstPoint_) {
        bounds_[0] = bounds_[1] = x;
        bounds_[2] = bounds_[3] = y;
        bounds_[4] = bounds_[5] = z;
        firstPoint_ = false;
    } else {
        // Strict comparisons: a NaN never replaces a bound.
        if (bounds_[0] > x) bounds_[0] = x;
        if (x > bounds_[1]) bounds_[1] = x;
        if (bounds_[2] > y) bounds_[2] = y;
        if (y > bounds_[3]) bounds_[3] = y;
        if (bounds_[4] > z) bounds_[4] = z;
        if (z > bounds_[5]) bounds_[5] = z;
    }

    if (used_ + kRecordSize > buffer_.size()) {
        if (buffer_.size() < kBufferBytes)
            buffer_.resize(kBufferBytes);   // Write before Open: keep memory safe, the bytes go nowhere
        Flush();
    }
    unsigned char* p = buffer_.data() + used_;
    PutF32(p, x);
    PutF32(p + 4, y);
    PutF32(p + 8, z);
    p[12] = r;
    p[13] = g;
    p[14] = b;
    used_ += kRecordSize;
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
