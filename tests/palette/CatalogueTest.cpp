// The catalogue: which loaded library parts count as imported point clouds,
// and how each is described.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "host/DefaultCharset.h"
#include "host/sim/SimulatedHost.h"
#include "main/Log.h"
#include "palette/CollectOurLibParts.h"

namespace {

using sim::IntPar;
using sim::StringPar;

class Catalogue : public ::testing::Test {
protected:
    void SetUp() override
    {
        logPath_ = "/tmp/pw_catalogue_test_" + std::to_string(getpid()) + ".log";
        std::remove(logPath_.c_str());
        SetLogPath(logPath_.c_str());
    }

    void TearDown() override
    {
        EXPECT_EQ(h.Handles().Outstanding(), 0u) << "every parameter handle is released";
        EXPECT_TRUE(h.Calls().Problems().empty()) << h.Calls().Problems().front();
        SetLogPath(nullptr);
        std::remove(logPath_.c_str());
    }

    // An imported point cloud as the import leaves it: a density and a source path.
    int32_t AddOurs(const std::u16string& name, double density, const std::u16string& path)
    {
        return h.LibParts().AddLibPart(name, {sim::LengthPar("A", 2.0), IntPar("iDensityPercent", density),
                                              StringPar("sE57Path", path)});
    }

    std::vector<PointCloudEntry> Collect() { return CollectOurLibParts(h.Bundle().libParts); }

    std::string LogText()
    {
        std::ifstream in(logPath_);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

    sim::SimulatedHost h;
    std::string logPath_;
};

}  // namespace

TEST_F(Catalogue, DescribesEachImportedPart)
{
    AddOurs(u"Haus.gsm", 25, u"/Users/anna/Scans/Haus.e57");
    // The same part loaded twice (two libraries) is listed twice.
    AddOurs(u"Haus.gsm", 25, u"/Users/anna/Scans/Haus.e57");
    const auto entries = Collect();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[1].libIdx, 2);
    EXPECT_EQ(entries[0].name, "Haus");
    EXPECT_EQ(entries[0].densityPercent, 25);
    EXPECT_EQ(entries[0].e57Path, "/Users/anna/Scans/Haus.e57");
    EXPECT_EQ(entries[0].folder, "/Users/anna/Scans/Haus");
    EXPECT_EQ(entries[0].gspcFileName, "Haus_data.gspc");
    EXPECT_EQ(entries[0].libIdx, 1);
    EXPECT_TRUE(LogText().empty());
}

TEST_F(Catalogue, ForeignPartsAreLeftOut)
{
    h.LibParts().AddLibPart(u"Chair", {sim::LengthPar("A", 0.5)});
    // A density but no source path; a path of the wrong type; an empty path.
    h.LibParts().AddLibPart(u"DensityOnly", {IntPar("iDensityPercent", 50)});
    h.LibParts().AddLibPart(u"WrongType", {IntPar("iDensityPercent", 50),
                                           sim::MakePar(host::APIParT_Title, "sE57Path", 0, u"/x.e57")});
    AddOurs(u"EmptyPath", 50, u"");
    // Names are compared case-sensitively.
    h.LibParts().AddLibPart(u"LowerCase", {IntPar("idensitypercent", 50), StringPar("sE57Path", u"/x.e57")});
    // Names are compared whole: a longer name that starts with ours is another parameter.
    h.LibParts().AddLibPart(u"OldPath", {IntPar("iDensityPercent", 50), StringPar("sE57PathOld", u"/x.e57")});
    h.LibParts().AddLibPart(u"OldDensity", {IntPar("iDensityPercentOld", 50), StringPar("sE57Path", u"/x.e57")});
    // A foreign part with both parameters is taken for one of ours.
    const int32_t lookalike = h.LibParts().AddLibPart(
        u"Lookalike", {sim::RealPar("iDensityPercent", 5), StringPar("sE57Path", u"/data/a.e57")});

    const auto entries = Collect();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].name, "Lookalike");
    EXPECT_EQ(entries[0].libIdx, lookalike);
}

TEST_F(Catalogue, DensityIsRoundedHalfUpAndMustBePositive)
{
    AddOurs(u"A", 24.5, u"/s/a.e57");
    AddOurs(u"B", 24.49, u"/s/b.e57");
    AddOurs(u"C", 0.4, u"/s/c.e57");
    AddOurs(u"D", 0.5, u"/s/d.e57");
    AddOurs(u"E", -3, u"/s/e.e57");
    AddOurs(u"F", 1e300, u"/s/f.e57");
    // A later parameter of the same name wins.
    h.LibParts().AddLibPart(u"G", {IntPar("iDensityPercent", 0), StringPar("sE57Path", u"/first.e57"),
                                   IntPar("iDensityPercent", 70), StringPar("sE57Path", u"/s/g.e57")});

    const auto entries = Collect();
    std::vector<std::string> seen;
    for (const auto& e : entries) {
        seen.push_back(e.name + "=" + std::to_string(e.densityPercent) + " " + e.e57Path);
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"A=25 /s/a.e57", "B=24 /s/b.e57", "D=1 /s/d.e57", "G=70 /s/g.e57"}));
}

