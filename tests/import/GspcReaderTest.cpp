// The defensive point file reader: files of the writer read back; damaged
// files are refused with a message that names the problem.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "import/GspcReader.h"
#include "import/GspcWriter.h"

namespace {

std::string TempPath(const std::string& name)
{
    return ::testing::TempDir() + "gspcreader_" + std::to_string(getpid()) + "_" + name;
}

std::vector<unsigned char> Header(int32_t version, std::vector<float> bounds)
{
    std::vector<unsigned char> h(32, 0);
    std::memcpy(h.data(), "GSPC", 4);
    std::memcpy(h.data() + 4, &version, 4);   // the test machine is little-endian
    std::memcpy(h.data() + 8, bounds.data(), 24);
    return h;
}

std::string RefusalOf(const std::vector<unsigned char>& bytes)
{
    const std::string path = TempPath("bad.gspc");
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                 static_cast<std::streamsize>(bytes.size()));
    std::string outcome = "accepted";
    try {
        GspcReader r(path);
    } catch (const GspcFormatError& e) {
        outcome = e.what();
    }
    std::remove(path.c_str());
    return outcome;
}

}  // namespace

TEST(GspcReader, ReadsBackWhatTheWriterWrote)
{
    const std::string path = TempPath("roundtrip.gspc");
    GspcWriter w;
    ASSERT_TRUE(w.Open(path.c_str()));
    for (int i = 0; i < 70000; ++i)
        w.Write(float(i), 0.5f, -float(i), 1, 2, static_cast<unsigned char>(i));
    ASSERT_TRUE(w.Close());

    GspcReader r(path);
    EXPECT_EQ(r.PointCount(), 70000u);
    EXPECT_EQ(r.Header().bounds[4], -69999.0f);
    std::vector<GspcPoint> block(65536);
    size_t total = 0;
    for (size_t n; (n = r.Read(block.data(), block.size())) > 0; total += n)
        for (size_t i = 0; i < n; ++i)
            ASSERT_TRUE(block[i].x == float(total + i) && block[i].b == static_cast<unsigned char>(total + i));
    EXPECT_EQ(total, 70000u);
    std::remove(path.c_str());
}

TEST(GspcReader, RefusesDamagedFilesAndNonFiles)
{
    const std::vector<float> ok = {0, 1, 0, 1, 0, 1};
    const float nan = std::numeric_limits<float>::quiet_NaN();
    auto wrongMagic = Header(2, ok);
    wrongMagic[0] = 'X';
    auto truncated = Header(2, ok);
    truncated.resize(32 + 15 * 3 - 1);

    EXPECT_NE(RefusalOf({'G', 'S', 'P', 'C', 2, 0}).find("shorter than the 32-byte header"), std::string::npos);
    EXPECT_NE(RefusalOf(wrongMagic).find("magic"), std::string::npos);
    EXPECT_NE(RefusalOf(Header(0x02000000, ok)).find("version 33554432"), std::string::npos);
    EXPECT_NE(RefusalOf(truncated).find("not 32 + 15 * N"), std::string::npos);
    EXPECT_NE(RefusalOf(Header(2, {0, 1, nan, 1, 0, 1})).find("Y bounds are NaN"), std::string::npos);
    EXPECT_NE(RefusalOf(Header(2, {0, 1, 0, 1, -std::numeric_limits<float>::infinity(), 1})).find("Z bounds are infinite"), std::string::npos);
    EXPECT_NE(RefusalOf(Header(2, {2, 1, 0, 1, 0, 1})).find("X bounds are inverted"), std::string::npos);
    EXPECT_THROW(GspcReader(TempPath("does-not-exist.gspc")), GspcFormatError);
    EXPECT_THROW(GspcReader(::testing::TempDir()), GspcFormatError);
    // The header parser never reads past the bytes it is given.
    EXPECT_THROW(ParseGspcHeader(Header(2, ok).data(), 10, 32), GspcFormatError);
}

// The file is checked when opened; if another program cuts it short while the
// points are read, the read fails instead of returning stale or zeroed points.
TEST(GspcReader, AFileCutShortWhileReadIsRefused)
{
    const std::string path = TempPath("shrinking.gspc");
    GspcWriter w;
    ASSERT_TRUE(w.Open(path.c_str()));
    for (int i = 0; i < 100000; ++i)
        w.Write(float(i), 0, 0, 0, 0, 0);
    ASSERT_TRUE(w.Close());

    GspcReader r(path);
    std::vector<GspcPoint> block(65536);
    ASSERT_EQ(r.Read(block.data(), 40), 40u);
    ASSERT_EQ(::truncate(path.c_str(), 32 + 15 * 50000), 0);
    try {
        r.Read(block.data(), block.size());
        ADD_FAILURE() << "a read past the new end returned points";
    } catch (const GspcFormatError& e) {
        EXPECT_NE(std::string(e.what()).find("ended early"), std::string::npos) << e.what();
    }
    std::remove(path.c_str());
}
