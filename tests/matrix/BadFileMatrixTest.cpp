// Hostile and broken E57 files through the convert command of the tool and
// the import command: each ends on the system's own error path (the German
// message, the detail on stderr or in the debug log), never in a crash, a
// hang or unbounded memory, and the source file stays byte for byte the same.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <regex>

#include "ImportFixture.h"
#include "MatrixSupport.h"
#include "e57/Writer.h"

using namespace matrix;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

constexpr char kFailed[] = "E57-Konvertierung fehlgeschlagen.";
constexpr char kCannotOpen[] = "E57-Datei konnte nicht geöffnet werden.";
constexpr char kNoScans[] = "E57-Datei enthält keine Scans.";

// Peak memory a run may reach; the conversion streams, so this is far above need.
constexpr long kMaxRssMb = kUnderAsan ? 1024 : 256;

// Three scans: float coordinates with 8-bit colour; scaled integers with a
// pose; doubles. Small packets, so that sections span several pages.
constexpr size_t kScanPoints[3] = {400, 400, 300};
constexpr size_t kAllPoints = 1100;

Bytes MultiScanFile(const fs::path& path)
{
    e57::WriterOptions options;
    options.maxPacketBytes = 2048;
    e57::Writer w(path.string(), options);
    for (int s = 0; s < 3; ++s) {
        const size_t n = kScanPoints[s];
        e57::ScanHeader h;
        h.guid = "{matrix-" + std::to_string(s) + "}";
        h.prototype = e57::CartesianFields(s == 0 ? e57::FieldEncoding::Float
                                                  : s == 1 ? e57::FieldEncoding::ScaledInteger
                                                           : e57::FieldEncoding::Double);
        std::vector<std::vector<double>> cols(3, std::vector<double>(n));
        for (size_t i = 0; i < n; ++i) {
            cols[0][i] = 0.25 * double(i);
            cols[1][i] = -0.5 * double(i);
            cols[2][i] = double(s) + 0.001 * double(i);
        }
        if (s == 0) {
            for (e57::WriterField& f : e57::ColorFields(255))
                h.prototype.push_back(f);
            for (int c = 0; c < 3; ++c) {
                cols.emplace_back(n);
                for (size_t i = 0; i < n; ++i)
                    cols.back()[i] = double((i * (c + 3)) % 256);
            }
        }
        if (s == 1) {
            h.hasPose = true;
            h.pose.translation = {100.0, 200.0, 300.0};
        }
        w.BeginScan(h);
        std::vector<e57::FieldValues> values;
        for (auto& c : cols)
            values.push_back({c.data(), nullptr});
        w.WriteColumns(n, values);
        w.EndScan();
    }
    w.Close();
    return ReadBytes(path);
}

// The logical offset of scan `index`'s section, read from the XML.
uint64_t SectionLogical(const Bytes& file, int index)
{
    const std::string xml = XmlOf(file);
    size_t at = 0;
    for (int i = 0; i <= index; ++i)
        at = xml.find("fileOffset=\"", at) + 12;
    return ToLogicalOffset(std::stoull(xml.substr(at)));
}

enum class Expect { Fails, CannotOpen, NoScans, Converts, FailsOrConverts };

struct Case {
    std::string what;
    Bytes file;
    Expect expect;
    std::string detail;      // part of the technical detail, for failures
    int64_t points = -1;     // points written on success, -1 = not checked
};

class BadFileMatrix : public ::testing::Test {
protected:
    void SetUp() override { good_ = MultiScanFile(dir_ / "good.e57"); }

