// The conversion of E57 scans into a point file: thinning across scans, pose,
// colour, progress calls and the exact cancel behaviour. The E57 files are
// written by the project's own E57 writer.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "e57/E57Exception.h"
#include "e57/Reader.h"
#include "e57/Writer.h"
#include "import/ConvertE57ToGspc.h"
#include "import/GspcReader.h"
#include "import/GspcWriter.h"
#include "support/E57TestSupport.h"

namespace {

std::string TempPath(const std::string& name)
{
    return ::testing::TempDir() + "conversion_" + std::to_string(getpid()) + "_" + name;
}

// A process window that records every call and reports a cancel at chosen
// IsCanceled calls (1-based).
class ScriptedWindow : public host::ProcessWindow {
public:
    std::vector<std::string> calls;
    std::vector<int32_t> values;
    int canceledAsked = 0;
    int cancelFrom = 0;       // report a cancel from this call on (0 = never)
    int cancelUntil = 1 << 30;

    host::ErrCode Open(const std::string& title, int32_t phases) override
    {
        calls.push_back("Open " + title + " " + std::to_string(phases));
        return host::NoError;
    }
    host::ErrCode NextPhase(const std::string& title, int32_t maxValue) override
    {
        calls.push_back("NextPhase " + title + " " + std::to_string(maxValue));
        return host::NoError;
    }
    host::ErrCode SetValue(int32_t value) override
    {
        values.push_back(value);
        return host::NoError;
    }
    host::ErrCode IsCanceled(bool& canceled) override
    {
        ++canceledAsked;
        canceled = cancelFrom > 0 && canceledAsked >= cancelFrom && canceledAsked <= cancelUntil;
        return host::NoError;
    }
    host::ErrCode Close() override
    {
        calls.push_back("Close");
        return host::NoError;
    }
};

// One scan to write: coordinates (cartesian or spherical), optional colour.
struct TestScan {
    std::vector<double> a, b, c;              // x/y/z, or range/azimuth/elevation when spherical
    bool spherical = false;
    e57::FieldEncoding encoding = e57::FieldEncoding::Double;
    std::vector<uint16_t> red, green, blue;   // empty: no colour
    int64_t colourMax = 255;
    std::vector<int8_t> invalid;              // empty: no isColorInvalid field
    bool hasPose = false;
    e57::RigidBodyTransform pose;
    std::string description;
};

TestScan Line(size_t n, double z = 0.0)
{
    TestScan s;
    for (size_t i = 0; i < n; ++i) {
        s.a.push_back(double(i));
        s.b.push_back(0.0);
        s.c.push_back(z);
    }
    return s;
}

void WriteE57(const std::string& path, const std::vector<TestScan>& scans)
{
    e57::Writer w(path);
    int n = 0;
    for (const TestScan& s : scans) {
        e57::ScanHeader h;
        h.guid = "{scan-" + std::to_string(n++) + "}";
        h.description = s.description;
        h.hasPose = s.hasPose;
        h.pose = s.pose;
        h.prototype = s.spherical ? e57::SphericalFields(s.encoding) : e57::CartesianFields(s.encoding);
        e57::Data3DPointsData_t<double> buf;
        std::vector<double> a = s.a, b = s.b, c = s.c;
        std::vector<uint16_t> r = s.red, g = s.green, bl = s.blue;
        std::vector<int8_t> inv = s.invalid;
        if (s.spherical) {
            buf.sphericalRange = a.data();
            buf.sphericalAzimuth = b.data();
            buf.sphericalElevation = c.data();
        } else {
            buf.cartesianX = a.data();
            buf.cartesianY = b.data();
            buf.cartesianZ = c.data();
        }
        if (!r.empty()) {
            for (auto& f : e57::ColorFields(s.colourMax))
                h.prototype.push_back(f);
            buf.colorRed = r.data();
            buf.colorGreen = g.data();
            buf.colorBlue = bl.data();
        }
        if (!inv.empty()) {
            h.prototype.push_back(e57::WriterField::Integer("isColorInvalid", 0, 1));
            buf.isColorInvalid = inv.data();
        }
        w.BeginScan(h);
        if (!a.empty())
            w.WritePoints(a.size(), buf);
        w.EndScan();
    }
    w.Close();
}

struct Converted {
    ConversionResult result;
    bool windowOpen = false;
    std::vector<GspcPoint> points;
    GspcHeader header;
};

Converted Convert(const std::string& e57Path, int density, ScriptedWindow& window)
{
    Converted out;
    const std::string gspc = e57Path + ".gspc";
    e57::Reader reader(e57Path, e57::ReaderOptions());
    EXPECT_TRUE(reader.IsOpen());
    GspcWriter writer;
    EXPECT_TRUE(writer.Open(gspc.c_str()));
    out.result = ConvertE57ToGspc(reader, reader.GetData3DCount(), writer, density, "E57 importieren...", window,
                                  out.windowOpen);
    GspcReader back(gspc);
    out.header = back.Header();
    out.points.resize(back.PointCount());
    back.Read(out.points.data(), out.points.size());
    std::remove(gspc.c_str());
    return out;
}

Converted Convert(const std::string& e57Path, int density)
{
    ScriptedWindow window;
    return Convert(e57Path, density, window);
}

std::vector<float> Xs(const std::vector<GspcPoint>& pts)
{
    std::vector<float> x;
    for (const auto& p : pts)
        x.push_back(p.x);
    return x;
}

}  // namespace

