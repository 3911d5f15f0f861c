#include "e57/PagedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "e57/Crc32c.h"
#include "e57/E57Exception.h"

namespace e57 {

namespace {

constexpr uint64_t kChunkPages = 256;  // pages per pread for large requests

uint32_t StoredCrc(const uint8_t* page)
{
    return (uint32_t(page[1020]) << 24) | (uint32_t(page[1021]) << 16) | (uint32_t(page[1022]) << 8) |
           uint32_t(page[1023]);
}

std::string Hex(uint32_t v)
{
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%08X", v);
    return buf;
}

}  // namespace

PagedFile::~PagedFile()
{
    Close();
}

bool PagedFile::Open(const std::string& path, int checksumPolicy)
{
    Close();
    // O_NONBLOCK keeps open() from waiting for a writer on a FIFO; the type
    // check below then refuses anything that is not a regular file.
    int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return false;
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return false;
    }
    fd_ = fd;
    physicalLength_ = static_cast<uint64_t>(st.st_size);
#if defined(POSIX_FADV_SEQUENTIAL)
    // Scans are read front to back in large batches: ask for a larger read-ahead.
    ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
#endif
    if (checksumPolicy <= 0)
        verifyEvery_ = 0;
    else if (checksumPolicy >= 100)
        verifyEvery_ = 1;
    else
        verifyEvery_ = static_cast<uint64_t>(std::lround(100.0 / checksumPolicy));
    return true;
}

void PagedFile::Close()
{
    if (fd_ >= 0)
        ::close(fd_);
    fd_ = -1;
    physicalLength_ = 0;
}

bool PagedFile::PolicyWantsPage(uint64_t page) const
{
    return verifyEvery_ != 0 && page % verifyEvery_ == 0;
}

void PagedFile::VerifyPage(uint64_t page, const uint8_t* pageBytes) const
{
    uint32_t computed = Crc32c(pageBytes, kPagePayload);
    uint32_t stored = StoredCrc(pageBytes);
    if (computed != stored)
        throw E57Exception("checksum mismatch in page " + std::to_string(page) + " (stored " + Hex(stored) +
                           ", computed " + Hex(computed) + ") at offset " + std::to_string(page * kPageSize) +
                           ", file length " + std::to_string(physicalLength_));
}

void PagedFile::ReadPhysical(uint64_t offset, void* dst, size_t size) const
{
    if (fd_ < 0)
        throw E57Exception("E57 file is not open");
    auto* out = static_cast<uint8_t*>(dst);
    while (size > 0) {
        ssize_t n = ::pread(fd_, out, size, static_cast<off_t>(offset));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            throw E57Exception("read error at offset " + std::to_string(offset) + ": " + std::strerror(errno));
        }
        if (n == 0)
            throw E57Exception("file ended early: no data at offset " + std::to_string(offset));
        out += n;
        offset += static_cast<uint64_t>(n);
        size -= static_cast<size_t>(n);
    }
}

void PagedFile::ReadLogical(uint64_t logical, void* dst, size_t size) const
{
    if (size == 0)
        return;
    if (logical > LogicalLength() || size > LogicalLength() - logical)
        throw E57Exception("read of " + std::to_string(size) + " bytes at logical offset " + std::to_string(logical) +
                           " goes beyond the end of the file");
    auto* out = static_cast<uint8_t*>(dst);
    const uint64_t lastPage = (logical + size - 1) / kPagePayload;
    std::vector<uint8_t> buf;
    uint64_t page = logical / kPagePayload;
    uint64_t inPage = logical % kPagePayload;
    while (size > 0) {
        uint64_t pages = std::min<uint64_t>(kChunkPages, lastPage - page + 1);
        buf.resize(pages * kPageSize);
        ReadPhysical(page * kPageSize, buf.data(), buf.size());
        for (uint64_t i = 0; i < pages; ++i, ++page) {
            const uint8_t* p = buf.data() + i * kPageSize;
            if (PolicyWantsPage(page) || (verifyEvery_ != 0 && page == lastPage))
                VerifyPage(page, p);
            size_t n = static_cast<size_t>(std::min<uint64_t>(kPagePayload - inPage, size));
            std::memcpy(out, p + inPage, n);
            out += n;
            size -= n;
            inPage = 0;
        }
    }
}

void PagedFile::ReadPagesLogical(uint64_t firstPage, uint64_t pageCount, uint8_t* buf) const
{
    if (pageCount == 0)
        return;
    if (firstPage > PageCount() || pageCount > PageCount() - firstPage)
        throw E57Exception("read of pages " + std::to_string(firstPage) + ".." +
                           std::to_string(firstPage + pageCount - 1) + " goes beyond the end of the file");
    ReadPhysical(firstPage * kPageSize, buf, pageCount * kPageSize);
    if (verifyEvery_ != 0) {
        for (uint64_t i = 0; i < pageCount; ++i) {
            uint64_t page = firstPage + i;
            if (PolicyWantsPage(page) || i + 1 == pageCount)
                VerifyPage(page, buf + i * kPageSize);
        }
    }
    // Strip the CRC bytes: page i's data moves down by 4 * i bytes.
    for (uint64_t i = 1; i < pageCount; ++i)
        std::memmove(buf + i * kPagePayload, buf + i * kPageSize, kPagePayload);
}

uint64_t PagedFile::CountBadPages() const
{
    std::vector<uint8_t> buf(kChunkPages * kPageSize);
    uint64_t bad = 0;
    for (uint64_t page = 0; page < PageCount(); page += kChunkPages) {
        uint64_t pages = std::min<uint64_t>(kChunkPages, PageCount() - page);
        ReadPhysical(page * kPageSize, buf.data(), pages * kPageSize);
        for (uint64_t i = 0; i < pages; ++i) {
            const uint8_t* p = buf.data() + i * kPageSize;
            if (Crc32c(p, kPagePayload) != StoredCrc(p))
                ++bad;
        }
    }
    return bad;
}

}  // namespace e57