    // Runs one case through the tool and the import command.
    void Check(const Case& c)
    {
        SCOPED_TRACE(c.what);
        const fs::path e57 = dir_ / ("m" + std::to_string(getpid()) + ".e57");
        WriteBytes(e57, c.file);
        const std::string hash = Sha256(e57);
        const fs::path out = dir_ / "out.gspc";
        fs::remove(out);

        const RunResult r = RunTool({"convert", e57.string(), "-d", "100", "-o", out.string(), "--threads", "1"});
        EXPECT_FALSE(r.timedOut) << "hangs";
        {
            // Several threads end in the very same result, error and bytes.
            const fs::path threaded = dir_ / "threaded.gspc";
            fs::remove(threaded);
            const RunResult t =
                RunTool({"convert", e57.string(), "-d", "100", "-o", threaded.string(), "--threads", "3"});
            EXPECT_EQ(t.exitCode, r.exitCode);
            std::string expectedOut = r.out;
            if (const size_t at = expectedOut.find(out.string()); at != std::string::npos)
                expectedOut.replace(at, out.string().size(), threaded.string());
            EXPECT_EQ(t.out, expectedOut);
            EXPECT_EQ(t.err, r.err);
            EXPECT_EQ(fs::exists(threaded), fs::exists(out));
            if (fs::exists(out) && fs::exists(threaded)) {
                EXPECT_TRUE(ReadBytes(out) == ReadBytes(threaded)) << "the threaded point file differs";
            }
        }
        EXPECT_EQ(r.signal, 0) << r.err;
        EXPECT_LT(r.maxRssMb, kMaxRssMb);
        EXPECT_EQ(Sha256(e57), hash) << "the source file was changed";
        const ImportOutcome o = importer_.Import(e57);
        EXPECT_TRUE(o.sourceUnchanged);
        EXPECT_TRUE(o.windowClosed);

        Expect expect = c.expect;
        if (expect == Expect::FailsOrConverts)
            expect = r.exitCode == 0 ? Expect::Converts : Expect::Fails;
        switch (expect) {
        case Expect::Converts:
            EXPECT_EQ(r.exitCode, 0) << r.err;
            EXPECT_EQ(r.err, "");
            if (c.points >= 0) {
                EXPECT_THAT(r.out, HasSubstr("kept points: " + std::to_string(c.points) + "\n"));
                EXPECT_EQ(fs::file_size(out), 32u + 15u * uint64_t(c.points));
            }
            ASSERT_EQ(o.reports.size(), 1u);
            EXPECT_EQ(o.reports[0].text, "\"" + e57.stem().string() + "\" importiert (100% der Punkte).");
            EXPECT_FALSE(o.reports[0].withAlert);
            break;
        case Expect::Fails: {
            EXPECT_EQ(r.exitCode, 1);
            EXPECT_THAT(r.err, StartsWith(std::string(kFailed) + " ("));
            EXPECT_THAT(r.err, HasSubstr(c.detail));
            EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
            EXPECT_EQ(o.result, "");
            ASSERT_EQ(o.reports.size(), 1u);
            EXPECT_EQ(o.reports[0].text, kFailed);
            EXPECT_TRUE(o.reports[0].withAlert);
            ASSERT_FALSE(o.log.empty());
            EXPECT_THAT(o.log.back(), StartsWith("E57-Fehler: "));
            EXPECT_LE(o.log.back().size(), 255u);
            // The detail in the log is the same text, cut at the log line's buffer.
            const std::string logged = o.log.back().substr(12);
            EXPECT_THAT(r.err, HasSubstr(logged.substr(0, std::min<size_t>(logged.size(), 200))));
            break;
        }
        case Expect::CannotOpen:
        case Expect::NoScans: {
            const char* message = expect == Expect::CannotOpen ? kCannotOpen : kNoScans;
            EXPECT_EQ(r.exitCode, 1);
            EXPECT_THAT(r.err, StartsWith(message));
            ASSERT_EQ(o.reports.size(), 1u);
            EXPECT_EQ(o.reports[0].text, message);
            EXPECT_TRUE(o.reports[0].withAlert);
            break;
        }
        case Expect::FailsOrConverts:
            break;
        }
    }

    Case Xml(const std::string& what, const std::string& from, const std::string& to, Expect e,
             const std::string& detail = "", int64_t points = -1)
    {
        return {what, WithXml(good_, Replace(XmlOf(good_), from, to)), e, detail, points};
    }

    Scratch dir_;
    ImportRunner importer_{dir_.Path()};
    Bytes good_;
};

}  // namespace

TEST_F(BadFileMatrix, TheUndamagedFileConverts)
{
    Check({"good", good_, Expect::Converts, "", int64_t(kAllPoints)});
}