TEST(Conversion, StepRuleAndPoseFormula)
{
    const std::pair<int, int> steps[] = {{100, 1}, {60, 1}, {51, 1}, {50, 2}, {33, 3}, {25, 4}, {10, 10}, {1, 100}};
    for (const auto& [density, step] : steps)
        EXPECT_EQ(DensityStep(density), step) << density;

    // A non-unit quaternion is used as stored: (0, 0, 0, 2) turns and scales.
    e57::RigidBodyTransform unnormalised;
    unnormalised.rotation = {0.0, 0.0, 0.0, 2.0};
    unnormalised.translation = {0.5, 0.0, 0.0};
    double x, y, z;
    ApplyPose(unnormalised, 1.0, 0.0, 0.0, x, y, z);
    EXPECT_EQ(x, -6.5);
    EXPECT_EQ(y, 0.0);
    EXPECT_EQ(z, 0.0);
}

TEST(Conversion, StepCountsAcrossScansAndBlocks)
{
    // 4 points, then 70000 (more than one block of 65536), at step 3.
    const std::string path = TempPath("step.e57");
    WriteE57(path, {Line(4, 1.0), Line(70000, 2.0)});
    const Converted c = Convert(path, 33);
    EXPECT_EQ(c.result.totalPoints, 70004);
    // Global indices 0, 3 in the first scan; then 6, 9, ... are local 2, 5, ...
    std::vector<float> expected = {0.0f, 3.0f};
    for (int local = 2; local < 70000; local += 3)
        expected.push_back(float(local));
    EXPECT_EQ(c.result.keptPoints, int64_t(expected.size()));
    EXPECT_EQ(Xs(c.points), expected);
    EXPECT_FALSE(c.result.cancelled);
    std::remove(path.c_str());
}

TEST(Conversion, ColourRules)
{
    TestScan sixteenBit = Line(5);
    sixteenBit.colourMax = 65535;
    sixteenBit.red = {1000, 65535, 128, 256, 7};
    sixteenBit.green = {2, 0, 128, 300, 7};
    sixteenBit.blue = {3, 65535, 127, 255, 7};
    sixteenBit.invalid = {1, 0, 0, 0, 1};
    TestScan noColour = Line(2);
    // Colour without an invalid flag after a scan that had flags set: all valid.
    TestScan eightBit = Line(3);
    eightBit.red = {1, 2, 3};
    eightBit.green = {4, 5, 6};
    eightBit.blue = {7, 8, 9};
    eightBit.invalid.clear();

    const std::string path = TempPath("colour.e57");
    WriteE57(path, {sixteenBit, noColour, eightBit});
    const Converted c = Convert(path, 100);
    ASSERT_EQ(c.points.size(), 10u);
    const unsigned char expected[10][3] = {{200, 200, 200}, {255, 0, 255}, {128, 128, 127}, {255, 255, 255},
                                           {200, 200, 200}, {200, 200, 200}, {200, 200, 200},
                                           {1, 4, 7},       {2, 5, 8},       {3, 6, 9}};
    for (size_t i = 0; i < 10; ++i) {
        EXPECT_EQ(c.points[i].r, expected[i][0]) << i;
        EXPECT_EQ(c.points[i].g, expected[i][1]) << i;
        EXPECT_EQ(c.points[i].b, expected[i][2]) << i;
    }
    std::remove(path.c_str());
}

