// Damaged and hostile files: every one ends in an E57Exception (never a
// crash, a hang or a huge allocation), with a message that says where.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <functional>
#include <vector>

#include "support/E57TestSupport.h"
#include "e57/E57Exception.h"
#include "e57/Writer.h"

using namespace e57test;
using ::testing::HasSubstr;

namespace {

// Reads everything of `file`; returns the exception text, or "" when the
// file read without error. Any exception other than E57Exception fails.
std::string Outcome(const Bytes& file, int policy = 100)
{
    static TempDir dir;  // one folder for the whole run; each case overwrites the file
    WriteFile(dir.File("broken.e57"), file);
    try {
        ReadEverything(dir.File("broken.e57"), policy);
        return "";
    } catch (const e57::E57Exception& e) {
        return e.what();
    } catch (const std::exception& e) {
        ADD_FAILURE() << "not an E57Exception: " << e.what();
        return e.what();
    }
}

Bytes Sample(const char* name)
{
    return ReadFile(e57test::Sample(name));
}

// The file with `edit` applied to its logical bytes and checksums redone, so
// that only the structural damage remains.
Bytes EditLogical(const Bytes& physical, const std::function<void(Bytes&)>& edit)
{
    Bytes logical = ToLogical(physical);
    edit(logical);
    return Paginate(logical);
}

}  // namespace