TEST_F(Catalogue, NamesAndFolders)
{
    AddOurs(u"Scan.GSM", 10, u"/s/Scan.e57");   // any case of ".gsm" is dropped
    AddOurs(u".gsm", 10, u"/s/x.e57");          // only four characters: kept
    AddOurs(u"Plain", 10, u"relative.e57");     // no "/" in the path
    AddOurs(u"Root", 10, u"/Root.e57");
    AddOurs(u"Scan.gsm.gsm", 10, u"/s/Scan.e57");

    const auto entries = Collect();
    ASSERT_EQ(entries.size(), 5u);
    EXPECT_EQ(entries[0].name, "Scan");
    EXPECT_EQ(entries[0].folder, "/s/Scan");
    EXPECT_EQ(entries[1].name, ".gsm");
    EXPECT_EQ(entries[1].gspcFileName, ".gsm_data.gspc");
    EXPECT_EQ(entries[2].folder, "relative.e57/Plain");
    EXPECT_EQ(entries[3].folder, "/Root");
    EXPECT_EQ(entries[4].name, "Scan.gsm");
}

TEST_F(Catalogue, HostErrorsSkipPartsOrEmptyTheList)
{
    AddOurs(u"One", 10, u"/s/1.e57");
    AddOurs(u"Two", 10, u"/s/2.e57");
    AddOurs(u"Three", 10, u"/s/3.e57");
    h.Faults().FailAt(sim::Op::LibPartGet, 1, -1);
    h.Faults().FailAt(sim::Op::LibPartGetParams, 2, -1);
    auto entries = Collect();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].name, "Three");
    EXPECT_TRUE(LogText().empty()) << "skipped parts are not logged";

    h.Faults().FailNext(sim::Op::LibPartGetNum, -1);
    EXPECT_TRUE(Collect().empty());
    EXPECT_EQ(LogText(), "CollectOurLibParts: GetNum fehlgeschlagen\n");
}

TEST_F(Catalogue, HostTextIsNarrowedToEightBits)
{
    // "Süd" keeps its ü as the single byte 0xFC, so it no longer equals the UTF-8 name.
    AddOurs(u"S\u00FCd", 10, u"/Scans/S\u00FCd.e57");
    // A unit whose low byte is zero ends the text; others keep only their low byte.
    AddOurs(u"Caf\u0100x", 10, u"/s/\u20ACuro.e57");

    const auto entries = Collect();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].name, "S\xFC" "d");
    EXPECT_NE(entries[0].name, "S\xC3\xBC" "d");
    EXPECT_EQ(entries[0].e57Path, "/Scans/S\xFC" "d.e57");
    EXPECT_EQ(entries[0].folder, "/Scans/S\xFC" "d");
    EXPECT_EQ(entries[1].name, "Caf");
    EXPECT_EQ(entries[1].e57Path, "/s/\xACuro.e57");

    // At most 256 units are taken.
    std::vector<host::UniChar> text(300, u'a');
    EXPECT_EQ(NarrowHostText(text.data(), text.size()), std::string(256, 'a'));
}

TEST_F(Catalogue, NarrowedTextIsReadBackInTheHostsDefaultCharacterSet)
{
    // With an 8-bit default set (here ISO 8859-1) the narrowed byte 0xFC is ü
    // again, and U+20AC (low byte 0xAC) comes back as U+00AC.
    std::array<char32_t, 128> latin1{};
    for (size_t i = 0; i < latin1.size(); ++i) {
        latin1[i] = static_cast<char32_t>(0x80 + i);
    }
    const host::CodePageCharset charset(latin1);
    AddOurs(u"S\u00FCd", 10, u"/Scans/S\u00FCd.e57");
    AddOurs(u"\u20ACuro", 10, u"/s/\u20ACuro.e57");

    host::SetDefaultCharset(&charset);
    const auto entries = Collect();
    host::SetDefaultCharset(nullptr);

    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].name, "S\u00FCd");
    EXPECT_EQ(entries[0].e57Path, "/Scans/S\u00FCd.e57");
    EXPECT_EQ(entries[0].folder, "/Scans/S\u00FCd");
    EXPECT_EQ(entries[0].gspcFileName, "S\u00FCd_data.gspc");
    EXPECT_EQ(entries[1].name, "\u00ACuro");
}