TEST(Conversion, PoseOffsetsAndSizes)
{
    TestScan turned;   // 90 degrees about Z, then translated
    turned.a = {1.0};
    turned.b = {0.0};
    turned.c = {0.0};
    turned.hasPose = true;
    turned.pose.rotation = {std::sqrt(0.5), 0.0, 0.0, std::sqrt(0.5)};
    turned.pose.translation = {100.0, 200.0, 300.0};
    TestScan second;
    second.a = {-1.0, 3.0};
    second.b = {5.0, 7.0};
    second.c = {0.5, -0.5};
    const std::string path = TempPath("pose.e57");
    WriteE57(path, {turned, second});
    const Converted c = Convert(path, 100);
    ASSERT_EQ(c.points.size(), 3u);
    EXPECT_FLOAT_EQ(c.points[0].x, 100.0f);
    EXPECT_FLOAT_EQ(c.points[0].y, 201.0f);
    EXPECT_FLOAT_EQ(c.points[0].z, 300.0f);
    EXPECT_EQ(c.points[1].x, -1.0f) << "coordinates stay absolute";
    EXPECT_EQ(c.result.offsetX, -1.0f);
    EXPECT_EQ(c.result.sizeX, 101.0f);
    EXPECT_EQ(c.result.offsetY, 5.0f);
    EXPECT_EQ(c.result.sizeY, 196.0f);
    EXPECT_EQ(c.result.offsetZ, -0.5f);
    EXPECT_EQ(c.result.sizeZ, 300.5f);
    std::remove(path.c_str());
}

TEST(Conversion, SphericalOnlyScanIsConvertedBeforeThePose)
{
    TestScan s;
    s.spherical = true;
    s.a = {2.0, 1.0, 3.0};                          // range
    s.b = {0.0, M_PI / 2, 0.0};                     // azimuth
    s.c = {0.0, 0.0, M_PI / 2};                     // elevation
    s.hasPose = true;
    s.pose.translation = {10.0, 0.0, 0.0};
    const std::string path = TempPath("spherical.e57");
    WriteE57(path, {Line(1, 5.0), s});
    const Converted c = Convert(path, 100);
    ASSERT_EQ(c.points.size(), 4u);
    const float expected[3][3] = {{12, 0, 0}, {10, 1, 0}, {10, 0, 3}};
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(c.points[i + 1].x, expected[i][0], 1e-5) << i;
        EXPECT_NEAR(c.points[i + 1].y, expected[i][1], 1e-5) << i;
        EXPECT_NEAR(c.points[i + 1].z, expected[i][2], 1e-5) << i;
    }
    std::remove(path.c_str());
}

TEST(Conversion, ProgressProtocol)
{
    const std::string path = TempPath("progress.e57");
    WriteE57(path, {Line(600), Line(400)});
    ScriptedWindow window;
    const Converted c = Convert(path, 100, window);
    // Estimate 1000: update every 5 kept points, maximum 1000; the window stays open.
    EXPECT_EQ(window.calls, (std::vector<std::string>{"Open E57 importieren... 2",
                                                      "NextPhase Punktwolke konvertieren... 1000"}));
    ASSERT_EQ(window.values.size(), 200u);
    EXPECT_EQ(window.values.front(), 5);
    EXPECT_EQ(window.values.back(), 1000);
    EXPECT_EQ(window.canceledAsked, 200);
    EXPECT_TRUE(c.windowOpen);
    EXPECT_EQ(c.result.keptPoints, 1000);

    // Step 10 thins the estimate per scan: 60 + 40 -> updates every kept point.
    ScriptedWindow thin;
    Convert(path, 10, thin);
    EXPECT_EQ(thin.calls.back(), "NextPhase Punktwolke konvertieren... 100");
    EXPECT_EQ(thin.values.size(), 100u);

    // Scans without points: estimate 2 x 500000, nothing written, zero offsets and sizes.
    WriteE57(path, {TestScan(), TestScan()});
    ScriptedWindow none;
    const Converted empty = Convert(path, 10, none);
    EXPECT_EQ(none.calls.back(), "NextPhase Punktwolke konvertieren... 1000000");
    EXPECT_EQ(empty.result.totalPoints, 0);
    EXPECT_TRUE(empty.points.empty());
    EXPECT_EQ(empty.result.sizeX, 0.0f);
    EXPECT_EQ(empty.result.offsetZ, 0.0f);
    std::remove(path.c_str());
}

