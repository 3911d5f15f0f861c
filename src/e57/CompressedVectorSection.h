#pragma once
// The binary section of a compressed vector: its 32-byte header and the walk
// over its packets. Pages are read in large batches into a sliding window of
// logical bytes; every packet is handed out as one contiguous view into it.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "e57/Data3D.h"

namespace e57 {

class PagedFile;

struct SectionInfo {
    uint64_t fileOffset = 0;    // physical offset of the section header
    uint64_t startLogical = 0;  // logical offset of the section header
    uint64_t endLogical = 0;    // logical offset just after the last packet
    uint64_t dataLogical = 0;   // logical offset of the first packet
};

// Reads and checks the section header of a compressed vector with
// `recordCount` records of the given fields. Throws E57Exception
// ("compressed vector section at offset N is invalid: ...").
SectionInfo ReadSectionHeader(const PagedFile& file, uint64_t fileOffset, uint64_t recordCount,
                              const std::vector<FieldDescription>& fields);

// For a compressed vector without records: writers leave either offset 0 or
// a minimal section there. A non-zero offset must still lead to a
// compressed vector section header (id and reserved bytes); nothing else of
// the section is read.
void CheckEmptySectionHeader(const PagedFile& file, uint64_t fileOffset);

// One data packet: for each prototype stream, its bytes in this packet.
struct DataPacketView {
    struct Stream {
        const uint8_t* data;
        size_t size;
    };
    std::vector<Stream> streams;
    uint64_t logicalOffset = 0;
};

class PacketWalker {
public:
    PacketWalker(std::shared_ptr<const PagedFile> file, const SectionInfo& section, size_t streamCount);

    // The next data packet (index and empty packets are skipped); false at
    // the end of the section. The view stays valid until the next call.
    bool Next(DataPacketView& packet);

    [[noreturn]] void Fail(const std::string& what) const;

private:
    const uint8_t* Ensure(uint64_t logical, size_t size);

    std::shared_ptr<const PagedFile> file_;
    SectionInfo section_;
    size_t streamCount_;
    uint64_t pos_;
    std::vector<uint8_t> window_;
    uint64_t windowStart_ = 0;  // logical offset of window_[0]
    uint64_t windowEnd_ = 0;    // logical offset after the last valid byte
};

}  // namespace e57
