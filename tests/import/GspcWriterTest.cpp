// The bytes of the point file: header, records, bounds patched at Close.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "import/GspcWriter.h"

namespace {

std::string TempPath(const std::string& name)
{
    return ::testing::TempDir() + "gspcwriter_" + std::to_string(getpid()) + "_" + name;
}

std::vector<unsigned char> ReadAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), {});
}

uint32_t U32At(const std::vector<unsigned char>& d, size_t off)
{
    return uint32_t(d[off]) | uint32_t(d[off + 1]) << 8 | uint32_t(d[off + 2]) << 16 | uint32_t(d[off + 3]) << 24;
}

float F32At(const std::vector<unsigned char>& d, size_t off)
{
    const uint32_t bits = U32At(d, off);
    float f;
    std::memcpy(&f, &bits, 4);
    return f;
}

std::vector<float> HeaderBounds(const std::vector<unsigned char>& d)
{
    std::vector<float> b;
    for (int i = 0; i < 6; ++i)
        b.push_back(F32At(d, 8 + 4 * i));
    return b;
}

}  // namespace

TEST(GspcWriter, FileWithoutPointsIsJustTheHeader)
{
    const std::string path = TempPath("empty.gspc");
    GspcWriter w;
    ASSERT_TRUE(w.Open(path.c_str()));
    ASSERT_TRUE(w.Close());
    const auto d = ReadAll(path);
    const unsigned char expected[32] = {'G', 'S', 'P', 'C', 2, 0, 0, 0};
    ASSERT_EQ(d.size(), 32u);
    EXPECT_EQ(0, std::memcmp(d.data(), expected, 32));
    EXPECT_FALSE(w.Close()) << "second Close";
    EXPECT_FALSE(w.WriteFailed());
    std::remove(path.c_str());
}

TEST(GspcWriter, CloseWithoutOpenAndFailedOpen)
{
    GspcWriter never;
    EXPECT_FALSE(never.Close());

    GspcWriter w;
    const std::string bad = TempPath("no/such/folder/x.gspc");
    EXPECT_FALSE(w.Open(bad.c_str()));
    EXPECT_FALSE(w.Close());
    EXPECT_EQ(access(bad.c_str(), F_OK), -1);
}

TEST(GspcWriter, RecordsAreFifteenBytesLittleEndianAndBoundsInterleaved)
{
    const std::string path = TempPath("two.gspc");
    GspcWriter w;
    ASSERT_TRUE(w.Open(path.c_str()));
    w.Write(1.5f, -2.0f, 3.25f, 10, 20, 30);
    w.Write(-4.0f, 5.0f, 0.5f, 255, 0, 7);
    ASSERT_TRUE(w.Close());

    const auto d = ReadAll(path);
    ASSERT_EQ(d.size(), 32u + 2 * 15);
    // Interleaved per axis: min X, max X, min Y, max Y, min Z, max Z.
    EXPECT_EQ(HeaderBounds(d), (std::vector<float>{-4.0f, 1.5f, -2.0f, 5.0f, 0.5f, 3.25f}));
    EXPECT_EQ(U32At(d, 32), 0x3FC00000u);   // 1.5f, least significant byte first
    EXPECT_FLOAT_EQ(F32At(d, 36), -2.0f);
    EXPECT_FLOAT_EQ(F32At(d, 40), 3.25f);
    EXPECT_EQ(d[44], 10);
    EXPECT_EQ(d[45], 20);
    EXPECT_EQ(d[46], 30);
    EXPECT_FLOAT_EQ(F32At(d, 47), -4.0f);   // second record starts 15 bytes later
    EXPECT_FLOAT_EQ(F32At(d, 51), 5.0f);
    EXPECT_FLOAT_EQ(F32At(d, 55), 0.5f);
    EXPECT_EQ(d[59], 255);
    EXPECT_EQ(d[60], 0);
    EXPECT_EQ(d[61], 7);
    // The bounds stay readable after Close.
    EXPECT_EQ(w.MinX(), -4.0f);
    EXPECT_EQ(w.MaxZ(), 3.25f);
    std::remove(path.c_str());
}

TEST(GspcWriter, BoundsRules)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    {
        SCOPED_TRACE("one point: min equals max on every axis, also for negative values");
        GspcWriter w;
        const std::string path = TempPath("one.gspc");
        ASSERT_TRUE(w.Open(path.c_str()));
        w.Write(-7.0f, -8.0f, -9.0f, 1, 2, 3);
        ASSERT_TRUE(w.Close());
        EXPECT_EQ(HeaderBounds(ReadAll(path)), (std::vector<float>{-7, -7, -8, -8, -9, -9}));
        std::remove(path.c_str());
    }
    {
        SCOPED_TRACE("a NaN after the first point never replaces a bound");
        GspcWriter w;
        const std::string path = TempPath("nanlater.gspc");
        ASSERT_TRUE(w.Open(path.c_str()));
        w.Write(1, 1, 1, 0, 0, 0);
        w.Write(nan, 2, nan, 0, 0, 0);
        w.Write(0, nan, 3, 0, 0, 0);
        ASSERT_TRUE(w.Close());
        const auto d = ReadAll(path);
        EXPECT_EQ(HeaderBounds(d), (std::vector<float>{0, 1, 1, 2, 1, 3}));
        EXPECT_TRUE(std::isnan(F32At(d, 32 + 15)));   // the record itself keeps its NaN
        std::remove(path.c_str());
    }
    {
        SCOPED_TRACE("a NaN in the first point sticks in both bounds of its axis");
        GspcWriter w;
        const std::string path = TempPath("nanfirst.gspc");
        ASSERT_TRUE(w.Open(path.c_str()));
        w.Write(nan, 1, 1, 0, 0, 0);
        w.Write(5, -1, 2, 0, 0, 0);
        ASSERT_TRUE(w.Close());
        const auto b = HeaderBounds(ReadAll(path));
        EXPECT_TRUE(std::isnan(b[0]));
        EXPECT_TRUE(std::isnan(b[1]));
        EXPECT_EQ(b[2], -1.0f);
        EXPECT_EQ(b[5], 2.0f);
        std::remove(path.c_str());
    }
}