TEST(Conversion, CancelEndsTheBlockButLaterBlocksOfTheScanAreStillRead)
{
    // 200000 points = blocks of 65536, 65536, 65536, 3392; then a second scan.
    const std::string path = TempPath("cancel.e57");
    WriteE57(path, {Line(200000), Line(10, 9.0)});
    {
        SCOPED_TRACE("the host keeps reporting the cancel: each block is cut at its first progress call");
        ScriptedWindow window;
        window.cancelFrom = 1;
        const Converted c = Convert(path, 100, window);   // estimate 200010: every 1000 kept points
        EXPECT_TRUE(c.result.cancelled);
        EXPECT_TRUE(c.windowOpen);
        EXPECT_EQ(window.calls.size(), 2u) << "the caller closes the window";
        EXPECT_EQ(c.result.keptPoints, 4000);
        std::vector<float> expected;
        for (float start : {0.0f, 65536.0f, 131072.0f, 196608.0f})
            for (int i = 0; i < 1000; ++i)
                expected.push_back(start + float(i));
        EXPECT_EQ(Xs(c.points), expected);
        // Closed with its bounds patched; no offsets or sizes on cancel.
        EXPECT_EQ(c.header.bounds[0], 0.0f);
        EXPECT_EQ(c.header.bounds[1], 197607.0f);
        EXPECT_EQ(c.result.sizeX, 0.0f);
    }
    {
        SCOPED_TRACE("a single cancel: the rest of the scan is read whole, the next scan is not");
        ScriptedWindow window;
        window.cancelFrom = window.cancelUntil = 1;
        const Converted c = Convert(path, 100, window);
        EXPECT_TRUE(c.result.cancelled);
        EXPECT_EQ(c.result.keptPoints, 1000 + 65536 * 2 + 3392);
        EXPECT_EQ(c.points.back().x, 199999.0f);
        EXPECT_EQ(c.points.back().z, 0.0f);
    }
    {
        SCOPED_TRACE("the point index is not advanced for the point where the block was left");
        ScriptedWindow window;
        window.cancelFrom = window.cancelUntil = 1;
        const Converted c = Convert(path, 50, window);   // step 2, estimate 100005: every 500 kept
        ASSERT_GT(c.points.size(), 501u);
        EXPECT_EQ(c.points[499].x, 998.0f);
        // Index 998 is even again at the next block's first point, which is kept.
        EXPECT_EQ(c.points[500].x, 65536.0f);
        EXPECT_EQ(c.points[501].x, 65538.0f);
    }
    std::remove(path.c_str());
}

namespace {

// Replaces texts in the logical bytes of an E57 file, keeping its length, and
// recomputes the page checksums.
void PatchLogical(const std::string& path, const std::vector<std::pair<std::string, std::string>>& edits)
{
    e57test::Bytes logical = e57test::ToLogical(e57test::ReadFile(path));
    std::string text(logical.begin(), logical.end());
    for (const auto& [from, to] : edits)
        text = e57test::Replace(text, from, to);
    ASSERT_EQ(text.size(), logical.size());
    e57test::WriteFile(path, e57test::Paginate(e57test::Bytes(text.begin(), text.end())));
}

}  // namespace

TEST(Conversion, HugeDeclaredCountClampsTheProgressMaximumAndReaderErrorsPassThrough)
{
    // Declare 5000000000 points for a 3-point scan (a shorter description keeps the length).
    TestScan s = Line(3);
    s.description = "0123456789";
    const std::string path = TempPath("huge.e57");
    WriteE57(path, {s});
    PatchLogical(path, {{"recordCount=\"3\"", "recordCount=\"5000000000\""}, {"0123456789", "0"}});

    e57::Reader reader(path, e57::ReaderOptions());
    ASSERT_TRUE(reader.IsOpen());
    const std::string gspc = path + ".gspc";
    GspcWriter writer;
    ASSERT_TRUE(writer.Open(gspc.c_str()));
    ScriptedWindow window;
    bool windowOpen = false;
    EXPECT_THROW(ConvertE57ToGspc(reader, 1, writer, 100, "T", window, windowOpen), std::exception);
    EXPECT_EQ(window.calls.back(), "NextPhase Punktwolke konvertieren... 2000000000");
    EXPECT_TRUE(windowOpen) << "the caller must learn that it has to close the window";
    writer.Close();
    std::remove(gspc.c_str());
    std::remove(path.c_str());
}
