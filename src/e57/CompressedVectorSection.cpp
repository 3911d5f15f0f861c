#include "e57/CompressedVectorSection.h"

#include <algorithm>
#include <cstring>

#include "e57/E57Exception.h"
#include "e57/PagedFile.h"

namespace e57 {

namespace {

constexpr size_t kHeaderSize = 32;
constexpr uint64_t kWindowPages = 512;  // 512 KiB per read; packets are at most 64 KiB

template <typename T>
T LoadLE(const uint8_t* p)
{
    T v = 0;
    for (size_t i = 0; i < sizeof(T); ++i)
        v |= static_cast<T>(static_cast<T>(p[i]) << (8 * i));
    return v;
}

[[noreturn]] void Invalid(uint64_t fileOffset, const std::string& what)
{
    throw E57Exception("compressed vector section at offset " + std::to_string(fileOffset) +
                       " is invalid: " + what);
}

}  // namespace

SectionInfo ReadSectionHeader(const PagedFile& file, uint64_t fileOffset, uint64_t recordCount,
                              const std::vector<FieldDescription>& fields)
{
    SectionInfo s;
    s.fileOffset = fileOffset;
    if (!IsValidPhysicalOffset(fileOffset) || fileOffset >= file.PhysicalLength())
        Invalid(fileOffset, "the offset is outside the file or inside a checksum");
    s.startLogical = PhysicalToLogical(fileOffset);
    if (file.LogicalLength() - s.startLogical < kHeaderSize)
        Invalid(fileOffset, "the header runs past the end of the file");

    uint8_t h[kHeaderSize];
    file.ReadLogical(s.startLogical, h, sizeof h);
    if (h[0] != 1)
        Invalid(fileOffset, "section id is " + std::to_string(h[0]) + " instead of 1");
    for (int i = 1; i < 8; ++i)
        if (h[i] != 0)
            Invalid(fileOffset, "reserved header bytes are not zero");
    const uint64_t length = LoadLE<uint64_t>(h + 8);
    const uint64_t dataPhysical = LoadLE<uint64_t>(h + 16);
    const uint64_t indexPhysical = LoadLE<uint64_t>(h + 24);
    if (length < kHeaderSize || length % 4 != 0)
        Invalid(fileOffset, "section length " + std::to_string(length) + " is not a multiple of 4 of at least 32");
    if (length > file.LogicalLength() - s.startLogical)
        Invalid(fileOffset, "section length " + std::to_string(length) + " runs past the end of the file");
    s.endLogical = s.startLogical + length;
    if (!IsValidPhysicalOffset(dataPhysical) || dataPhysical >= file.PhysicalLength())
        Invalid(fileOffset, "data offset " + std::to_string(dataPhysical) + " is outside the file");
    s.dataLogical = PhysicalToLogical(dataPhysical);
    if (s.dataLogical < s.startLogical + kHeaderSize || s.dataLogical >= s.endLogical)
        Invalid(fileOffset, "data offset " + std::to_string(dataPhysical) + " is outside the section");
    if (indexPhysical != 0 && (!IsValidPhysicalOffset(indexPhysical) || indexPhysical >= file.PhysicalLength()))
        Invalid(fileOffset, "index offset " + std::to_string(indexPhysical) + " is outside the file");

    // The records' bits must fit into the section (String values take at
    // least one byte each). Records of constant fields only take no bits at
    // all; they are still held to one bit each, or a file could announce
    // 2^63 of them and keep its reader busy for ever.
    const uint64_t bytes = s.endLogical - s.dataLogical;
    uint64_t bitsPerRecord = 0;
    for (const FieldDescription& f : fields)
        bitsPerRecord += f.encoding == FieldEncoding::String ? 8 : f.bitWidth;
    bitsPerRecord = std::max<uint64_t>(bitsPerRecord, 1);
    if (recordCount > bytes * 8 / bitsPerRecord)
        Invalid(fileOffset, "record count " + std::to_string(recordCount) + " of " + std::to_string(bitsPerRecord) +
                                " bits each cannot fit into " + std::to_string(bytes) + " bytes");
    return s;
}

void CheckEmptySectionHeader(const PagedFile& file, uint64_t fileOffset)
{
    if (fileOffset == 0)
        return;
    if (!IsValidPhysicalOffset(fileOffset) || fileOffset >= file.PhysicalLength() ||
        file.LogicalLength() - PhysicalToLogical(fileOffset) < 8)
        Invalid(fileOffset, "the offset is outside the file or inside a checksum");
    uint8_t h[8];
    file.ReadLogical(PhysicalToLogical(fileOffset), h, sizeof h);
    if (h[0] != 1)
        Invalid(fileOffset, "section id is " + std::to_string(h[0]) + " instead of 1");
    for (int i = 1; i < 8; ++i)
        if (h[i] != 0)
            Invalid(fileOffset, "reserved header bytes are not zero");
}

PacketWalker::PacketWalker(std::shared_ptr<const PagedFile> file, const SectionInfo& section, size_t streamCount)
    : file_(std::move(file)), section_(section), streamCount_(streamCount), pos_(section.dataLogical)
{
}

void PacketWalker::Fail(const std::string& what) const
{
    Invalid(section_.fileOffset, what);
}

const uint8_t* PacketWalker::Ensure(uint64_t logical, size_t size)
{
    if (logical >= windowStart_ && logical + size <= windowEnd_)
        return window_.data() + (logical - windowStart_);
    const uint64_t firstPage = logical / kPagePayload;
    const uint64_t lastSectionPage = (section_.endLogical - 1) / kPagePayload;
    const uint64_t pages = std::min(kWindowPages, lastSectionPage - firstPage + 1);
    // The slack lets decoders load 8 bytes from the last byte of a packet.
    if (window_.size() < pages * kPageSize + 16)
        window_.resize(pages * kPageSize + 16);
    windowStart_ = windowEnd_ = 0;  // stays empty if the read throws
    file_->ReadPagesLogical(firstPage, pages, window_.data());
    windowStart_ = firstPage * kPagePayload;
    windowEnd_ = windowStart_ + pages * kPagePayload;
    return window_.data() + (logical - windowStart_);
}

bool PacketWalker::Next(DataPacketView& packet)
{
    while (pos_ < section_.endLogical) {
        const uint64_t at = pos_;
        if (section_.endLogical - at < 4)
            Fail("packet header at logical offset " + std::to_string(at) + " crosses the section end");
        const uint8_t* p = Ensure(at, 4);
        const unsigned type = p[0];
        const uint64_t length = uint64_t(LoadLE<uint16_t>(p + 2)) + 1;
        if (length > section_.endLogical - at)
            Fail("packet at logical offset " + std::to_string(at) + " of " + std::to_string(length) +
                 " bytes runs past the section end");
        if (length < 4)
            Fail("packet at logical offset " + std::to_string(at) + " is shorter than its header");
        pos_ = at + length;
        if (type == 0 || type == 2)
            continue;  // index and empty packets carry no records
        if (type != 1)
            Fail("unknown packet type " + std::to_string(type) + " at logical offset " + std::to_string(at));

        if (length < 6)
            Fail("data packet at logical offset " + std::to_string(at) + " is too short");
        p = Ensure(at, static_cast<size_t>(length));
        const size_t count = LoadLE<uint16_t>(p + 4);
        if (count < streamCount_)
            Fail("data packet at logical offset " + std::to_string(at) + " has " + std::to_string(count) +
                 " bytestreams, the prototype has " + std::to_string(streamCount_));
        if (6 + 2 * uint64_t(count) > length)
            Fail("data packet at logical offset " + std::to_string(at) + " is too short for " +
                 std::to_string(count) + " bytestreams");
        uint64_t offset = 6 + 2 * uint64_t(count);
        packet.streams.resize(streamCount_);
        for (size_t i = 0; i < count; ++i) {
            const size_t size = LoadLE<uint16_t>(p + 6 + 2 * i);
            if (size > length - offset)
                Fail("bytestream buffers of the data packet at logical offset " + std::to_string(at) +
                     " run past its end");
            if (i < streamCount_)
                packet.streams[i] = {p + offset, size};
            offset += size;
        }
        packet.logicalOffset = at;
        return true;
    }
    return false;
}

}  // namespace e57