TEST(GspcWriter, ManyPointsCrossItsBufferWithoutLosingOrReorderingRecords)
{
    // More records than the writer's internal block, and not a multiple of it.
    const int count = 300001;
    const std::string path = TempPath("many.gspc");
    GspcWriter w;
    ASSERT_TRUE(w.Open(path.c_str()));
    for (int i = 0; i < count; ++i)
        w.Write(float(i), float(-i), float(i % 1000), static_cast<unsigned char>(i), static_cast<unsigned char>(i >> 8),
                static_cast<unsigned char>(i >> 16));
    ASSERT_TRUE(w.Close());
    EXPECT_FALSE(w.WriteFailed());
    const auto d = ReadAll(path);
    ASSERT_EQ(d.size(), 32u + 15u * count);
    EXPECT_EQ(HeaderBounds(d), (std::vector<float>{0, float(count - 1), float(-(count - 1)), 0, 0, 999}));
    for (int i : {0, 1, 65535, 65536, 65537, 131071, count - 1}) {
        const size_t off = 32 + 15 * size_t(i);
        ASSERT_EQ(F32At(d, off), float(i)) << i;
        ASSERT_EQ(F32At(d, off + 4), float(-i)) << i;
        ASSERT_EQ(d[off + 12], static_cast<unsigned char>(i)) << i;
        ASSERT_EQ(d[off + 13], static_cast<unsigned char>(i >> 8)) << i;
        ASSERT_EQ(d[off + 14], static_cast<unsigned char>(i >> 16)) << i;
    }
    std::remove(path.c_str());
}

TEST(GspcWriter, OpenTruncatesAnExistingFile)
{
    const std::string path = TempPath("trunc.gspc");
    {
        std::ofstream out(path, std::ios::binary);
        out << std::string(1000, 'x');
    }
    GspcWriter w;
    ASSERT_TRUE(w.Open(path.c_str()));
    w.Write(1, 2, 3, 4, 5, 6);
    ASSERT_TRUE(w.Close());
    EXPECT_EQ(ReadAll(path).size(), 47u);
    std::remove(path.c_str());
}

TEST(GspcWriter, BlockWriteGivesTheSameBytesAsSingleWrites)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    // Signed zeros: of equal values the first one seen stays in the bounds.
    std::vector<float> x = {nan, -0.0f, 0.0f, 3.0f, -2.0f, nan};
    std::vector<float> y = {-0.0f, 0.0f, -0.0f, nan, 1.0f, 2.0f};
    std::vector<float> z = {0.0f, -0.0f, 5.0f, -5.0f, nan, 0.0f};
    for (int i = 0; i < 100000; ++i) {   // cross the internal block more than once
        x.push_back(float(i % 977) - 400.0f);
        y.push_back(float(i % 13));
        z.push_back(-float(i % 101));
    }
    std::vector<unsigned char> rgb;
    for (size_t i = 0; i < x.size() * 3; ++i)
        rgb.push_back(static_cast<unsigned char>(i * 7));

    const std::string single = TempPath("single.gspc"), block = TempPath("block.gspc");
    GspcWriter a;
    ASSERT_TRUE(a.Open(single.c_str()));
    for (size_t i = 0; i < x.size(); ++i)
        a.Write(x[i], y[i], z[i], rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]);
    ASSERT_TRUE(a.Close());

    GspcWriter b;
    ASSERT_TRUE(b.Open(block.c_str()));
    b.Write(x.data(), y.data(), z.data(), rgb.data(), 0);
    b.Write(x.data(), y.data(), z.data(), rgb.data(), 2);
    b.Write(x.data() + 2, y.data() + 2, z.data() + 2, rgb.data() + 6, x.size() - 2);
    ASSERT_TRUE(b.Close());

    const auto da = ReadAll(single), db = ReadAll(block);
    ASSERT_EQ(da.size(), 32 + 15 * x.size());
    EXPECT_TRUE(da == db);
    const auto bounds = HeaderBounds(da);
    EXPECT_TRUE(std::isnan(bounds[0]) && std::isnan(bounds[1]));
    EXPECT_TRUE(std::signbit(bounds[2])) << "min Y stays the first -0";
    EXPECT_TRUE(std::signbit(bounds[3]) == false && bounds[3] == 12.0f);
    EXPECT_EQ(bounds[4], -100.0f);
    EXPECT_EQ(bounds[5], 5.0f);
    std::remove(single.c_str());
    std::remove(block.c_str());
}
