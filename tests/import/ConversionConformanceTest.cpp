// Conversion of the shared sample files: the point file's size and SHA-256
// must equal the published results at densities 100, 25, 10 and 1; broken
// files must fail with an error.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "e57/Reader.h"
#include "import/ConvertE57ToGspc.h"
#include "import/GspcWriter.h"
#include "support/TestSupport.h"

namespace {

class SilentWindow : public host::ProcessWindow {
public:
    host::ErrCode Open(const std::string&, int32_t) override { return host::NoError; }
    host::ErrCode NextPhase(const std::string&, int32_t) override { return host::NoError; }
    host::ErrCode SetValue(int32_t) override { return host::NoError; }
    host::ErrCode IsCanceled(bool& c) override { c = false; return host::NoError; }
    host::ErrCode Close() override { return host::NoError; }
};

struct Expected {
    const char* file;
    int density;
    int64_t total;
    int64_t kept;
    uint64_t bytes;
    const char* sha256;
};

// Groups of four densities share the results of equal point sets.
const Expected kTable[] = {
    {"ColouredCubeDouble.e57", 100, 7680, 7680, 115232, "f0c42fc57c83156c1e9794ddc9d29d42e9ca36d0854d3d2eb0a795cfb37dcb9f"},
    {"ColouredCubeDouble.e57", 25, 7680, 1920, 28832, "0f418fddef663737cff765d5a90e0ce9a00ca25d41fe24a1fe31006314f012a2"},
    {"ColouredCubeDouble.e57", 10, 7680, 768, 11552, "c956573047ef291695531a3b0a373e706e15281156d4545020de3e699ab8f8ee"},
    {"ColouredCubeDouble.e57", 1, 7680, 77, 1187, "8ba4521a40d7a0548c629e743537c9908673093a3d7169b2ccf4e5ce5a75bbb1"},
    {"ColouredCubeFloat.e57", 100, 7680, 7680, 115232, "f0c42fc57c83156c1e9794ddc9d29d42e9ca36d0854d3d2eb0a795cfb37dcb9f"},
    {"ColouredCubeFloat.e57", 25, 7680, 1920, 28832, "0f418fddef663737cff765d5a90e0ce9a00ca25d41fe24a1fe31006314f012a2"},
    {"ColouredCubeFloat.e57", 10, 7680, 768, 11552, "c956573047ef291695531a3b0a373e706e15281156d4545020de3e699ab8f8ee"},
    {"ColouredCubeFloat.e57", 1, 7680, 77, 1187, "8ba4521a40d7a0548c629e743537c9908673093a3d7169b2ccf4e5ce5a75bbb1"},
    {"ZeroPoints.e57", 100, 0, 0, 32, "04e4a99542b4ec3ee016dfa23d9b4a60e2d19ec27c100f4669045fcc7a89a80a"},
    {"ZeroPoints.e57", 25, 0, 0, 32, "04e4a99542b4ec3ee016dfa23d9b4a60e2d19ec27c100f4669045fcc7a89a80a"},
    {"ZeroPoints.e57", 10, 0, 0, 32, "04e4a99542b4ec3ee016dfa23d9b4a60e2d19ec27c100f4669045fcc7a89a80a"},
    {"ZeroPoints.e57", 1, 0, 0, 32, "04e4a99542b4ec3ee016dfa23d9b4a60e2d19ec27c100f4669045fcc7a89a80a"},
    {"bunnyDouble.e57", 100, 30571, 30571, 458597, "26bbd2136021858b2cbc31fa8b950e780262c70f7cc5ff96f7b59293e94b0f7d"},
    {"bunnyDouble.e57", 25, 30571, 7643, 114677, "d846b2395a36bf9ece7e88ca31add7190601d4d30b9a0c803012450ac0c09882"},
    {"bunnyDouble.e57", 10, 30571, 3058, 45902, "b8d1a58490cafe8bf66e29590dfe6a984e5d225976a6bc6d4964fd3dd23c8e6b"},
    {"bunnyDouble.e57", 1, 30571, 306, 4622, "5609c1bd6c2845262a1b0afb197cb3ebb95a92f4e44067e22cd4f1366873c30b"},
    {"bunnyFloat.e57", 100, 30571, 30571, 458597, "26bbd2136021858b2cbc31fa8b950e780262c70f7cc5ff96f7b59293e94b0f7d"},
    {"bunnyFloat.e57", 25, 30571, 7643, 114677, "d846b2395a36bf9ece7e88ca31add7190601d4d30b9a0c803012450ac0c09882"},
    {"bunnyFloat.e57", 10, 30571, 3058, 45902, "b8d1a58490cafe8bf66e29590dfe6a984e5d225976a6bc6d4964fd3dd23c8e6b"},
    {"bunnyFloat.e57", 1, 30571, 306, 4622, "5609c1bd6c2845262a1b0afb197cb3ebb95a92f4e44067e22cd4f1366873c30b"},
    {"bunnyInt32.e57", 100, 30571, 30571, 458597, "26bbd2136021858b2cbc31fa8b950e780262c70f7cc5ff96f7b59293e94b0f7d"},
    {"bunnyInt32.e57", 25, 30571, 7643, 114677, "d846b2395a36bf9ece7e88ca31add7190601d4d30b9a0c803012450ac0c09882"},
    {"bunnyInt32.e57", 10, 30571, 3058, 45902, "b8d1a58490cafe8bf66e29590dfe6a984e5d225976a6bc6d4964fd3dd23c8e6b"},
    {"bunnyInt32.e57", 1, 30571, 306, 4622, "5609c1bd6c2845262a1b0afb197cb3ebb95a92f4e44067e22cd4f1366873c30b"},
    {"mixed_a.e57", 100, 66228, 66228, 993452, "cbf68c71c923f0ebec94d3f857245da2c509487b1c00d0d2e2a638988a39fed9"},
    {"mixed_a.e57", 25, 66228, 16557, 248387, "f0c90919d3f13ca765c234faba162639d582a00abf9befbe644fac9a6ddcd8aa"},
    {"mixed_a.e57", 10, 66228, 6623, 99377, "5dd32c39110f96b947d38debf77ac67ec3c6d7c419fb2dbd469149bdeaab495f"},
    {"mixed_a.e57", 1, 66228, 663, 9977, "05d39963334008fd064d243a4e85179e307a9a7841a708a05e52469b9462204a"},
    {"mixed_b.e57", 100, 33957, 33957, 509387, "7e76563df9b1d8515decc3aea8ef353ffda497f6d3befa774bcb5497078c61e0"},
    {"mixed_b.e57", 25, 33957, 8490, 127382, "4f1e87bdc9a8deb9ace3249ca026ff96ca6377e48c9a4e1da1e7f0cd32d64642"},
    {"mixed_b.e57", 10, 33957, 3396, 50972, "d3ac744fa3766ba5a7d994e72fc2c9eb420547c4d0e76182420bae3006f27497"},
    {"mixed_b.e57", 1, 33957, 340, 5132, "d7a8caf7e3c4fbd8ef95ac66c077f5e18cbef93dd773da71f96273500773e3ff"},
    {"mixed_c.e57", 100, 61422, 61422, 921362, "16016780c2fe3306b4deb3e048d55a117b11b868f0a85b5e7b55c64fea12f090"},
    {"mixed_c.e57", 25, 61422, 15356, 230372, "1cb832d0883bbcd31044dd58a186ff508a17be2be070dd847bc459e65b285071"},
    {"mixed_c.e57", 10, 61422, 6143, 92177, "609ce5c7ac203608beed10df77b8cc2ca6a3a0960d759b6decdb2a3f329a97bf"},
    {"mixed_c.e57", 1, 61422, 615, 9257, "a75afc5f6917f9c45a2ba754a107e00535e60993626cdc5a845949e7e1f6cfc0"},
    {"tiny_pc_and_images.e57", 100, 2, 2, 62, "f50ce0761e99379e4635da2aba80643d6ff279723904be27894da631b6f93558"},
    {"tiny_pc_and_images.e57", 25, 2, 1, 47, "ab761e0df257eaa985cead1fee457aa9e80037c66205887a0d2122fe26c632ec"},
    {"tiny_pc_and_images.e57", 10, 2, 1, 47, "ab761e0df257eaa985cead1fee457aa9e80037c66205887a0d2122fe26c632ec"},
    {"tiny_pc_and_images.e57", 1, 2, 1, 47, "ab761e0df257eaa985cead1fee457aa9e80037c66205887a0d2122fe26c632ec"},
};

std::string SampleDir()
{
    return std::string(PW_SHARED_DIR) + "/e57/";
}

bool SamplesPresent()
{
    return pwtest::SamplePresent("bunnyFloat.e57");
}

}  // namespace