TEST_F(BadFileMatrix, EveryPageBoundaryTruncationFails)
{
    const size_t pages = good_.size() / 1024;
    ASSERT_GE(pages, 10u) << "the file should span many pages";
    for (size_t k = 0; k < pages; ++k) {
        Bytes cut(good_.begin(), good_.begin() + static_cast<long>(k * 1024));
        Check({"cut to " + std::to_string(k) + " pages", cut, Expect::Fails,
               k == 0 ? "less than one page" : "file length"});
        if (k == 0)
            continue;
        // The header made to agree with the shorter file: the XML is still gone.
        Bytes agreeing = PatchLogical(cut, [&](Bytes& b) { PutU64(b, 16, k * 1024); });
        Check({"cut to " + std::to_string(k) + " pages, header agrees", agreeing, Expect::Fails, "XML section"});
    }
    // In the middle of a page.
    Check({"cut mid-page", Bytes(good_.begin(), good_.end() - 500), Expect::Fails, "1024-byte pages"});
}

TEST_F(BadFileMatrix, FlippedBytesFailTheirPageChecksum)
{
    const uint64_t packet = ToPhysicalOffset(SectionLogical(good_, 1) + 32 + 40);
    const uint64_t xml = GetU64(good_, 24) + 60;
    for (uint64_t at : {uint64_t(20), packet, xml, uint64_t(1021), uint64_t(good_.size() - 2)}) {
        Bytes b = good_;
        b[at] ^= 0x04;
        Check({"flipped byte at " + std::to_string(at), b, Expect::Fails,
               "checksum mismatch in page " + std::to_string(at / 1024)});
    }
}

TEST_F(BadFileMatrix, DamagedFileHeaderWithValidChecksums)
{
    const std::vector<Case> cases = {
        {"page size 2048", PatchLogical(good_, [](Bytes& b) { PutU64(b, 40, 2048); }), Expect::Fails,
         "page size 2048"},
        {"page size 0", PatchLogical(good_, [](Bytes& b) { PutU64(b, 40, 0); }), Expect::Fails, "page size 0"},
        {"version 2", PatchLogical(good_, [](Bytes& b) { b[8] = 2; }), Expect::Fails, "version 2.0"},
        {"signature", PatchLogical(good_, [](Bytes& b) { b[0] = 'X'; }), Expect::Fails, "bad signature"},
        {"XML length 0", PatchLogical(good_, [](Bytes& b) { PutU64(b, 32, 0); }), Expect::Fails, "XML section"},
        {"XML length 2^64-1", PatchLogical(good_, [](Bytes& b) { PutU64(b, 32, ~0ull); }), Expect::Fails,
         "XML section"},
        {"XML offset into the header", PatchLogical(good_, [](Bytes& b) { PutU64(b, 24, 8); }), Expect::Fails,
         "XML section"},
        {"XML offset past the end", PatchLogical(good_, [](Bytes& b) { PutU64(b, 24, 1ull << 40); }),
         Expect::Fails, "XML section offset"},
    };
    for (const Case& c : cases)
        Check(c);
}

TEST_F(BadFileMatrix, HostileXml)
{
    const std::string xml = XmlOf(good_);
    std::string deepOpen, deepClose;
    for (int i = 0; i < 100000; ++i) {
        deepOpen += "<d type=\"Structure\">";
        deepClose += "</d>";
    }
    const std::string hugeValue(8u << 20, 'A');
    const std::string manyDigits(1u << 20, '9');
    Check(Xml("not well-formed", "</e57Root>", "</e57Rot>", Expect::Fails, "not well-formed"));
    Check(Xml("cut in the middle", "</e57Root>", "", Expect::Fails, "not well-formed"));
    Check({"not XML at all", WithXml(good_, std::string(3000, '\xFF')), Expect::Fails, "not well-formed"});
    Check(Xml("deeply nested beside the scans", "<data3D", deepOpen + deepClose + "<data3D", Expect::Converts, "",
              int64_t(kAllPoints)));
    Check(Xml("deeply nested in a scan", "<points", deepOpen + deepClose + "<points", Expect::Converts, "",
              int64_t(kAllPoints)));
    Check(Xml("deeply nested prototype", "<cartesianX", deepOpen + deepClose + "<cartesianX", Expect::Fails,
              "nests Structures more than"));
    Check(Xml("huge unknown attribute", "<points", "<huge type=\"String\" v=\"" + hugeValue + "\"/><points",
              Expect::Converts, "", int64_t(kAllPoints)));
    Check(Xml("huge number", "recordCount=\"400\"", "recordCount=\"" + manyDigits + "\"", Expect::Fails,
              "is not a valid number"));
    Check({"no data3D",
           WithXml(good_, Replace(Replace(xml, "<data3D", "<dataXD"), "</data3D>", "</dataXD>")),
           Expect::NoScans, ""});
    Check(Xml("data3D not a Vector", "<data3D type=\"Vector\"", "<data3D type=\"Structure\"", Expect::Fails,
              "data3D is not a Vector"));
}

