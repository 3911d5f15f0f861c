// Every sample file reads as documented: scan and point counts, values that
// agree between the encodings of the same data, poses, colour and failures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "support/E57TestSupport.h"
#include "e57/E57Exception.h"

using namespace e57test;
using ::testing::HasSubstr;

namespace {

struct Expected {
    const char* file;
    int64_t scans;
    int64_t points;
};

const Expected kSamples[] = {
    {"bunnyDouble.e57", 1, 30571},        {"bunnyFloat.e57", 1, 30571},  {"bunnyInt32.e57", 1, 30571},
    {"ColouredCubeFloat.e57", 1, 7680},   {"ColouredCubeDouble.e57", 1, 7680},
    {"ZeroPoints.e57", 1, 0},             {"empty.e57", 0, 0},           {"PinholeImageOnly.e57", 0, 0},
    {"tiny_pc_and_images.e57", 1, 2},     {"mixed_a.e57", 4, 66228},     {"mixed_b.e57", 3, 33957},
    {"mixed_c.e57", 4, 61422},
};

}  // namespace

TEST(ReaderConformance, EverySampleYieldsItsScansAndPoints)
{
    PW_REQUIRE_SAMPLE("bunnyFloat.e57");
    for (const Expected& e : kSamples) {
        SCOPED_TRACE(e.file);
        e57::Reader reader(Sample(e.file), e57::ReaderOptions{100});
        ASSERT_TRUE(reader.IsOpen());
        ASSERT_EQ(reader.GetData3DCount(), e.scans);
        int64_t declared = 0, read = 0;
        for (int64_t i = 0; i < e.scans; ++i) {
            e57::Data3D h;
            ASSERT_TRUE(reader.ReadData3D(i, h));
            declared += h.pointCount;
            ScanPoints p = ReadScan(reader, i);
            EXPECT_EQ(static_cast<int64_t>(p.x.size()), h.pointCount);
            read += static_cast<int64_t>(p.x.size());
        }
        EXPECT_EQ(declared, e.points);
        EXPECT_EQ(read, e.points);
        e57::Data3D h;
        EXPECT_FALSE(reader.ReadData3D(e.scans, h));
        EXPECT_FALSE(reader.ReadData3D(-1, h));
        EXPECT_EQ(reader.VerifyAllPages(), 0u);
        EXPECT_TRUE(reader.Close());
        EXPECT_FALSE(reader.IsOpen());
    }
}

TEST(ReaderConformance, BunnyEncodingsDecodeToTheSamePoints)
{
    PW_REQUIRE_SAMPLE("bunnyDouble.e57");
    e57::Reader dr(Sample("bunnyDouble.e57"), {});
    e57::Reader fr(Sample("bunnyFloat.e57"), {});
    e57::Reader ir(Sample("bunnyInt32.e57"), {});
    e57::Data3D ih;
    ASSERT_TRUE(ir.ReadData3D(0, ih));
    ASSERT_EQ(ih.prototype.size(), 4u);
    EXPECT_EQ(ih.prototype[0].encoding, e57::FieldEncoding::ScaledInteger);
    EXPECT_EQ(ih.prototype[0].bitWidth, 32u);
    EXPECT_EQ(ih.prototype[3].name, "cartesianInvalidState");
    EXPECT_EQ(ih.prototype[3].bitWidth, 1u);
    const double resolution = ih.prototype[0].scale;

    ScanPoints d = ReadScan(dr, 0), f = ReadScan(fr, 0), i = ReadScan(ir, 0, 1000);
    ASSERT_EQ(d.x.size(), 30571u);
    ASSERT_EQ(f.x.size(), d.x.size());
    ASSERT_EQ(i.x.size(), d.x.size());
    for (size_t k = 0; k < d.x.size(); ++k) {
        const double dv[3] = {d.x[k], d.y[k], d.z[k]};
        const double fv[3] = {f.x[k], f.y[k], f.z[k]};
        const double iv[3] = {i.x[k], i.y[k], i.z[k]};
        for (int c = 0; c < 3; ++c) {
            ASSERT_EQ(static_cast<float>(dv[c]), static_cast<float>(fv[c])) << "point " << k;
            ASSERT_NEAR(dv[c], iv[c], resolution / 2 + 1e-12) << "point " << k;
        }
        ASSERT_EQ(d.cartesianInvalid[k], i.cartesianInvalid[k]);
    }
    // The header's bounds hold every point.
    e57::Data3D dh;
    ASSERT_TRUE(dr.ReadData3D(0, dh));
    ASSERT_TRUE(dh.hasCartesianBounds);
    EXPECT_DOUBLE_EQ(*std::min_element(d.x.begin(), d.x.end()), dh.cartesianBounds.xMinimum);
    EXPECT_DOUBLE_EQ(*std::max_element(d.z.begin(), d.z.end()), dh.cartesianBounds.zMaximum);
    EXPECT_EQ(dh.name, "bunny");
    EXPECT_EQ(dh.guid, "{9CA24C38-C93E-40E8-A366-F49977C7E3EB}");
    EXPECT_FALSE(dh.pointFields.colorRedField);
    EXPECT_TRUE(dh.pointFields.cartesianInvalidStateField);
}

