// punktwolke convert, run as a separate process.
#include <gtest/gtest.h>

#include <cstring>
#include <nlohmann/json.hpp>
#include <string>

#include "support/E57Files.h"
#include "support/PunktwolkeRun.h"

using pwtest::RunPunktwolke;

namespace {

using pwtest::SamplePath;

bool SamplesPresent()
{
    return pwtest::SamplePresent("bunnyFloat.e57");
}

float FloatAt(const std::string& d, size_t off)
{
    float f;
    std::memcpy(&f, d.data() + off, 4);
    return f;
}

// Three points (1, 4, -1), (2, 5, 0), (3, 6, 1) in one scan.
void WriteSmallE57(const std::string& path)
{
    pwtest::WriteLineScans(path, {3}, {1, 1}, {1, 4}, {1, -1}, e57::FieldEncoding::Float);
}

}  // namespace

TEST(ConvertCommand, ConvertsWithTheDefaultNameInTheCurrentFolder)
{
    const std::string dir = pwtest::ScratchDir("convert_default");
    // Upper-case extension: the base name loses it all the same.
    WriteSmallE57(dir + "/Haus.E57");
    pwtest::RunOptions here;
    here.cwd = dir;
    const auto r = RunPunktwolke({"convert", "Haus.E57", "--density", "100"}, here);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_NE(r.out.find("total points: 3\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("kept points: 3\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("offset: 1 4 -1\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("size: 2 2 2\n"), std::string::npos) << r.out;
    EXPECT_EQ(pwtest::Slurp(dir + "/Haus_data.gspc").size(), 32u + 3 * 15);

    // A file named only ".e57" keeps the whole name as its base name.
    WriteSmallE57(dir + "/.e57");
    ASSERT_EQ(RunPunktwolke({"convert", ".e57", "--density", "100"}, here).exitCode, 0);
    EXPECT_EQ(pwtest::Slurp(dir + "/.e57_data.gspc").size(), 32u + 3 * 15);
}

TEST(ConvertCommand, OutputMatchesThePublishedPointFile)
{
    if (!SamplesPresent())
        GTEST_SKIP() << "shared sample folder is absent";
    const std::string out = pwtest::ScratchDir("convert_sample") + "/bunny.gspc";
    const auto r = RunPunktwolke({"convert", SamplePath("bunnyFloat.e57"), "-d", "25", "-o", out});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("kept points: 7643\n"), std::string::npos) << r.out;
    EXPECT_EQ(pwtest::Sha256Hex(pwtest::Slurp(out)), "d846b2395a36bf9ece7e88ca31add7190601d4d30b9a0c803012450ac0c09882");
}

TEST(ConvertCommand, WrongUsageExitsWithTwo)
{
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"convert"}, {"convert", "a.e57", "-d", "0"}, {"convert", "a.e57", "-d", "101"},
             {"convert", "a.e57", "--density", "ten"}, {"convert", "a.e57", "--bogus"}}) {
        const auto r = RunPunktwolke(args);
        EXPECT_EQ(r.exitCode, 2) << args.back() << ": " << r.err;
        EXPECT_FALSE(r.err.empty());
    }
    const auto help = RunPunktwolke({"convert", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.out.find("--density"), std::string::npos);
    EXPECT_NE(help.out.find("--threads"), std::string::npos);
    EXPECT_EQ(RunPunktwolke({"convert", "a.e57", "--threads", "0"}).exitCode, 2);
}