// Truncations, and damage the bad-input matrix already runs through the
// convert command (signature, version, page size, packet types, field
// descriptions, record counts), are not repeated here.
TEST(BrokenFile, DamagedHeadersAndSectionsFailWithValidChecksums)
{
    PW_REQUIRE_SAMPLE("mixed_a.e57");   // its points span more than one read window
    const Bytes good = Sample("bunnyFloat.e57");
    struct Case {
        const char* what;
        std::function<void(Bytes&)> edit;  // on logical bytes
        const char* message;
    };
    const Case cases[] = {
        {"file length", [](Bytes& b) { PutU64(b, 16, 1024); }, "file length of 1024"},
        {"xml offset in crc", [](Bytes& b) { PutU64(b, 24, 1022); }, "XML section offset"},
        {"xml length", [](Bytes& b) { PutU64(b, 32, 1ull << 62); }, "larger than the 256 MiB accepted"},
        {"xml length past end", [](Bytes& b) { PutU64(b, 32, 5000); }, "goes beyond the end of the file"},
        {"xml length cut", [](Bytes& b) { PutU64(b, 32, 1000); }, "XML section is not well-formed"},
        {"reserved", [](Bytes& b) { b[52] = 1; }, "reserved header bytes are not zero"},
        {"section length odd", [](Bytes& b) { PutU64(b, 56, 1002); }, "is not a multiple of 4"},
        {"section too short", [](Bytes& b) { PutU64(b, 56, 64); }, "record count 30571 of 97 bits each cannot fit"},
        {"data offset huge", [](Bytes& b) { PutU64(b, 64, ~0ull); }, "is outside the file"},
        {"index offset", [](Bytes& b) { PutU64(b, 72, 1ull << 40); }, "index offset"},
        {"stream count huge", [](Bytes& b) { b[84] = 0xFF; b[85] = 0xFF; }, "is too short for 65535 bytestreams"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_THAT(Outcome(EditLogical(good, c.edit)), HasSubstr(c.message));
    }
}

TEST(BrokenFile, HostileXmlFailsWithoutHugeAllocations)
{
    PW_REQUIRE_SAMPLE("mixed_a.e57");   // its points span more than one read window
    const Bytes good = Sample("bunnyFloat.e57");
    const std::string xml = XmlOf(good);
    const std::string points = "fileOffset=\"48\" recordCount=\"30571\"";
    struct Case {
        const char* what;
        std::string from, to;
        const char* message;
    };
    const Case cases[] = {
        {"negative recordCount", points, "fileOffset=\"48\" recordCount=\"-5\"", "is not a valid number"},
        {"fileOffset on the XML", points, "fileOffset=\"372332\" recordCount=\"30571\"", "section id is 60"},
        {"junk pose", "<name type=\"String\">",
         "<pose type=\"Structure\"><rotation type=\"Structure\"><w type=\"Float\">1.0x</w></rotation></pose>"
         "<name type=\"String\">",
         "is not a valid number"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_THAT(Outcome(WithXml(good, Replace(xml, c.from, c.to))), HasSubstr(c.message));
    }
    EXPECT_THAT(Outcome(WithXml(good, Replace(Replace(xml, "<e57Root", "<e58Root"), "</e57Root", "</e58Root"))),
                HasSubstr("instead of 'e57Root'"));
    // A reader that failed stays failed instead of handing out shifted records.
    {
        TempDir dir;
        WriteFile(dir.File("short.e57"), WithXml(good, Replace(xml, points, "fileOffset=\"48\" recordCount=\"30572\"")));
        e57::Reader r(dir.File("short.e57"), {});
        std::vector<double> x(30000);
        e57::Data3DPointsData_d buf;
        buf.cartesianX = x.data();
        e57::CompressedVectorReader cv = r.SetUpData3DPointsData(0, x.size(), buf);
        EXPECT_EQ(cv.read(), 30000u);
        EXPECT_THROW(cv.read(), e57::E57Exception);
        EXPECT_FALSE(cv.isOpen());
        EXPECT_THROW(cv.read(), e57::E57Exception);
    }
    // Millions of tiny elements would cost a parsed document of hundreds of MiB.
    std::string many;
    for (int i = 0; i < 1000001; ++i)
        many += "<a/>";
    EXPECT_THAT(Outcome(WithXml(good, Replace(xml, "<data3D", many + "<data3D"))),
                HasSubstr("more than 1000000 elements"));
}

// Every single-byte change of the binary structures, with checksums redone:
// reading may succeed (the byte was payload) or fail cleanly, nothing else.
TEST(BrokenFile, EveryByteOfTheStructuresCanBeDamagedSafely)
{
    PW_REQUIRE_SAMPLE("mixed_b.e57");
    const Bytes good = Sample("mixed_b.e57");
    const Bytes logical = ToLogical(good);
    std::vector<size_t> positions;
    for (size_t i = 0; i < 110; ++i)  // file header, section header, first packet's table
        positions.push_back(i);
    // Around the first packet boundaries of the first scan's section.
    const size_t second = 80 + (logical[82] | logical[83] << 8) + 1;
    for (size_t i = second; i < second + 24; ++i)
        positions.push_back(i);
    int failures = 0;
    for (size_t at : positions) {
        for (uint8_t mask : {uint8_t(0x01), uint8_t(0xFF)}) {
            Bytes damaged = logical;
            damaged[at] ^= mask;
            if (!Outcome(Paginate(damaged)).empty())
                ++failures;
        }
    }
    EXPECT_GT(failures, 80);  // most of these bytes are structure
}

// A file cut short by another program while its points are read (a copy still
// arriving, a network share going away): the next read past the new end fails
// with an E57Exception instead of returning stale or zeroed points.
TEST(BrokenFile, AFileCutShortWhileItsPointsAreReadFails)
{
    TempDir dir;
    const std::string path = dir.File("shrinking.e57");
    {
        // Points over several of the reader's 512 KiB read windows.
        const size_t n = 100000;
        std::vector<double> v(n);
        for (size_t i = 0; i < n; ++i)
            v[i] = 0.25 * static_cast<double>(i);
        e57::Writer w(path);
        e57::ScanHeader h;
        h.prototype = {e57::WriterField::Double("cartesianX"), e57::WriterField::Double("cartesianY"),
                       e57::WriterField::Double("cartesianZ")};
        w.BeginScan(h);
        w.WriteColumns(n, {{v.data(), nullptr}, {v.data(), nullptr}, {v.data(), nullptr}});
        w.EndScan();
        w.Close();
    }
    e57::Reader reader(path, {});
    ASSERT_TRUE(reader.IsOpen());
    std::vector<double> x(1024), y(1024), z(1024);
    e57::Data3DPointsData_d buf;
    buf.cartesianX = x.data();
    buf.cartesianY = y.data();
    buf.cartesianZ = z.data();
    e57::CompressedVectorReader points = reader.SetUpData3DPointsData(0, x.size(), buf);
    ASSERT_GT(points.read(), 0u);
    ASSERT_EQ(::truncate(path.c_str(), 1024 * 1024), 0);
    uint64_t total = 0;
    try {
        for (unsigned got; (got = points.read()) > 0;)
            total += got;
        ADD_FAILURE() << "the points of the cut file read to the end";
    } catch (const e57::E57Exception& e) {
        EXPECT_THAT(e.what(), HasSubstr("ended early"));
    }
    EXPECT_LT(total, 100000u);
}
