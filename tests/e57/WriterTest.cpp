// The writer checked against hand-derived bytes and an independent decoder.
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "WriterTestSupport.h"
#include "e57/E57Exception.h"
#include "e57/Writer.h"

using namespace writertest;

namespace {

std::string TempPath(const std::string& name)
{
    return ::testing::TempDir() + "pw_writer_" + name + ".e57";
}

pugi::xml_document ParseXml(const std::vector<uint8_t>& file, const std::vector<uint8_t>& logical)
{
    const uint64_t offset = ToLogical(LittleEndian(&file[24], 8));
    const uint64_t length = LittleEndian(&file[32], 8);
    pugi::xml_document doc;
    EXPECT_TRUE(doc.load_buffer(&logical.at(offset), length));
    return doc;
}

}  // namespace

TEST(Writer, WorkedExampleBytes)
{
    const std::string path = TempPath("worked");
    {
        e57::Writer w(path);
        e57::ScanHeader h;
        h.guid = "scan-0";
        h.prototype = {e57::WriterField::ScaledInteger("cartesianX", -1000, 1000, 0.001),
                       e57::WriterField::Integer("colorRed", 0, 255)};
        w.BeginScan(h);
        const double x[] = {0.500, -1.000, 0.123};
        const int64_t red[] = {255, 0, 128};
        w.WriteColumns(3, {{x, nullptr}, {nullptr, red}});
        w.EndScan();
        w.Close();
    }
    const std::vector<uint8_t> file = ReadWholeFile(path);
    ASSERT_GE(file.size(), 1024u);
    const std::vector<uint8_t> logical = LogicalBytes(file);

    EXPECT_EQ(std::string(file.begin(), file.begin() + 8), "ASTM-E57");
    EXPECT_EQ(LittleEndian(&file[8], 4), 1u);
    EXPECT_EQ(LittleEndian(&file[12], 4), 0u);
    EXPECT_EQ(LittleEndian(&file[16], 8), file.size());
    EXPECT_EQ(LittleEndian(&file[24], 8), 100u);
    EXPECT_EQ(LittleEndian(&file[40], 8), 1024u);

    const std::vector<uint8_t> section(file.begin() + 48, file.begin() + 80);
    const std::vector<uint8_t> expectedSection = {1, 0, 0, 0, 0, 0, 0, 0, 52, 0, 0, 0, 0, 0, 0, 0,
                                                  80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(section, expectedSection);
    const std::vector<uint8_t> packet(file.begin() + 80, file.begin() + 100);
    const std::vector<uint8_t> expectedPacket = {0x01, 0x00, 0x13, 0x00, 0x02, 0x00, 0x05, 0x00, 0x03, 0x00,
                                                 0xDC, 0x05, 0xC0, 0x18, 0x01, 0xFF, 0x00, 0x80, 0x00, 0x00};
    EXPECT_EQ(packet, expectedPacket);

    pugi::xml_document doc = ParseXml(file, logical);
    const pugi::xml_node points = doc.child("e57Root").child("data3D").child("vectorChild").child("points");
    EXPECT_STREQ(points.attribute("fileOffset").value(), "48");
    EXPECT_STREQ(points.attribute("recordCount").value(), "3");
    EXPECT_STREQ(points.child("prototype").child("cartesianX").attribute("scale").value(), "0.001");
    std::remove(path.c_str());
}

// Random prototypes of every bit width, written through packets of several
// sizes, unpacked again by the test's own decoder.
TEST(Writer, RandomPrototypesDecodeToTheWrittenValues)
{
    std::mt19937_64 rng(7);
    for (int round = 0; round < 12; ++round) {
        e57::WriterOptions options;
        options.maxPacketBytes = round % 3 == 0 ? 65536 : (round % 3 == 1 ? 1024 : 128);
        options.writeIndexPacket = round % 2 == 1;
        options.writeEmptyPackets = round % 4 == 2;
        options.unevenStreams = round % 5 == 4;
        const std::string path = TempPath("random" + std::to_string(round));
        std::vector<std::vector<unsigned>> widths;
        std::vector<std::vector<std::vector<uint64_t>>> expected;  // scan, field, record
        std::vector<uint64_t> counts;
        {
            e57::Writer w(path, options);
            const int scans = 1 + int(rng() % 3);
            for (int s = 0; s < scans; ++s) {
                e57::ScanHeader h;
                h.guid = "scan-" + std::to_string(s);
                const int nFields = 1 + int(rng() % 6);
                std::vector<unsigned> bits;
                for (int f = 0; f < nFields; ++f) {
                    const unsigned b = unsigned((round * 7 + s * 13 + f * 5) % 65);
                    const int64_t minimum = int64_t(rng());
                    const uint64_t range = b == 0 ? 0 : (b == 64 ? ~uint64_t(0) : (uint64_t(1) << b) - 1);
                    const int64_t lo = b == 64 ? INT64_MIN : (minimum >> b);  // keep min + range in int64
                    h.prototype.push_back(
                        f % 2 ? e57::WriterField::Integer("f" + std::to_string(f), lo, int64_t(uint64_t(lo) + range))
                              : e57::WriterField::ScaledInteger("f" + std::to_string(f), lo,
                                                                int64_t(uint64_t(lo) + range), 0.5, 3.0));
                    bits.push_back(b);
                }
                const uint64_t count = rng() % 20000;
                std::vector<std::vector<int64_t>> values(nFields, std::vector<int64_t>(count));
                std::vector<std::vector<uint64_t>> raw(nFields, std::vector<uint64_t>(count));
                for (int f = 0; f < nFields; ++f) {
                    const e57::WriterField& d = h.prototype[size_t(f)];
                    for (uint64_t r = 0; r < count; ++r) {
                        const uint64_t span = uint64_t(d.maximum) - uint64_t(d.minimum);
                        uint64_t u = span == ~uint64_t(0) ? rng() : rng() % (span + 1);
                        if (r % 97 == 0)
                            u = span;  // the extremes
                        if (r % 89 == 0)
                            u = 0;
                        raw[size_t(f)][r] = u;
                        values[size_t(f)][r] = int64_t(uint64_t(d.minimum) + u);
                    }
                }
                w.BeginScan(h);
                // Uneven blocks, as a streaming caller would write them.
                for (uint64_t done = 0; done < count;) {
                    const uint64_t n = std::min<uint64_t>(count - done, 1 + rng() % 5000);
                    std::vector<e57::FieldValues> cols;
                    for (int f = 0; f < nFields; ++f)
                        cols.push_back({nullptr, values[size_t(f)].data() + done});
                    w.WriteColumns(size_t(n), cols);
                    done += n;
                }
                w.EndScan();
                widths.push_back(bits);
                expected.push_back(raw);
                counts.push_back(count);
            }
            w.Close();
        }
        const std::vector<uint8_t> file = ReadWholeFile(path);
        const std::vector<uint8_t> logical = LogicalBytes(file);
        pugi::xml_document doc = ParseXml(file, logical);
        size_t s = 0;
        for (pugi::xml_node scan : doc.child("e57Root").child("data3D").children("vectorChild")) {
            ASSERT_LT(s, counts.size());
            const pugi::xml_node points = scan.child("points");
            EXPECT_EQ(points.attribute("recordCount").as_ullong(), counts[s]);
            SectionStreams streams = DecodeSection(logical, points.attribute("fileOffset").as_ullong(), counts[s],
                                                   widths[s]);
            EXPECT_LE(streams.largestPacket, options.maxPacketBytes);
            EXPECT_GE(streams.dataPackets, 1u);
            if (options.writeIndexPacket) {
                EXPECT_GE(streams.otherPackets, 1u);
            }
            for (size_t f = 0; f < widths[s].size(); ++f)
                EXPECT_EQ(streams.values[f], expected[s][f]) << "round " << round << " scan " << s << " field " << f;
            // Uneven streams: the first field holds fewer records in the first
            // packet than the widest other field.
            if (options.unevenStreams && streams.dataPackets > 2 && widths[s].size() > 1 && widths[s][0] > 0) {
                double lead = 0;
                for (size_t f = 1; f < widths[s].size(); ++f)
                    if (widths[s][f] > 0)
                        lead = std::max(lead, double(streams.firstPacketLengths[f]) * 8 / widths[s][f]);
                EXPECT_LT(double(streams.firstPacketLengths[0]) * 8 / widths[s][0] + 8, lead);
            }
            ++s;
        }
        EXPECT_EQ(s, counts.size());
        std::remove(path.c_str());
    }
}

TEST(Writer, RejectsValuesAndCallsItCannotWrite)
{
    const std::string path = TempPath("errors");
    e57::Writer w(path);
    e57::ScanHeader h;
    h.guid = "g";
    h.prototype = {e57::WriterField::Integer("colorRed", 0, 255)};
    EXPECT_THROW(w.WriteColumns(1, {{}}), e57::E57Exception);  // no open scan
    w.BeginScan(h);
    const int64_t tooLarge[] = {256};
    EXPECT_THROW(w.WriteColumns(1, {{nullptr, tooLarge}}), e57::E57Exception);
    EXPECT_THROW(w.WriteColumns(1, {}), e57::E57Exception);
    EXPECT_THROW(w.BeginScan(h), e57::E57Exception);
    w.EndScan();
    h.prototype = {e57::WriterField::ScaledInteger("cartesianX", -10, 10, 0.1)};
    w.BeginScan(h);
    const double far[] = {1.05};  // raw 11
    EXPECT_THROW(w.WriteColumns(1, {{far, nullptr}}), e57::E57Exception);
    w.Close();
    EXPECT_THROW(e57::Writer("/nonexistent-dir/x.e57"), e57::E57Exception);
    std::remove(path.c_str());
}

// The second section header is patched after its scan is written; here it
// straddles the first page boundary (logical 1008..1039) with non-zero bytes
// on both sides.
TEST(Writer, SectionHeaderAcrossAPageBoundary)
{
    const std::string path = TempPath("straddle");
    std::vector<int64_t> first(888), second(5000);
    for (size_t i = 0; i < first.size(); ++i)
        first[i] = int64_t(i % 256);
    for (size_t i = 0; i < second.size(); ++i)
        second[i] = int64_t((i * 37) % 4096);
    {
        e57::WriterOptions options;
        options.writeIndexPacket = true;
        e57::Writer w(path, options);
        e57::ScanHeader h;
        h.guid = "a";
        h.prototype = {e57::WriterField::Integer("colorRed", 0, 255)};
        w.BeginScan(h);
        w.WriteColumns(first.size(), {{nullptr, first.data()}});  // 8 + 888 bytes, then 32 of index
        w.EndScan();
        h.guid = "b";
        h.prototype = {e57::WriterField::Integer("rowIndex", 0, 4095)};
        w.BeginScan(h);
        w.WriteColumns(second.size(), {{nullptr, second.data()}});
        w.EndScan();
        w.Close();
    }
    const std::vector<uint8_t> file = ReadWholeFile(path);
    const std::vector<uint8_t> logical = LogicalBytes(file);
    pugi::xml_document doc = ParseXml(file, logical);
    const pugi::xml_node scans = doc.child("e57Root").child("data3D");
    const pugi::xml_node b = scans.first_child().next_sibling().child("points");
    ASSERT_EQ(b.attribute("fileOffset").as_ullong(), 1008u);
    const SectionStreams streams = DecodeSection(logical, 1008, second.size(), {12});
    EXPECT_EQ(LittleEndian(&logical[1008 + 16], 8), 1044u);  // data packet at logical 1040
    ASSERT_EQ(streams.values.size(), 1u);
    for (size_t i = 0; i < second.size(); ++i)
        ASSERT_EQ(streams.values[0][i], uint64_t(second[i])) << i;
    const SectionStreams a = DecodeSection(logical, 48, first.size(), {8});
    for (size_t i = 0; i < first.size(); ++i)
        ASSERT_EQ(a.values[0][i], uint64_t(first[i])) << i;
    std::remove(path.c_str());
}
