#pragma once
// Helpers for writer tests: read a file back page by page, check every page's
// checksum, and decode compressed-vector streams independently of the reader.
#include <cstdint>
#include <string>
#include <vector>

namespace writertest {

std::vector<uint8_t> ReadWholeFile(const std::string& path);

// The logical byte stream (page checksums removed); fails the current test
// when a page's big-endian CRC-32C does not match.
std::vector<uint8_t> LogicalBytes(const std::vector<uint8_t>& file);

uint64_t LittleEndian(const uint8_t* p, int bytes);

struct SectionStreams {
    std::vector<std::vector<uint64_t>> values;  // per stream: recordCount raw values (value - minimum)
    unsigned dataPackets = 0;
    unsigned otherPackets = 0;  // index and empty packets
    unsigned largestPacket = 0;
    std::vector<size_t> firstPacketLengths;  // stream bytes in the first data packet
};

// Walks the packets of the section at physical `fileOffset` and unpacks
// `recordCount` values of the given bit widths per stream.
SectionStreams DecodeSection(const std::vector<uint8_t>& logical, uint64_t fileOffset, uint64_t recordCount,
                             const std::vector<unsigned>& bitWidths);

uint64_t ToLogical(uint64_t physical);

}  // namespace writertest
