// The writer checked against hand-derived bytes and an independent decoder.
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "support/E57TestSupport.h"
#include "e57/E57Exception.h"
#include "e57/Writer.h"

using namespace e57test;

namespace {

std::string TempPath(const std::string& name)
{
    return ::testing::TempDir() + "pw_writer_" + name + ".e57";
}

// The logical bytes of a written file, after checking every page's checksum.
Bytes CheckedLogical(const Bytes& file)
{
    EXPECT_EQ(file.size() % 1024, 0u);
    Bytes fixed = file;
    FixAllCrcs(fixed);
    EXPECT_TRUE(fixed == file) << "a page checksum is wrong";
    return ToLogical(file);
}

pugi::xml_document ParseXml(const Bytes& file)
{
    pugi::xml_document doc;
    EXPECT_TRUE(doc.load_string(XmlOf(file).c_str()));
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
    const Bytes file = ReadFile(path);
    ASSERT_GE(file.size(), 1024u);
    CheckedLogical(file);

    EXPECT_EQ(std::string(file.begin(), file.begin() + 8), "ASTM-E57");
    EXPECT_EQ((GetU64(file, 8) & 0xFFFFFFFF), 1u);
    EXPECT_EQ((GetU64(file, 8) >> 32), 0u);
    EXPECT_EQ(GetU64(file, 16), file.size());
    EXPECT_EQ(GetU64(file, 24), 100u);
    EXPECT_EQ(GetU64(file, 40), 1024u);

    const std::vector<uint8_t> section(file.begin() + 48, file.begin() + 80);
    const std::vector<uint8_t> expectedSection = {1, 0, 0, 0, 0, 0, 0, 0, 52, 0, 0, 0, 0, 0, 0, 0,
                                                  80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(section, expectedSection);
    const std::vector<uint8_t> packet(file.begin() + 80, file.begin() + 100);
    const std::vector<uint8_t> expectedPacket = {0x01, 0x00, 0x13, 0x00, 0x02, 0x00, 0x05, 0x00, 0x03, 0x00,
                                                 0xDC, 0x05, 0xC0, 0x18, 0x01, 0xFF, 0x00, 0x80, 0x00, 0x00};
    EXPECT_EQ(packet, expectedPacket);

    pugi::xml_document doc = ParseXml(file);
    const pugi::xml_node points = doc.child("e57Root").child("data3D").child("vectorChild").child("points");
    EXPECT_STREQ(points.attribute("fileOffset").value(), "48");
    EXPECT_STREQ(points.attribute("recordCount").value(), "3");
    EXPECT_STREQ(points.child("prototype").child("cartesianX").attribute("scale").value(), "0.001");
    std::remove(path.c_str());
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
    const Bytes file = ReadFile(path);
    const Bytes logical = CheckedLogical(file);
    pugi::xml_document doc = ParseXml(file);
    const pugi::xml_node scans = doc.child("e57Root").child("data3D");
    const pugi::xml_node b = scans.first_child().next_sibling().child("points");
    ASSERT_EQ(b.attribute("fileOffset").as_ullong(), 1008u);
    EXPECT_EQ(GetU64(logical, 1008 + 16), 1044u);  // data packet at logical 1040
    e57::Reader reader(path, {});
    ScanPoints a = ReadScan(reader, 0);
    ASSERT_EQ(a.red.size(), first.size());
    for (size_t i = 0; i < first.size(); ++i)
        ASSERT_EQ(a.red[i], uint16_t(first[i])) << i;
    std::vector<int32_t> rows(second.size());
    e57::Data3DPointsData_d buf;
    buf.rowIndex = rows.data();
    e57::CompressedVectorReader cv = reader.SetUpData3DPointsData(1, rows.size(), buf);
    ASSERT_EQ(cv.read(), second.size());
    for (size_t i = 0; i < second.size(); ++i)
        ASSERT_EQ(rows[i], int32_t(second[i])) << i;
    std::remove(path.c_str());
}