TEST(ReaderConformance, ColouredCubesAgreeAndCarryColourLimits)
{
    PW_REQUIRE_SAMPLE("ColouredCubeFloat.e57");
    e57::Reader fr(Sample("ColouredCubeFloat.e57"), {});
    e57::Reader dr(Sample("ColouredCubeDouble.e57"), {});
    e57::Data3D h;
    ASSERT_TRUE(fr.ReadData3D(0, h));
    EXPECT_TRUE(h.pointFields.colorRedField && h.pointFields.colorGreenField && h.pointFields.colorBlueField);
    EXPECT_FALSE(h.pointFields.isColorInvalidField);
    EXPECT_EQ(h.colorLimits.colorRedMinimum, 0.0);
    EXPECT_EQ(h.colorLimits.colorBlueMaximum, 255.0);
    EXPECT_EQ(h.description, "libE57Format test: cube of coloured points using floats");

    ScanPoints f = ReadScan(fr, 0, 999), d = ReadScan(dr, 0);
    ASSERT_EQ(f.x.size(), 7680u);
    ASSERT_EQ(d.x.size(), 7680u);
    EXPECT_EQ(f.red, d.red);
    EXPECT_EQ(f.green, d.green);
    EXPECT_EQ(f.blue, d.blue);
    for (size_t k = 0; k < f.x.size(); ++k) {
        ASSERT_EQ(static_cast<float>(d.x[k]), f.x[k]);
        ASSERT_LE(std::fabs(f.y[k]), 0.5);
    }
}