TEST_F(BadFileMatrix, RecordCountsAndOffsetsThatDoNotFit)
{
    const std::string first = "recordCount=\"400\"";
    Check(Xml("recordCount 10^12", first, "recordCount=\"1000000000000\"", Expect::Fails, "cannot fit into"));
    Check(Xml("recordCount 2^63-1", first, "recordCount=\"9223372036854775807\"", Expect::Fails, "cannot fit into"));
    Check(Xml("recordCount 2^64-1", first, "recordCount=\"18446744073709551615\"", Expect::Fails, "too large"));
    Check(Xml("one record more", first, "recordCount=\"401\"", Expect::Fails, "ends after 400 of 401 records"));
    Check(Xml("fewer records", first, "recordCount=\"100\"", Expect::Converts, "", int64_t(kAllPoints - 300)));
    const std::string offset = "fileOffset=\"48\"";
    Check(Xml("fileOffset past the end", offset, "fileOffset=\"99999999999\"", Expect::Fails, "outside the file"));
    Check(Xml("fileOffset 2^64-1", offset, "fileOffset=\"18446744073709551615\"", Expect::Fails, "outside the file"));
    Check(Xml("fileOffset into the file header", offset, "fileOffset=\"0\"", Expect::Fails, "section id is 65"));
    Check(Xml("fileOffset into a checksum", offset, "fileOffset=\"1022\"", Expect::Fails, "inside a checksum"));
    Check(Xml("fileOffset onto another scan's packets", offset, "fileOffset=\"80\"", Expect::Fails, "section"));
}

TEST_F(BadFileMatrix, BrokenPackets)
{
    const uint64_t section = SectionLogical(good_, 0);
    const uint64_t packet = section + 32;  // the writer's first data packet follows the section header
    auto patch = [&](const std::string& what, const std::function<void(Bytes&)>& edit, Expect e,
                     const std::string& detail) { Check({what, PatchLogical(good_, edit), e, detail}); };
    patch("packet length 0", [&](Bytes& b) { PutU16(b, packet + 2, 0); }, Expect::Fails, "shorter than its header");
    patch("packet length past the section", [&](Bytes& b) { PutU16(b, packet + 2, 0xFFFF); }, Expect::Fails,
          "runs past the section end");
    patch("packet type 9", [&](Bytes& b) { b[packet] = 9; }, Expect::Fails, "unknown packet type 9");
    patch("fewer bytestreams than fields", [&](Bytes& b) { PutU16(b, packet + 4, 5); }, Expect::Fails,
          "has 5 bytestreams, the prototype has 6");
    patch("no bytestreams", [&](Bytes& b) { PutU16(b, packet + 4, 0); }, Expect::Fails,
          "has 0 bytestreams, the prototype has 6");
    patch("more bytestreams than fields", [&](Bytes& b) { PutU16(b, packet + 4, 7); }, Expect::FailsOrConverts, "");
    patch("bytestream length past the packet", [&](Bytes& b) { PutU16(b, packet + 6, 0xFFFF); }, Expect::Fails,
          "run past its end");
    patch("section length 2^63", [&](Bytes& b) { PutU64(b, section + 8, 1ull << 63); }, Expect::Fails,
          "runs past the end of the file");
    patch("section data offset 0", [&](Bytes& b) { PutU64(b, section + 16, 0); }, Expect::Fails,
          "outside the section");
    patch("section id 0", [&](Bytes& b) { b[section] = 0; }, Expect::Fails, "section id is 0");
}

