// CRC-32C: published check values, and the CPU path against the table path
// and a bit-at-a-time reference on every length and alignment that matters.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "e57/Crc32c.h"

namespace {

// One bit at a time, straight from the definition (reflected polynomial).
uint32_t BitwiseCrc32c(const uint8_t* p, size_t n)
{
    uint32_t crc = 0xFFFFFFFFu;
    for (size_t i = 0; i < n; ++i) {
        crc ^= p[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) ? (crc >> 1) ^ 0x82F63B78u : crc >> 1;
    }
    return ~crc;
}

std::vector<uint8_t> RandomBytes(size_t n, uint64_t seed)
{
    std::vector<uint8_t> v(n);
    for (auto& b : v) {
        seed = seed * 6364136223846793005u + 1442695040888963407u;
        b = uint8_t(seed >> 56);
    }
    return v;
}

TEST(Crc32c, PublishedCheckValues)
{
    // "123456789" and the iSCSI test patterns (RFC 3720, B.4).
    const std::string check = "123456789";
    std::vector<uint8_t> zeros(32, 0x00), ones(32, 0xFF), up(32), down(32);
    for (int i = 0; i < 32; ++i) {
        up[size_t(i)] = uint8_t(i);
        down[size_t(i)] = uint8_t(31 - i);
    }
    const uint8_t readPdu[48] = {0x01, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                 0x00, 0x00, 0x00, 0x00, 0x14, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x00,
                                 0x00, 0x00, 0x00, 0x14, 0x00, 0x00, 0x00, 0x18, 0x28, 0x00, 0x00, 0x00,
                                 0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
    for (auto fn : {e57::Crc32c, e57::Crc32cPortable}) {
        EXPECT_EQ(fn(check.data(), check.size()), 0xE3069283u);
        EXPECT_EQ(fn(zeros.data(), 32), 0x8A9136AAu);
        EXPECT_EQ(fn(ones.data(), 32), 0x62A8AB43u);
        EXPECT_EQ(fn(up.data(), 32), 0x46DD794Eu);
        EXPECT_EQ(fn(down.data(), 32), 0x113FDB5Cu);
        EXPECT_EQ(fn(readPdu, sizeof readPdu), 0xD9963A56u);
        EXPECT_EQ(fn(nullptr, 0), 0u);
    }
}

TEST(Crc32c, CpuPathEqualsTablePathOnEveryLengthAndAlignment)
{
    // Lengths past two rounds of the three-stream loop (3 x 336 bytes each),
    // starting at every offset within 16 bytes.
    const std::vector<uint8_t> data = RandomBytes(2 * 1008 + 200 + 16, 7);
    for (size_t offset = 0; offset < 16; ++offset)
        for (size_t len = 0; offset + len <= data.size(); ++len)
            ASSERT_EQ(e57::Crc32c(&data[offset], len), e57::Crc32cPortable(&data[offset], len))
                << "offset " << offset << ", length " << len;
}

TEST(Crc32c, BothPathsEqualTheDefinition)
{
    const std::vector<uint8_t> data = RandomBytes(70000, 11);
    std::vector<size_t> lengths;
    for (size_t n = 0; n <= 80; ++n)
        lengths.push_back(n);
    for (size_t n : {1007u, 1008u, 1009u, 1020u, 2016u, 4096u, 65536u + 3u, 69999u})
        lengths.push_back(n);
    for (size_t n : lengths) {
        const uint32_t expected = BitwiseCrc32c(data.data() + 1, n);
        EXPECT_EQ(e57::Crc32c(data.data() + 1, n), expected) << n;
        EXPECT_EQ(e57::Crc32cPortable(data.data() + 1, n), expected) << n;
    }
}

TEST(Crc32c, UsesTheCpuInstructionsWhereEveryMachineHasThem)
{
#if defined(__aarch64__) && defined(__APPLE__)
    EXPECT_TRUE(e57::Crc32cUsesCpuInstructions());
#else
    // Elsewhere it depends on the CPU; record which path ran.
    RecordProperty("cpu_instructions", e57::Crc32cUsesCpuInstructions() ? "yes" : "no");
    SUCCEED();
#endif
}

}  // namespace
