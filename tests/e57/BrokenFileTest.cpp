// Damaged and hostile files: every one ends in an E57Exception (never a
// crash, a hang or a huge allocation), with a message that says where.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "E57TestSupport.h"
#include "e57/E57Exception.h"

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

TEST(BrokenFile, TruncatedFilesFail)
{
    PW_REQUIRE_SAMPLE("bunnyFloat.e57");
    const Bytes full = Sample("bunnyFloat.e57");
    for (size_t pages : {1, 2, 180, 363, 365}) {
        SCOPED_TRACE(pages);
        Bytes cut(full.begin(), full.begin() + static_cast<long>(pages * 1024));
        EXPECT_THAT(Outcome(cut), HasSubstr("file length"));
        // Even with the header claiming the shorter length, the XML is gone.
        PutU64(cut, 16, cut.size());
        FixPageCrc(cut, 0);
        EXPECT_NE(Outcome(cut), "");
    }
    Bytes odd(full.begin(), full.end() - 100);
    EXPECT_THAT(Outcome(odd), HasSubstr("is not a whole number of 1024-byte pages"));
}

TEST(BrokenFile, DamagedHeadersAndSectionsFailWithValidChecksums)
{
    PW_REQUIRE_SAMPLE("bunnyFloat.e57");
    const Bytes good = Sample("bunnyFloat.e57");
    struct Case {
        const char* what;
        std::function<void(Bytes&)> edit;  // on logical bytes
        const char* message;
    };
    const Case cases[] = {
        {"signature", [](Bytes& b) { b[3] = 'X'; }, "not an E57 file: bad signature"},
        {"version", [](Bytes& b) { b[8] = 2; }, "unsupported E57 version 2.0"},
        {"page size", [](Bytes& b) { PutU64(b, 40, 2048); }, "page size 2048"},
        {"file length", [](Bytes& b) { PutU64(b, 16, 1024); }, "file length of 1024"},
        {"xml offset", [](Bytes& b) { PutU64(b, 24, 1ull << 50); }, "XML section offset"},
        {"xml offset in crc", [](Bytes& b) { PutU64(b, 24, 1022); }, "XML section offset"},
        {"xml length", [](Bytes& b) { PutU64(b, 32, 1ull << 62); }, "larger than the 256 MiB accepted"},
        {"xml length past end", [](Bytes& b) { PutU64(b, 32, 5000); }, "goes beyond the end of the file"},
        {"xml length cut", [](Bytes& b) { PutU64(b, 32, 1000); }, "XML section is not well-formed"},
        {"section id", [](Bytes& b) { b[48] = 0; }, "section id is 0 instead of 1"},
        {"reserved", [](Bytes& b) { b[52] = 1; }, "reserved header bytes are not zero"},
        {"section length", [](Bytes& b) { PutU64(b, 56, 1ull << 60); }, "runs past the end of the file"},
        {"section length odd", [](Bytes& b) { PutU64(b, 56, 1002); }, "is not a multiple of 4"},
        {"section too short", [](Bytes& b) { PutU64(b, 56, 64); }, "record count 30571 of 97 bits each cannot fit"},
        {"data offset zero", [](Bytes& b) { PutU64(b, 64, 0); }, "data offset 0 is outside the section"},
        {"data offset huge", [](Bytes& b) { PutU64(b, 64, ~0ull); }, "is outside the file"},
        {"index offset", [](Bytes& b) { PutU64(b, 72, 1ull << 40); }, "index offset"},
        {"packet type", [](Bytes& b) { b[80] = 7; }, "unknown packet type 7 at logical offset 80"},
        {"stream count", [](Bytes& b) { b[84] = 3; b[85] = 0; }, "has 3 bytestreams, the prototype has 4"},
        {"stream count huge", [](Bytes& b) { b[84] = 0xFF; b[85] = 0xFF; }, "is too short for 65535 bytestreams"},
        {"buffer length", [](Bytes& b) { b[86] = 0xFF; b[87] = 0xFF; }, "run past its end"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_THAT(Outcome(EditLogical(good, c.edit)), HasSubstr(c.message));
    }
}

TEST(BrokenFile, HostileXmlFailsWithoutHugeAllocations)
{
    PW_REQUIRE_SAMPLE("bunnyFloat.e57");
    const Bytes good = Sample("bunnyFloat.e57");
    const std::string xml = XmlOf(good);
    const std::string points = "fileOffset=\"48\" recordCount=\"30571\"";
    struct Case {
        const char* what;
        std::string from, to;
        const char* message;
    };
    const Case cases[] = {
        {"absurd recordCount", points, "fileOffset=\"48\" recordCount=\"999999999999999\"", "cannot fit into"},
        {"recordCount too large", points, "fileOffset=\"48\" recordCount=\"9223372036854775808\"", "too large"},
        {"one record more", points, "fileOffset=\"48\" recordCount=\"30572\"", "ends after 30571 of 30572 records"},
        {"negative recordCount", points, "fileOffset=\"48\" recordCount=\"-5\"", "is not a valid number"},
        {"fileOffset past the end", points, "fileOffset=\"999999999\" recordCount=\"30571\"", "outside the file"},
        {"fileOffset in a checksum", points, "fileOffset=\"1021\" recordCount=\"30571\"", "inside a checksum"},
        {"fileOffset on the XML", points, "fileOffset=\"372332\" recordCount=\"30571\"", "section id is 60"},
        {"limits reversed", "<cartesianInvalidState type=\"Integer\" minimum=\"0\" maximum=\"1\"/>",
         "<cartesianInvalidState type=\"Integer\" minimum=\"5\" maximum=\"1\"/>", "below minimum"},
        {"bad precision", "precision=\"single\"", "precision=\"quad\"", "unknown precision 'quad'"},
        {"blob leaf", "<cartesianInvalidState type=\"Integer\" minimum=\"0\" maximum=\"1\"/>",
         "<cartesianInvalidState type=\"Blob\" fileOffset=\"0\" length=\"99999999999\"/>", "type 'Blob'"},
        {"junk pose", "<name type=\"String\">",
         "<pose type=\"Structure\"><rotation type=\"Structure\"><w type=\"Float\">1.0x</w></rotation></pose>"
         "<name type=\"String\">",
         "is not a valid number"},
        {"unclosed", "</e57Root>", "</e57Rot>", "not well-formed"},
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
    // Structures nested far deeper than any prototype needs.
    std::string deep;
    for (int i = 0; i < 5000; ++i)
        deep += "<s type=\"Structure\">";
    for (int i = 0; i < 5000; ++i)
        deep += "</s>";
    EXPECT_THAT(Outcome(WithXml(good, Replace(xml, "<prototype type=\"Structure\">",
                                              "<prototype type=\"Structure\">" + deep))),
                HasSubstr("nests Structures more than"));
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