TEST(ConvertCommand, FailuresGiveOneClearLine)
{
    if (!SamplesPresent())
        GTEST_SKIP() << "shared sample folder is absent";
    const std::string dir = pwtest::ScratchDir("convert_fail");
    struct Case {
        std::vector<std::string> args;
        std::string start;
    };
    const Case cases[] = {
        {{"convert", dir + "/missing.e57", "-o", dir + "/x.gspc"}, "E57-Datei konnte nicht geöffnet werden. ("},
        {{"convert", SamplePath("empty.e57"), "-o", dir + "/x.gspc"}, "E57-Datei enthält keine Scans."},
        {{"convert", SamplePath("bad-crc.e57"), "-o", dir + "/x.gspc"}, "E57-Konvertierung fehlgeschlagen. (checksum"},
        {{"convert", SamplePath("InvalidCVHeader.e57"), "-o", dir + "/x.gspc"}, "E57-Konvertierung fehlgeschlagen. ("},
        {{"convert", SamplePath("bunnyFloat.e57"), "-o", dir + "/no/such/folder/x.gspc"},
         "GSPC-Datei konnte nicht angelegt werden. ("},
        {{"convert", SamplePath("bunnyFloat.e57"), "-o", dir}, "GSPC-Datei konnte nicht angelegt werden. ("},
    };
    for (const Case& c : cases) {
        const auto r = RunPunktwolke(c.args);
        EXPECT_EQ(r.exitCode, 1) << c.start;
        EXPECT_EQ(r.err.rfind(c.start, 0), 0u) << r.err;
        EXPECT_EQ(pwtest::LineCount(r.err), 1u) << r.err;
    }
}

TEST(ConvertCommand, NeverOverwritesItsSourceFile)
{
    const std::string dir = pwtest::ScratchDir("convert_self");
    const std::string src = dir + "/self.e57";
    WriteSmallE57(src);
    const std::string before = pwtest::Slurp(src);
    const auto r = RunPunktwolke({"convert", src, "-o", dir + "/./self.e57"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err.rfind("GSPC-Datei konnte nicht angelegt werden.", 0), 0u) << r.err;
    EXPECT_EQ(pwtest::Slurp(src), before);
}

TEST(ConvertCommand, CtrlCCancelsAndLeavesAClosedPartialFile)
{
    if (!SamplesPresent())
        GTEST_SKIP() << "shared sample folder is absent";
    // One thread or several: the same cancel point and the same bytes.
    for (const char* threads : {"1", "3"}) {
        SCOPED_TRACE(threads);
        const std::string out = pwtest::ScratchDir("convert_cancel") + "/cancel" + threads + ".gspc";
        pwtest::RunOptions interrupted;
        interrupted.pendingSigint = true;
        const auto r = RunPunktwolke(
            {"convert", SamplePath("bunnyFloat.e57"), "-d", "100", "-o", out, "--threads", threads}, interrupted);
        EXPECT_EQ(r.exitCode, 1);
        EXPECT_EQ(r.err, "Import abgebrochen.\n");
        EXPECT_EQ(r.out, "");
        // 30571 points in one block, progress every 152 kept points: the block ends at the first check.
        const std::string d = pwtest::Slurp(out);
        ASSERT_EQ(d.size(), 32u + 15u * 152);
        EXPECT_LT(FloatAt(d, 8), FloatAt(d, 12)) << "bounds patched at close";
    }
}

TEST(ConvertCommand, AnyNumberOfThreadsWritesTheSameBytes)
{
    // Several scans with poses, colour and mixed encodings, many blocks each.
    const std::string dir = pwtest::ScratchDir("convert_threads");
    const std::string e57 = dir + "/synth.e57";
    ASSERT_EQ(RunPunktwolke({"synth", e57, "--points", "400000", "--scans", "3", "--seed", "5"}).exitCode, 0);
    for (const char* density : {"100", "7"}) {
        SCOPED_TRACE(density);
        const auto one = RunPunktwolke({"convert", e57, "-d", density, "-o", dir + "/one.gspc", "--threads", "1"});
        ASSERT_EQ(one.exitCode, 0) << one.err;
        const std::string expected = pwtest::Slurp(dir + "/one.gspc");
        for (const char* threads : {"2", "4"}) {
            const std::string out = dir + "/t" + threads + ".gspc";
            const auto r = RunPunktwolke({"convert", e57, "-d", density, "-o", out, "--threads", threads});
            ASSERT_EQ(r.exitCode, 0) << r.err;
            EXPECT_EQ(r.out.substr(0, r.out.find("output:")), one.out.substr(0, one.out.find("output:")));
            EXPECT_TRUE(pwtest::Slurp(out) == expected) << threads << " threads";
        }
    }

    // Ctrl-C while scans are converted side by side: what was written stays,
    // but the header keeps zero bounds, so the file never passes for a finished one.
    pwtest::RunOptions interrupted;
    interrupted.pendingSigint = true;
    const std::string out = dir + "/cancelled.gspc";
    const auto r = RunPunktwolke({"convert", e57, "-d", "100", "-o", out, "--threads", "3"}, interrupted);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "Import abgebrochen.\n");
    const std::string d = pwtest::Slurp(out);
    ASSERT_GE(d.size(), 32u);
    EXPECT_EQ((d.size() - 32) % 15, 0u);
    EXPECT_LE(d.size(), 32u + 15u * 400000);
    EXPECT_EQ(d.substr(8, 24), std::string(24, '\0'));
}