TEST_F(BadFileMatrix, ImpossibleFieldDescriptions)
{
    const std::string red = "<colorRed type=\"Integer\" minimum=\"0\" maximum=\"255\"/>";
    Check(Xml("minimum above maximum", red, "<colorRed type=\"Integer\" minimum=\"300\" maximum=\"255\"/>",
              Expect::Fails, "below minimum"));
    Check(Xml("64-bit range", red,
              "<colorRed type=\"Integer\" minimum=\"-9223372036854775808\" maximum=\"9223372036854775807\"/>",
              Expect::Fails, ""));
    Check(Xml("range beyond 64 bits", red, "<colorRed type=\"Integer\" minimum=\"0\" maximum=\"99999999999999999999\"/>",
              Expect::Fails, "is not a valid number"));
    Check(Xml("float precision garbage", "precision=\"single\"", "precision=\"quadruple\"", Expect::Fails,
              "unknown precision"));
    Check(Xml("field of type Blob", red, "<colorRed type=\"Blob\" fileOffset=\"48\" length=\"99999999999\"/>",
              Expect::Fails, "type 'Blob'"));
    Check(Xml("field of no type", red, "<colorRed/>", Expect::Fails, "colorRed"));
}

TEST_F(BadFileMatrix, ScalesOfZeroAndNaNAreConvertedAsTheyAre)
{
    // The scaled scan's points all land on the offset (0) plus its pose, or become NaN: no failure.
    Check(Xml("scale 0", "scale=\"0.001\"", "scale=\"0\"", Expect::Converts, "", int64_t(kAllPoints)));
    Check(Xml("scale NaN", "scale=\"0.001\"", "scale=\"nan\"", Expect::Converts, "", int64_t(kAllPoints)));
    Check(Xml("scale junk", "scale=\"0.001\"", "scale=\"0.001x\"", Expect::Fails, "not a valid number"));
}

TEST_F(BadFileMatrix, NonFiniteCoordinatesAreWrittenAsTheyAre)
{
    const fs::path path = dir_ / "nonfinite.e57";
    {
        e57::Writer w(path.string());
        e57::ScanHeader h;
        h.guid = "{nonfinite}";
        h.prototype = e57::CartesianFields(e57::FieldEncoding::Double);
        h.writeCartesianBounds = false;
        const double nan = std::numeric_limits<double>::quiet_NaN();
        const double inf = std::numeric_limits<double>::infinity();
        std::vector<double> x{1.0, nan, inf, 4.0}, y{1.0, 2.0, -inf, nan}, z{1.0, 2.0, 3.0, 4.0};
        w.BeginScan(h);
        w.WriteColumns(4, {{x.data(), nullptr}, {y.data(), nullptr}, {z.data(), nullptr}});
        w.EndScan();
        w.Close();
    }
    const fs::path out = dir_ / "nonfinite.gspc";
    const RunResult r = RunTool({"convert", path.string(), "-d", "100", "-o", out.string()});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const Bytes gspc = ReadBytes(out);
    ASSERT_EQ(gspc.size(), 32u + 4u * 15u);
    auto at = [&](size_t record, int axis) {
        float f;
        std::memcpy(&f, gspc.data() + 32 + record * 15 + axis * 4, 4);
        return f;
    };
    // The pose's arithmetic (0 x infinity) turns an infinite coordinate into
    // NaN, and one NaN spreads to all three axes of its point.
    for (size_t record = 1; record < 4; ++record)
        for (int axis = 0; axis < 3; ++axis)
            EXPECT_TRUE(std::isnan(at(record, axis))) << record << " " << axis;
    // A NaN never replaces a bound: the bounds are those of the one finite point.
    float bounds[6];
    std::memcpy(bounds, gspc.data() + 8, sizeof bounds);
    for (float b : bounds)
        EXPECT_EQ(b, 1.0f);
}

