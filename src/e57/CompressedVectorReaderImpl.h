#pragma once
// State of one CompressedVectorReader: the packet walk over the section and
// one decoder per requested field that the scan has.
#include <cstdint>
#include <memory>
#include <vector>

#include "e57/BitpackDecoder.h"
#include "e57/CompressedVectorReader.h"
#include "e57/CompressedVectorSection.h"

namespace e57 {

struct CompressedVectorReader::Impl {
    std::unique_ptr<PacketWalker> walker;  // null when the scan has no records
    std::vector<FieldDecoder> decoders;
    DataPacketView packet;
    uint64_t recordCount = 0;
    uint64_t remaining = 0;
    size_t capacity = 0;
    bool open = true;

    // Reads the next records; stores only records first, first + stride, ...
    // of them, one after the other from the start of the buffers.
    unsigned Read(size_t first, size_t stride);
};

}  // namespace e57
