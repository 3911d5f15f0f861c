#pragma once
// The E57 file as a sequence of 1024-byte pages, each holding 1020 data bytes
// and a big-endian CRC-32C. Reads logical bytes (CRC bytes removed) and checks
// the pages' checksums according to the checksum policy.
#include <cstddef>
#include <cstdint>
#include <string>

namespace e57 {

constexpr uint64_t kPageSize = 1024;
constexpr uint64_t kPagePayload = 1020;

inline uint64_t LogicalToPhysical(uint64_t logical)
{
    return (logical / kPagePayload) * kPageSize + logical % kPagePayload;
}

// Physical offsets that point into CRC bytes are not valid offsets; callers
// check IsValidPhysicalOffset first.
inline uint64_t PhysicalToLogical(uint64_t physical)
{
    return (physical / kPageSize) * kPagePayload + physical % kPageSize;
}

inline bool IsValidPhysicalOffset(uint64_t physical)
{
    return physical % kPageSize < kPagePayload;
}

class PagedFile {
public:
    PagedFile() = default;
    ~PagedFile();
    PagedFile(const PagedFile&) = delete;
    PagedFile& operator=(const PagedFile&) = delete;

    // Opens a regular file without blocking (FIFOs, folders and the like are
    // refused); false when the operating system cannot open it that way.
    // Throws when the file's size cannot hold whole pages.
    bool Open(const std::string& path, int checksumPolicy);
    void Close();
    bool IsOpen() const { return fd_ >= 0; }

    uint64_t PhysicalLength() const { return physicalLength_; }
    uint64_t PageCount() const { return physicalLength_ / kPageSize; }
    uint64_t LogicalLength() const { return PageCount() * kPagePayload; }

    // Copies `size` logical bytes starting at logical offset `logical`.
    // Verifies the touched pages as the policy says (the last page of the
    // request is always verified unless the policy is 0).
    void ReadLogical(uint64_t logical, void* dst, size_t size) const;

    // Reads whole pages [firstPage, firstPage + pageCount) into `buf`
    // (pageCount * 1024 bytes), verifies them per policy and strips the CRC
    // bytes in place: afterwards buf holds pageCount * 1020 logical bytes.
    void ReadPagesLogical(uint64_t firstPage, uint64_t pageCount, uint8_t* buf) const;

    // Copies raw file bytes without any checksum check.
    void ReadRaw(uint64_t offset, void* dst, size_t size) const { ReadPhysical(offset, dst, size); }

    // Number of pages whose checksum does not match, over the whole file.
    uint64_t CountBadPages() const;

private:
    void ReadPhysical(uint64_t offset, void* dst, size_t size) const;
    bool PolicyWantsPage(uint64_t page) const;
    void VerifyPage(uint64_t page, const uint8_t* pageBytes) const;

    int fd_ = -1;
    uint64_t physicalLength_ = 0;
    uint64_t verifyEvery_ = 1;  // 0 = never
};

}  // namespace e57
