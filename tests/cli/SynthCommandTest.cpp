// punktwolke synth: exit codes, determinism, and files the reader takes apart
// into plausible scans of the building.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "support/E57TestSupport.h"
#include "support/PunktwolkeRun.h"

namespace {

pwtest::RunResult Synth(const std::string& args)
{
    std::vector<std::string> argv{"synth"};
    std::istringstream words(args);
    for (std::string w; words >> w;)
        argv.push_back(w);
    return pwtest::RunPunktwolke(argv);
}

std::string Temp(const std::string& name)
{
    return ::testing::TempDir() + "pw_synth_" + name + ".e57";
}

}  // namespace

TEST(SynthCommand, SameSeedSameBytesOtherSeedOtherBytes)
{
    const std::string a = Temp("a"), b = Temp("b"), c = Temp("c");
    const pwtest::RunResult ra = Synth(a + " --points 30001 --scans 5 --seed 7");
    ASSERT_EQ(ra.exitCode, 0) << ra.err;
    EXPECT_NE(ra.out.find("30001 points in 5 scans"), std::string::npos) << ra.out;
    EXPECT_EQ(ra.err, "");
    ASSERT_EQ(Synth(b + " --points 30001 --scans 5 --seed 7").exitCode, 0);
    ASSERT_EQ(Synth(c + " --points 30001 --scans 5 --seed 8").exitCode, 0);
    const std::string bytesA = pwtest::Slurp(a);
    EXPECT_GT(bytesA.size(), 30001u * 12);
    EXPECT_TRUE(bytesA == pwtest::Slurp(b));
    EXPECT_FALSE(bytesA == pwtest::Slurp(c));
    for (const std::string& p : {a, b, c})
        std::remove(p.c_str());
}

// Every scan reads to its end; points placed by their poses lie in the
// building; encodings and colour vary across scans as the generator promises.
TEST(SynthCommand, ScansArePlausible)
{
    const std::string path = Temp("plausible");
    ASSERT_EQ(Synth(path + " --points 40003 --scans 4 --seed 3").exitCode, 0);
    e57::Reader reader(path, e57::ReaderOptions());
    ASSERT_TRUE(reader.IsOpen());
    EXPECT_EQ(reader.VerifyAllPages(), 0u);
    ASSERT_EQ(reader.GetData3DCount(), 4);
    int64_t total = 0;
    std::vector<e57::FieldEncoding> encodings;
    int withColour = 0, with16Bit = 0;
    for (int64_t s = 0; s < 4; ++s) {
        e57::Data3D d;
        ASSERT_TRUE(reader.ReadData3D(s, d));
        EXPECT_TRUE(d.pointCount == 10000 || d.pointCount == 10001);
        EXPECT_FALSE(d.guid.empty());
        total += d.pointCount;
        encodings.push_back(d.prototype.at(0).encoding);
        const bool colour = d.pointFields.colorRedField;
        withColour += colour;
        with16Bit += colour && d.colorLimits.colorRedMaximum == 65535;

        const e57test::ScanPoints p = e57test::ReadScan(reader, s, 4096);
        const e57::Quaternion& q = d.pose.rotation;
        const e57::Translation& t = d.pose.translation;
        const int64_t read = int64_t(p.x.size());
        int64_t outside = 0, invalidColour = 0;
        for (size_t i = 0; i < p.x.size(); ++i) {
            // Rotation about Z only: q = (w, 0, 0, z).
            const double c = 1 - 2 * q.z * q.z, sn = 2 * q.w * q.z;
            const double wx = c * p.x[i] - sn * p.y[i] + t.x, wy = sn * p.x[i] + c * p.y[i] + t.y, wz = p.z[i] + t.z;
            outside += wx < -0.05 || wx > 16.05 || wy < -0.05 || wy > 10.05 || wz < -0.05 || wz > 3.05;
            invalidColour += p.colourInvalid[i] == 1;
        }
        EXPECT_EQ(read, d.pointCount);
        EXPECT_EQ(outside, 0) << "scan " << s;
        if (d.pointFields.isColorInvalidField) {
            EXPECT_GT(invalidColour, 0);
            EXPECT_LT(invalidColour, d.pointCount / 20);
        }
    }
    EXPECT_EQ(total, 40003);
    EXPECT_EQ(withColour, 3);
    EXPECT_EQ(with16Bit, 1);
    EXPECT_NE(std::find(encodings.begin(), encodings.end(), e57::FieldEncoding::ScaledInteger), encodings.end());
    EXPECT_NE(std::find(encodings.begin(), encodings.end(), e57::FieldEncoding::Double), encodings.end());
    EXPECT_NE(std::find(encodings.begin(), encodings.end(), e57::FieldEncoding::Float), encodings.end());
    std::remove(path.c_str());
}

TEST(SynthCommand, ExitCodesForFailureUsageAndHelp)
{
    const pwtest::RunResult unwritable = Synth("/nonexistent-folder/out.e57 --points 10");
    EXPECT_EQ(unwritable.exitCode, 1);
    EXPECT_EQ(unwritable.err.rfind("punktwolke synth: ", 0), 0u) << unwritable.err;
    EXPECT_EQ(std::count(unwritable.err.begin(), unwritable.err.end(), '\n'), 1);

    EXPECT_EQ(Synth("").exitCode, 2);
    EXPECT_EQ(Synth(Temp("usage") + " --scans 0").exitCode, 2);
    EXPECT_EQ(Synth(Temp("usage") + " --points many").exitCode, 2);
    EXPECT_EQ(Synth(Temp("usage") + " --colour").exitCode, 2);
    // A seed that would wrap to another one is refused; the largest is taken.
    EXPECT_EQ(Synth(Temp("usage") + " --points 10 --seed -1").exitCode, 2);
    const pwtest::RunResult largest = Synth(Temp("usage") + " --points 10 --seed 18446744073709551615");
    EXPECT_EQ(largest.exitCode, 0);
    EXPECT_NE(largest.out.find("(seed 18446744073709551615)"), std::string::npos) << largest.out;
    const pwtest::RunResult help = Synth("--help");
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.out.find("--points"), std::string::npos);
    std::remove(Temp("usage").c_str());
}
