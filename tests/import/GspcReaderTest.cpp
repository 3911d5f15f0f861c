// The defensive point file reader: files of the writer read back; every kind
// of damaged file is refused with a message that names the problem.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
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

void WriteBytes(const std::string& path, const std::vector<unsigned char>& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::vector<unsigned char> Header(int32_t version, const float (&bounds)[6])
{
    std::vector<unsigned char> h(32, 0);
    std::memcpy(h.data(), "GSPC", 4);
    std::memcpy(h.data() + 4, &version, 4);   // the test machine is little-endian
    std::memcpy(h.data() + 8, bounds, 24);
    return h;
}

void ExpectRefused(const std::vector<unsigned char>& bytes, const std::string& fragment)
{
    const std::string path = TempPath("bad.gspc");
    WriteBytes(path, bytes);
    try {
        GspcReader r(path);
        ADD_FAILURE() << "accepted a file that should fail with: " << fragment;
    } catch (const GspcFormatError& e) {
        EXPECT_NE(std::string(e.what()).find(fragment), std::string::npos) << e.what();
    }
    std::remove(path.c_str());
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
    EXPECT_EQ(r.Header().bounds[1], 69999.0f);
    EXPECT_EQ(r.Header().bounds[4], -69999.0f);
    std::vector<GspcPoint> block(65536);
    size_t total = 0;
    for (size_t n; (n = r.Read(block.data(), block.size())) > 0; total += n) {
        for (size_t i = 0; i < n; ++i) {
            ASSERT_EQ(block[i].x, float(total + i));
            ASSERT_EQ(block[i].b, static_cast<unsigned char>(total + i));
        }
    }
    EXPECT_EQ(total, 70000u);
    std::remove(path.c_str());
}

TEST(GspcReader, RefusesDamagedFiles)
{
    const float ok[6] = {0, 1, 0, 1, 0, 1};
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();

    ExpectRefused({}, "shorter than the 32-byte header");
    ExpectRefused({'G', 'S', 'P', 'C', 2, 0, 0}, "shorter than the 32-byte header");
    auto wrongMagic = Header(2, ok);
    wrongMagic[0] = 'X';
    ExpectRefused(wrongMagic, "magic");
    ExpectRefused(Header(1, ok), "version 1");
    ExpectRefused(Header(0x02000000, ok), "version");   // big-endian version number

    auto truncated = Header(2, ok);
    truncated.resize(32 + 15 * 3 - 1);
    ExpectRefused(truncated, "not 32 + 15 * N");

    const float nanY[6] = {0, 1, nan, 1, 0, 1};
    ExpectRefused(Header(2, nanY), "Y bounds are NaN");
    const float infZ[6] = {0, 1, 0, 1, -inf, 1};
    ExpectRefused(Header(2, infZ), "Z bounds are infinite");
    const float inverted[6] = {2, 1, 0, 1, 0, 1};
    ExpectRefused(Header(2, inverted), "X bounds are inverted");
}

TEST(GspcReader, RefusesWhatIsNotAFile)
{
    EXPECT_THROW(GspcReader(TempPath("does-not-exist.gspc")), GspcFormatError);
    EXPECT_THROW(GspcReader(::testing::TempDir()), GspcFormatError);
}

TEST(GspcReader, HeaderParserNeverReadsPastTheBytesItIsGiven)
{
    const float ok[6] = {0, 0, 0, 0, 0, 0};
    const auto h = Header(2, ok);
    // A file that claims 32 bytes but only 10 were read.
    EXPECT_THROW(ParseGspcHeader(h.data(), 10, 32), GspcFormatError);
    const GspcHeader parsed = ParseGspcHeader(h.data(), h.size(), 32 + 15 * 4);
    EXPECT_EQ(parsed.pointCount, 4u);
    EXPECT_EQ(parsed.version, 2);
}