TEST(ConversionConformance, SampleFilesGiveThePublishedPointFiles)
{
    if (!SamplesPresent())
        GTEST_SKIP() << "shared sample folder " << SampleDir() << " is absent";
    const std::string out = ::testing::TempDir() + "conformance_" + std::to_string(getpid()) + ".gspc";
    for (const Expected& e : kTable) {
        SCOPED_TRACE(std::string(e.file) + " at density " + std::to_string(e.density));
        e57::Reader reader(SampleDir() + e.file, e57::ReaderOptions());
        ASSERT_TRUE(reader.IsOpen());
        GspcWriter writer;
        ASSERT_TRUE(writer.Open(out.c_str()));
        SilentWindow window;
        bool windowOpen = false;
        const ConversionResult r = ConvertE57ToGspc(reader, reader.GetData3DCount(), writer, e.density,
                                                    "E57 importieren...", window, windowOpen);
        EXPECT_EQ(r.totalPoints, e.total);
        EXPECT_EQ(r.keptPoints, e.kept);
        struct stat st {};
        ASSERT_EQ(stat(out.c_str(), &st), 0);
        EXPECT_EQ(uint64_t(st.st_size), e.bytes);
        EXPECT_EQ(pwtest::Sha256Hex(pwtest::Slurp(out)), e.sha256);
    }
    std::remove(out.c_str());
}

TEST(ConversionConformance, BrokenFilesAndFilesWithoutScansFail)
{
    if (!SamplesPresent())
        GTEST_SKIP() << "shared sample folder " << SampleDir() << " is absent";
    const std::string out = ::testing::TempDir() + "conformance_bad_" + std::to_string(getpid()) + ".gspc";
    for (const char* name : {"bad-crc.e57", "InvalidCVHeader.e57"}) {
        SCOPED_TRACE(name);
        EXPECT_THROW(
            {
                e57::Reader reader(SampleDir() + name, e57::ReaderOptions());
                GspcWriter writer;
                ASSERT_TRUE(writer.Open(out.c_str()));
                SilentWindow window;
                bool windowOpen = false;
                ConvertE57ToGspc(reader, reader.GetData3DCount(), writer, 100, "T", window, windowOpen);
            },
            std::exception);
    }
    for (const char* name : {"empty.e57", "PinholeImageOnly.e57"}) {
        SCOPED_TRACE(name);
        e57::Reader reader(SampleDir() + name, e57::ReaderOptions());
        ASSERT_TRUE(reader.IsOpen());
        EXPECT_EQ(reader.GetData3DCount(), 0);
    }
    std::remove(out.c_str());
}
