#include "import/GspcWriter.h"

#include <unistd.h>

#include <cerrno>
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
    buffer_.resize(kBufferBytes + 1);   // + 1: records are stored 16 bytes at a time
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
    uint32_t packed[1024];
    for (size_t done = 0; done < count;) {
        const size_t n = count - done < 1024 ? count - done : 1024;
        for (size_t i = 0; i < n; ++i) {
            const unsigned char* c = rgb + 3 * (done + i);
            packed[i] = uint32_t(c[0]) | uint32_t(c[1]) << 8 | uint32_t(c[2]) << 16;
        }
        WritePoints(x + done, y + done, z + done, packed, n);
        done += n;
    }
}

void GspcWriter::WritePoints(const float* x, const float* y, const float* z, const uint32_t* rgb, size_t count)
{
    if (count == 0)
        return;
    if (buffer_.size() < kBufferBytes + 1)
        buffer_.resize(kBufferBytes + 1);   // also when called before Open: memory stays safe, the bytes go nowhere
    gspc::RunBounds run;
    gspc::FoldBounds(x, y, z, count, run);
    gspc::MergeBounds(run, bounds_, firstPoint_);
    size_t done = 0;
    while (done < count) {
        if (used_ + kRecordSize > kBufferBytes)
            Flush();
        const size_t room = (kBufferBytes - used_) / kRecordSize;
        const size_t n = count - done < room ? count - done : room;
        gspc::EncodeRecords(x + done, y + done, z + done, rgb + done, n, buffer_.data() + used_);
        used_ += n * kRecordSize;
        done += n;
    }
}

bool GspcWriter::WriteRecordsAt(uint64_t firstRecord, const unsigned char* records, size_t count) const
{
    if (file_ == nullptr)
        return false;
    const int fd = fileno(file_);
    size_t left = count * kRecordSize;
    off_t at = static_cast<off_t>(kHeaderSize + firstRecord * kRecordSize);
    while (left > 0) {
        const ssize_t n = ::pwrite(fd, records, left, at);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        records += n;
        left -= static_cast<size_t>(n);
        at += n;
    }
    return true;
}

void GspcWriter::Flush()
{
    if (file_ != nullptr && used_ > 0) {
        if (std::fwrite(buffer_.data(), 1, used_, file_) != used_)
            writeFailed_ = true;
    }
    used_ = 0;
}

void GspcWriter::Restart()
{
    used_ = 0;
    for (float& b : bounds_)
        b = 0.0f;
    firstPoint_ = true;
    writeFailed_ = false;
    if (file_ != nullptr &&
        (::ftruncate(fileno(file_), static_cast<off_t>(kHeaderSize)) != 0 ||
         std::fseek(file_, static_cast<long>(kHeaderSize), SEEK_SET) != 0))
        writeFailed_ = true;
}

bool GspcWriter::CloseUnfinished()
{
    if (file_ == nullptr)
        return false;
    Flush();
    ReleaseFile();
    return true;
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
    ReleaseFile();
    return true;
}

void GspcWriter::ReleaseFile()
{
    if (std::fclose(file_) != 0)
        writeFailed_ = true;
    file_ = nullptr;
    std::vector<unsigned char>().swap(buffer_);
    used_ = 0;
}