// --json gives one document with the figures; coordinates far from the origin
// get a warning with the resolution the point file has there, and the point
// file is written all the same.
TEST(ConvertCommand, JsonResultAndTheWarningForCoordinatesFarFromTheOrigin)
{
    const std::string dir = pwtest::ScratchDir("convert_json");
    WriteSmallE57(dir + "/near.e57");
    auto r = RunPunktwolke({"convert", dir + "/near.e57", "-d", "100", "-o", dir + "/near.gspc", "--json"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err, "");
    const nlohmann::json doc = nlohmann::json::parse(r.out);
    EXPECT_EQ(doc["input"], dir + "/near.e57");
    EXPECT_EQ(doc["filesWritten"], nlohmann::json::array({dir + "/near.gspc"}));
    EXPECT_EQ(doc["totalPoints"], 3);
    EXPECT_EQ(doc["keptPoints"], 3);
    EXPECT_EQ(doc["density"], 100);
    EXPECT_EQ(doc["offset"]["x"], 1.0);
    EXPECT_EQ(doc["offset"]["y"], 4.0);
    EXPECT_EQ(doc["offset"]["z"], -1.0);
    EXPECT_EQ(doc["size"]["x"], 2.0);
    EXPECT_GE(doc["seconds"].get<double>(), 0.0);
    EXPECT_TRUE(doc["warnings"].empty());

    // Easting 2,600,000 m (a national grid): floats are 0.25 m apart there.
    pwtest::WriteLineScans(dir + "/far.e57", {3}, {1, 2600000}, {1, 1200000}, {1, 400});
    r = RunPunktwolke({"convert", dir + "/far.e57", "-d", "100", "-o", dir + "/far.gspc", "--json"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::string warning =
        "warning: coordinates reach 2600002 m from the origin; the point file's 32-bit floats hold them only to "
        "250 mm there (georeferenced scan?)";
    EXPECT_EQ(r.err, "punktwolke: " + warning + "\n");
    const nlohmann::json far = nlohmann::json::parse(r.out);
    EXPECT_EQ(far["warnings"], nlohmann::json::array({warning}));
    EXPECT_EQ(far["resolutionMm"], 250.0);
    EXPECT_EQ(pwtest::Slurp(dir + "/far.gspc").size(), 32u + 3u * 15u);

    // The same warning from info, before anything is converted; and the
    // border: 9,000 m is held to a millimetre (0.98 mm), 20,000 m is not (1.95 mm).
    r = RunPunktwolke({"info", dir + "/far.e57"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.err, "punktwolke: " + warning + "\n");
    pwtest::WriteLineScans(dir + "/9km.e57", {2}, {1, 9000}, {0, 0}, {0, 0});
    r = RunPunktwolke({"convert", dir + "/9km.e57", "-o", dir + "/9km.gspc"});
    EXPECT_EQ(r.err, "");
    pwtest::WriteLineScans(dir + "/20km.e57", {2}, {1, 0}, {0, 0}, {1, -20000});
    r = RunPunktwolke({"convert", dir + "/20km.e57", "-o", dir + "/20km.gspc"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_NE(r.err.find("reach 20000 m from the origin; the point file's 32-bit floats hold them only to 1.95 mm"),
              std::string::npos)
        << r.err;
}
