#include "import/GspcReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>

namespace {

uint32_t GetU32(const unsigned char* p)
{
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}

float GetF32(const unsigned char* p)
{
    const uint32_t bits = GetU32(p);
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

const char* const kAxisNames[3] = {"X", "Y", "Z"};

}  // namespace

GspcHeader ParseGspcHeader(const unsigned char* bytes, size_t available, uint64_t fileSize)
{
    if (fileSize < kGspcHeaderSize || available < kGspcHeaderSize)
        throw GspcFormatError("not a point file: " + std::to_string(fileSize) + " bytes, shorter than the 32-byte header");
    if (std::memcmp(bytes, "GSPC", 4) != 0)
        throw GspcFormatError("not a point file: the magic bytes are not \"GSPC\"");
    GspcHeader h;
    h.version = static_cast<int32_t>(GetU32(bytes + 4));
    if (h.version != 2)
        throw GspcFormatError("unsupported point file version " + std::to_string(h.version) + " (expected 2)");
    if ((fileSize - kGspcHeaderSize) % kGspcRecordSize != 0)
        throw GspcFormatError("point file size " + std::to_string(fileSize) +
                              " is not 32 + 15 * N bytes (truncated or padded file)");
    h.pointCount = (fileSize - kGspcHeaderSize) / kGspcRecordSize;
    for (int i = 0; i < 6; ++i)
        h.bounds[i] = GetF32(bytes + 8 + 4 * i);
    for (int axis = 0; axis < 3; ++axis) {
        const float lo = h.bounds[2 * axis];
        const float hi = h.bounds[2 * axis + 1];
        if (std::isnan(lo) || std::isnan(hi))
            throw GspcFormatError(std::string("the point file's ") + kAxisNames[axis] + " bounds are NaN");
        if (!std::isfinite(lo) || !std::isfinite(hi))
            throw GspcFormatError(std::string("the point file's ") + kAxisNames[axis] + " bounds are infinite");
        if (lo > hi)
            throw GspcFormatError(std::string("the point file's ") + kAxisNames[axis] +
                                  " bounds are inverted (minimum above maximum)");
    }
    return h;
}

GspcReader::GspcReader(const std::string& path)
{
    // Opened without blocking and checked before use: a FIFO or a device
    // must be refused, not waited on.
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        throw GspcFormatError("cannot open " + path + ": " + std::strerror(errno));
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        throw GspcFormatError(path + " is not a regular file");
    }
    ::fcntl(fd, F_SETFL, 0);
    file_ = ::fdopen(fd, "rb");
    if (file_ == nullptr) {
        ::close(fd);
        throw GspcFormatError("cannot open " + path + ": " + std::strerror(errno));
    }
    unsigned char head[kGspcHeaderSize] = {};
    const size_t got = std::fread(head, 1, sizeof head, file_);
    try {
        header_ = ParseGspcHeader(head, got, static_cast<uint64_t>(st.st_size));
    } catch (...) {
        std::fclose(file_);
        file_ = nullptr;
        throw;
    }
    pointsLeft_ = header_.pointCount;
}

GspcReader::~GspcReader()
{
    if (file_ != nullptr)
        std::fclose(file_);
}

size_t GspcReader::ReadRecords(unsigned char* out, size_t maxPoints)
{
    const size_t want = static_cast<size_t>(std::min<uint64_t>(pointsLeft_, maxPoints));
    if (want == 0)
        return 0;
    if (std::fread(out, 1, want * kGspcRecordSize, file_) != want * kGspcRecordSize)
        throw GspcFormatError("the point file ended early (changed while being read?)");
    pointsLeft_ -= want;
    return want;
}

size_t GspcReader::Read(GspcPoint* out, size_t maxPoints)
{
    chunk_.resize(static_cast<size_t>(std::min<uint64_t>(pointsLeft_, maxPoints)) * kGspcRecordSize);
    const size_t got = ReadRecords(chunk_.data(), maxPoints);
    for (size_t i = 0; i < got; ++i)
        out[i] = DecodeGspcRecord(chunk_.data() + i * kGspcRecordSize);
    return got;
}