TEST(ReaderConformance, MixedFilesReportPosesColourFlagsAndEncodings)
{
    PW_REQUIRE_SAMPLE("mixed_a.e57");
    e57::Reader a(Sample("mixed_a.e57"), {});
    e57::Data3D h;
    ASSERT_TRUE(a.ReadData3D(0, h));
    EXPECT_EQ(h.name, "scan0");
    EXPECT_EQ(h.pointCount, 13076);
    EXPECT_DOUBLE_EQ(h.pose.rotation.w, 1.76219272132033311e-01);
    EXPECT_DOUBLE_EQ(h.pose.rotation.z, -4.01761978563486999e-01);
    EXPECT_DOUBLE_EQ(h.pose.translation.x, 2.75024899080366367e+01);
    EXPECT_DOUBLE_EQ(h.pose.translation.z, -5.2271958813846453e-01);
    EXPECT_TRUE(h.pointFields.isColorInvalidField);
    EXPECT_EQ(h.colorLimits.colorGreenMaximum, 65535.0);
    ScanPoints p = ReadScan(a, 0);
    const auto invalid = std::count(p.colourInvalid.begin(), p.colourInvalid.end(), 1);
    EXPECT_GT(invalid, 0);
    EXPECT_LT(invalid, 13076);
    EXPECT_GT(*std::max_element(p.red.begin(), p.red.end()), 255);  // 16-bit colour

    ASSERT_TRUE(a.ReadData3D(2, h));
    EXPECT_EQ(h.pose.rotation.w, 1.0);  // no pose: identity
    EXPECT_EQ(h.pose.translation.y, 0.0);
    ASSERT_TRUE(a.ReadData3D(3, h));
    EXPECT_FALSE(h.pointFields.colorRedField);

    // Scaled-integer coordinates of 24 and 20 bits, and 8-bit colour.
    e57::Reader b(Sample("mixed_b.e57"), {});
    ASSERT_TRUE(b.ReadData3D(0, h));
    EXPECT_EQ(h.prototype[0].encoding, e57::FieldEncoding::ScaledInteger);
    EXPECT_EQ(h.prototype[0].bitWidth, 24u);
    EXPECT_DOUBLE_EQ(h.prototype[0].scale, 1e-4);
    p = ReadScan(b, 0, 777);
    for (double v : p.x) {  // whole multiples of the scale
        ASSERT_NEAR(v * 1e4, std::round(v * 1e4), 1e-6);
        ASSERT_LE(std::fabs(v), 500.0);
    }
    e57::Reader c(Sample("mixed_c.e57"), {});
    ASSERT_TRUE(c.ReadData3D(1, h));
    EXPECT_EQ(h.colorLimits.colorRedMaximum, 255.0);
    p = ReadScan(c, 1);
    EXPECT_LE(*std::max_element(p.red.begin(), p.red.end()), 255);
}

TEST(ReaderConformance, ZeroPointScanAndImageOnlyFiles)
{
    PW_REQUIRE_SAMPLE("ZeroPoints.e57");
    e57::Reader z(Sample("ZeroPoints.e57"), {});
    e57::Data3D h;
    ASSERT_TRUE(z.ReadData3D(0, h));
    EXPECT_EQ(h.pointCount, 0);
    EXPECT_TRUE(h.pointFields.cartesianXField);
    EXPECT_EQ(h.prototype.size(), 3u);
    std::vector<double> x(8);
    e57::Data3DPointsData_d buf;
    buf.cartesianX = x.data();
    e57::CompressedVectorReader cv = z.SetUpData3DPointsData(0, x.size(), buf);
    EXPECT_EQ(cv.read(), 0u);
    EXPECT_EQ(cv.read(), 0u);

    e57::Reader t(Sample("tiny_pc_and_images.e57"), {});
    ASSERT_EQ(t.GetData3DCount(), 1);
    EXPECT_EQ(ReadScan(t, 0).blocks, std::vector<unsigned>{2});
}

TEST(ReaderConformance, BrokenSamplesFailWithAClearError)
{
    PW_REQUIRE_SAMPLE("bad-crc.e57");
    try {
        e57::Reader r(Sample("bad-crc.e57"), e57::ReaderOptions{100});
        FAIL() << "bad-crc.e57 opened";
    } catch (const e57::E57Exception& e) {
        EXPECT_THAT(e.what(), HasSubstr("checksum mismatch in page 0"));
        EXPECT_THAT(e.what(), HasSubstr("stored 0x1392E413, computed 0x360E223D"));
    }
    // With checks switched off the single page's data is intact enough to open
    // (it has no scans); the bad page is still counted on request.
    e57::Reader r(Sample("bad-crc.e57"), e57::ReaderOptions{0});
    EXPECT_TRUE(r.IsOpen());
    EXPECT_EQ(r.GetData3DCount(), 0);
    EXPECT_EQ(r.VerifyAllPages(), 1u);

    e57::Reader inv(Sample("InvalidCVHeader.e57"), {});
    ASSERT_EQ(inv.GetData3DCount(), 1);
    std::vector<double> x(8);
    e57::Data3DPointsData_d buf;
    buf.cartesianX = x.data();
    try {
        inv.SetUpData3DPointsData(0, x.size(), buf);
        FAIL() << "InvalidCVHeader.e57 gave a point reader";
    } catch (const e57::E57Exception& e) {
        EXPECT_THAT(e.what(), HasSubstr("compressed vector section at offset 48 is invalid"));
    }
}
