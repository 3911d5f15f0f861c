// punktwolke info, run as a separate process.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "e57/Writer.h"
#include "support/PunktwolkeRun.h"

using pwtest::RunPunktwolke;

namespace {

bool SamplesPresent()
{
    return pwtest::SamplePresent("bunnyInt32.e57");
}

// Two scans: scaled-integer coordinates with a pose, float coordinates with 16-bit colour.
std::string WriteTwoScans(const std::string& path)
{
    e57::Writer w(path);
    e57::ScanHeader a;
    a.guid = "{first}";
    a.name = "Erdgeschoss";
    a.hasPose = true;
    a.pose.rotation = {0.5, 0.5, 0.5, 0.5};
    a.pose.translation = {1.0, 2.0, 3.0};
    a.prototype = e57::CartesianFields(e57::FieldEncoding::ScaledInteger, 0.001, 1000000);
    w.BeginScan(a);
    std::vector<double> x(2000, 1.5), y(2000, -2.0), z(2000, 0.25);
    e57::Data3DPointsData_t<double> b;
    b.cartesianX = x.data();
    b.cartesianY = y.data();
    b.cartesianZ = z.data();
    w.WritePoints(x.size(), b);
    w.EndScan();

    e57::ScanHeader c;
    c.guid = "{second}";
    c.prototype = e57::CartesianFields(e57::FieldEncoding::Float);
    for (auto& f : e57::ColorFields(65535))
        c.prototype.push_back(f);
    c.hasColorLimits = true;
    c.colorLimits = {0, 65535, 0, 65535, 0, 65535};
    w.BeginScan(c);
    std::vector<uint16_t> col(5, 1000);
    b.colorRed = b.colorGreen = b.colorBlue = col.data();
    w.WritePoints(5, b);
    w.EndScan();
    w.Close();
    return path;
}

}  // namespace

TEST(InfoCommand, TextAndJsonShowScansFieldsPoseAndChecksumsThenADamagedPage)
{
    const std::string file = WriteTwoScans(pwtest::ScratchDir("info") + "/two.e57");
    const auto text = RunPunktwolke({"info", file});
    ASSERT_EQ(text.exitCode, 0) << text.err;
    for (const char* expected : {"scans: 2\n", "checksums: all pages good\n", "scan 0: Erdgeschoss\n",
                                 "cartesianX: scaled integer, 21 bit(s), -1000000..1000000, scale 0.001",
                                 "translation (1, 2, 3)", "colorRed: integer, 16 bit(s), 0..65535"})
        EXPECT_NE(text.out.find(expected), std::string::npos) << "missing: " << expected << "\n" << text.out;

    const auto r = RunPunktwolke({"info", file, "--json"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto doc = nlohmann::json::parse(r.out);
    EXPECT_EQ(doc["scanCount"], 2);
    EXPECT_EQ(doc["checksumsGood"], true);
    const auto& first = doc["scans"][0];
    EXPECT_EQ(first["pointCount"], 2000);
    EXPECT_EQ(first["fields"][0]["encoding"], "scaled integer");
    EXPECT_EQ(first["fields"][0]["scale"], 0.001);
    EXPECT_EQ(first["pose"]["translation"]["z"], 3.0);
    EXPECT_TRUE(first["colourLimits"].is_null());
    EXPECT_EQ(first["bounds"]["x"][0], 1.5);
    const auto& second = doc["scans"][1];
    EXPECT_EQ(second["hasColour"], true);
    EXPECT_EQ(second["colourLimits"]["green"][1], 65535.0);
    EXPECT_EQ(second["fields"][3]["bitWidth"], 16);

    {
        // Page 2 lies in the first scan's binary data, far from the XML at the end.
        std::fstream f(file, std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(2 * 1024 + 100);
        f.put('\x5A');
    }
    const auto damaged = RunPunktwolke({"info", file});
    EXPECT_EQ(damaged.exitCode, 1);
    EXPECT_NE(damaged.out.find("checksums: 1 bad pages"), std::string::npos) << damaged.out;
    EXPECT_EQ(pwtest::LineCount(damaged.err), 1u) << damaged.err;
}

TEST(InfoCommand, FailuresAndUsage)
{
    EXPECT_EQ(RunPunktwolke({"info"}).exitCode, 2);
    EXPECT_EQ(RunPunktwolke({"info", "a.e57", "--jsn"}).exitCode, 2);
    const auto help = RunPunktwolke({"info", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.out.find("--json"), std::string::npos);

    const auto missing = RunPunktwolke({"info", pwtest::ScratchDir("info_missing") + "/none.e57"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err.rfind("E57-Datei konnte nicht geöffnet werden. (", 0), 0u) << missing.err;

    if (!SamplesPresent())
        GTEST_SKIP() << "shared sample folder is absent";
    const auto bad = RunPunktwolke({"info", pwtest::SamplePath("bad-crc.e57")});
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(bad.err.rfind("E57-Datei konnte nicht geöffnet werden. (checksum", 0), 0u) << bad.err;
    EXPECT_EQ(pwtest::LineCount(bad.err), 1u);

    const auto none = RunPunktwolke({"info", pwtest::SamplePath("empty.e57"), "--json"});
    EXPECT_EQ(none.exitCode, 0);
    EXPECT_EQ(nlohmann::json::parse(none.out)["scanCount"], 0);
}