TEST_F(BadFileMatrix, ScansWithoutCoordinates)
{
    const fs::path path = dir_ / "intensity.e57";
    {
        e57::Writer w(path.string());
        e57::ScanHeader h;
        h.guid = "{intensity-only}";
        h.prototype = {e57::WriterField::Integer("intensity", 0, 255)};
        h.hasPose = true;
        h.pose.translation = {5.0, 6.0, 7.0};
        std::vector<double> v(50, 17.0);
        w.BeginScan(h);
        w.WriteColumns(50, {{v.data(), nullptr}});
        w.EndScan();
        w.Close();
    }
    // Every point at the origin moved by the pose, in grey.
    Check({"only intensity", ReadBytes(path), Expect::Converts, "", 50});
    const fs::path out = dir_ / "intensity.gspc";
    ASSERT_EQ(RunTool({"convert", path.string(), "-o", out.string(), "-d", "100"}).exitCode, 0);
    const Bytes gspc = ReadBytes(out);
    ASSERT_EQ(gspc.size(), 32u + 50u * 15u);
    float p[3];
    std::memcpy(p, gspc.data() + 32 + 49 * 15, sizeof p);
    EXPECT_EQ(p[0], 5.0f);
    EXPECT_EQ(p[1], 6.0f);
    EXPECT_EQ(p[2], 7.0f);
    EXPECT_EQ(gspc[32 + 49 * 15 + 12], 200);

    // A scan with no fields at all and no records.
    Check(Xml("a scan that declares no records", "recordCount=\"400\"", "recordCount=\"0\"", Expect::Converts, "",
              int64_t(kAllPoints - 400)));
}

// Fields that need no bits (minimum = maximum) take no bytes, so the section
// cannot bound the record count: a tiny file may declare 2^63 - 1 records.
// Unbounded, the conversion would run for days and fill the disk.
TEST_F(BadFileMatrix, ConstantFieldsWithAnAbsurdRecordCount)
{
    const fs::path path = dir_ / "constant.e57";
    {
        e57::Writer w(path.string());
        e57::ScanHeader h;
        h.guid = "{constant}";
        h.prototype = {e57::WriterField::Integer("cartesianX", 5, 5), e57::WriterField::Integer("cartesianY", 6, 6),
                       e57::WriterField::Integer("cartesianZ", 7, 7)};
        h.writeCartesianBounds = false;
        std::vector<double> x(10, 5.0), y(10, 6.0), z(10, 7.0);
        w.BeginScan(h);
        w.WriteColumns(10, {{x.data(), nullptr}, {y.data(), nullptr}, {z.data(), nullptr}});
        w.EndScan();
        w.Close();
    }
    const Bytes good = ReadBytes(path);
    const Bytes hostile = WithXml(good, Replace(XmlOf(good), "recordCount=\"10\"", "recordCount=\"9223372036854775807\""));
    WriteBytes(path, hostile);
    Limits limits;
    limits.seconds = 10;
    limits.fileSizeBytes = 64u << 20;
    const RunResult r = RunTool({"convert", path.string(), "-d", "1", "-o", (dir_ / "c.gspc").string()}, limits);
    EXPECT_FALSE(r.timedOut) << "still converting after 10 s";
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_THAT(r.err, StartsWith(std::string(kFailed) + " ("));
}

// Every XML element costs the parsed document far more memory than its text:
// 16 MiB of empty elements must not take hundreds of MiB; without a bound on
// the element count a 256 MiB XML section could take more than 4 GiB.
TEST_F(BadFileMatrix, XmlOfManyTinyElementsStaysWithinMemory)
{
    std::string many;
    many.reserve(16u << 20);
    while (many.size() < (16u << 20))
        many += "<a/>";
    const Bytes file = WithXml(good_, Replace(XmlOf(good_), "<data3D", many + "<data3D"));
    const fs::path path = dir_ / "many.e57";
    WriteBytes(path, file);
    const RunResult r = RunTool({"info", path.string()});
    EXPECT_EQ(r.signal, 0);
    EXPECT_LT(r.maxRssMb, kUnderAsan ? 512 : 128) << "memory grows with the number of XML elements";
}
