// The bytes of the point file: header, records, bounds patched at Close.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "import/GspcWriter.h"

namespace {

const float kNaN = std::numeric_limits<float>::quiet_NaN();

std::string TempPath(const std::string& name)
{
    return ::testing::TempDir() + "gspcwriter_" + std::to_string(getpid()) + "_" + name;
}

std::vector<unsigned char> ReadAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), {});
}

float F32At(const std::vector<unsigned char>& d, size_t off)
{
    const uint32_t bits = uint32_t(d[off]) | uint32_t(d[off + 1]) << 8 | uint32_t(d[off + 2]) << 16 |
                          uint32_t(d[off + 3]) << 24;
    float f;
    std::memcpy(&f, &bits, 4);
    return f;
}

std::vector<float> Bounds(const std::vector<unsigned char>& d)
{
    std::vector<float> b;
    for (int i = 0; i < 6; ++i)
        b.push_back(F32At(d, 8 + 4 * i));
    return b;
}

struct P {
    float x, y, z;
};

// Writes the points (colour 1, 2, 3) and returns the file's bytes.
std::vector<unsigned char> WriteFile(const std::vector<P>& points)
{
    const std::string path = TempPath("f.gspc");
    GspcWriter w;
    EXPECT_TRUE(w.Open(path.c_str()));
    for (const P& p : points)
        w.Write(p.x, p.y, p.z, 1, 2, 3);
    EXPECT_TRUE(w.Close());
    auto d = ReadAll(path);
    std::remove(path.c_str());
    return d;
}

}  // namespace

TEST(GspcWriter, LayoutAndResults)
{
    const unsigned char emptyFile[32] = {'G', 'S', 'P', 'C', 2, 0, 0, 0};
    const auto empty = WriteFile({});
    ASSERT_EQ(empty.size(), 32u);
    EXPECT_EQ(0, std::memcmp(empty.data(), emptyFile, 32));

    const std::string path = TempPath("two.gspc");
    GspcWriter w;
    EXPECT_FALSE(w.Close()) << "Close without Open";
    EXPECT_FALSE(w.Open(TempPath("no/such/folder/x.gspc").c_str()));
    ASSERT_TRUE(w.Open(path.c_str()));
    w.Write(1.5f, -2.0f, 3.25f, 10, 20, 30);
    w.Write(-4.0f, 5.0f, 0.5f, 255, 0, 7);
    ASSERT_TRUE(w.Close());
    EXPECT_FALSE(w.Close()) << "second Close";

    const auto d = ReadAll(path);
    ASSERT_EQ(d.size(), 32u + 2 * 15);
    EXPECT_EQ(Bounds(d), (std::vector<float>{-4.0f, 1.5f, -2.0f, 5.0f, 0.5f, 3.25f})) << "interleaved per axis";
    EXPECT_EQ((std::vector<unsigned char>(d.begin() + 32, d.begin() + 36)),
              (std::vector<unsigned char>{0x00, 0x00, 0xC0, 0x3F})) << "1.5f, little-endian";
    EXPECT_EQ(F32At(d, 40), 3.25f);
    EXPECT_EQ((std::vector<unsigned char>(d.begin() + 44, d.begin() + 47)), (std::vector<unsigned char>{10, 20, 30}));
    EXPECT_EQ(F32At(d, 47), -4.0f) << "the second record starts 15 bytes later";
    EXPECT_EQ(d[61], 7);
    EXPECT_EQ(w.MinX(), -4.0f) << "bounds stay readable after Close";
    EXPECT_EQ(w.MaxZ(), 3.25f);
    std::remove(path.c_str());
}

TEST(GspcWriter, BoundsRules)
{
    EXPECT_EQ(Bounds(WriteFile({{-7, -8, -9}})), (std::vector<float>{-7, -7, -8, -8, -9, -9}));
    // A NaN after the first point never replaces a bound; the record keeps it.
    const auto later = WriteFile({{1, 1, 1}, {kNaN, 2, kNaN}, {0, kNaN, 3}});
    EXPECT_EQ(Bounds(later), (std::vector<float>{0, 1, 1, 2, 1, 3}));
    EXPECT_TRUE(std::isnan(F32At(later, 47)));
    // A NaN in the first point sticks in both bounds of its axis.
    const auto first = Bounds(WriteFile({{kNaN, 1, 1}, {5, -1, 2}}));
    EXPECT_TRUE(std::isnan(first[0]) && std::isnan(first[1]));
    EXPECT_EQ(first[2], -1.0f);
}

TEST(GspcWriter, BlockWritesGiveTheSameBytesAsSingleWritesAcrossTheBuffer)
{
    // Signed zeros: of equal values the first one seen stays in the bounds.
    std::vector<float> x = {kNaN, -0.0f, 0.0f, 3.0f}, y = {-0.0f, 0.0f, -0.0f, kNaN}, z = {0.0f, -0.0f, 5.0f, -5.0f};
    for (int i = 0; i < 150000; ++i) {   // more than twice the writer's own buffer
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

    const auto da = ReadAll(single);
    ASSERT_EQ(da.size(), 32 + 15 * x.size());
    EXPECT_TRUE(da == ReadAll(block));
    const size_t last = 32 + 15 * (x.size() - 1);
    EXPECT_EQ(F32At(da, last), x.back());
    EXPECT_EQ(da[last + 14], rgb.back());
    const auto bounds = Bounds(da);
    EXPECT_TRUE(std::signbit(bounds[2])) << "min Y stays the first -0";
    EXPECT_EQ(bounds[3], 12.0f);
    EXPECT_EQ(bounds[4], -100.0f);
    std::remove(single.c_str());
    std::remove(block.c_str());
}
