#include "WriterTestSupport.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "e57/Crc32c.h"

namespace writertest {

std::vector<uint8_t> ReadWholeFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

uint64_t LittleEndian(const uint8_t* p, int bytes)
{
    uint64_t v = 0;
    for (int i = bytes - 1; i >= 0; --i)
        v = (v << 8) | p[i];
    return v;
}

std::vector<uint8_t> LogicalBytes(const std::vector<uint8_t>& file)
{
    std::vector<uint8_t> out;
    EXPECT_EQ(file.size() % 1024, 0u);
    for (size_t page = 0; page + 1024 <= file.size(); page += 1024) {
        const uint8_t* p = &file[page];
        const uint32_t stored = uint32_t(p[1020]) << 24 | uint32_t(p[1021]) << 16 | uint32_t(p[1022]) << 8 | p[1023];
        EXPECT_EQ(e57::Crc32c(p, 1020), stored) << "page " << page / 1024;
        out.insert(out.end(), p, p + 1020);
    }
    return out;
}

uint64_t ToLogical(uint64_t physical)
{
    return physical / 1024 * 1020 + physical % 1024;
}

SectionStreams DecodeSection(const std::vector<uint8_t>& logical, uint64_t fileOffset, uint64_t recordCount,
                             const std::vector<unsigned>& bitWidths)
{
    SectionStreams result;
    const uint64_t start = ToLogical(fileOffset);
    const uint8_t* h = &logical.at(start);
    EXPECT_EQ(h[0], 1);
    const uint64_t end = start + LittleEndian(h + 8, 8);
    EXPECT_EQ(LittleEndian(h + 8, 8) % 4, 0u);
    std::vector<std::vector<uint8_t>> streams(bitWidths.size());
    for (uint64_t pos = ToLogical(LittleEndian(h + 16, 8)); pos < end;) {
        const uint8_t* p = &logical.at(pos);
        const unsigned length = unsigned(LittleEndian(p + 2, 2)) + 1;
        EXPECT_EQ(length % 4, 0u);
        EXPECT_EQ(pos % 4, 0u);
        result.largestPacket = std::max(result.largestPacket, length);
        if (p[0] == 1) {
            ++result.dataPackets;
            const size_t n = LittleEndian(p + 4, 2);
            EXPECT_EQ(n, bitWidths.size());
            size_t at = 6 + 2 * n;
            for (size_t i = 0; i < n && i < streams.size(); ++i) {
                const size_t len = LittleEndian(p + 6 + 2 * i, 2);
                if (result.dataPackets == 1)
                    result.firstPacketLengths.push_back(len);
                streams[i].insert(streams[i].end(), p + at, p + at + len);
                at += len;
            }
            EXPECT_LE(at, length);
            EXPECT_GT(at + 4, length) << "more than 3 padding bytes";
            for (size_t i = at; i < length; ++i)
                EXPECT_EQ(p[i], 0) << "padding byte";
        } else {
            ++result.otherPackets;
        }
        pos += length;
    }
    result.values.resize(bitWidths.size());
    for (size_t i = 0; i < bitWidths.size(); ++i) {
        const unsigned b = bitWidths[i];
        EXPECT_GE(streams[i].size() * 8, recordCount * b) << "stream " << i << " too short";
        if (streams[i].size() * 8 < recordCount * b)
            continue;
        for (uint64_t r = 0; r < recordCount; ++r) {
            uint64_t v = 0;
            for (unsigned k = 0; k < b; ++k) {
                const uint64_t bit = r * b + k;
                v |= uint64_t((streams[i][bit / 8] >> (bit % 8)) & 1) << k;
            }
            result.values[i].push_back(v);
        }
    }
    return result;
}

}  // namespace writertest
