// Density adjustment against the simulated host and real files: what the point
// file holds afterwards, which placed instances change, what the user is told,
// and what is left behind on cancel and on a broken E57 file.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "import/GspcReader.h"
#include "objects/DoAdjustDensity.h"
#include "ObjectsTestSupport.h"

namespace {

namespace fs = std::filesystem;
using objtest::HeaderBounds;
using objtest::ObjectsTest;
using objtest::ReadAll;

class DoAdjustDensityTest : public ObjectsTest {
protected:
    void SetUp() override
    {
        ObjectsTest::SetUp();
        // Two scans: the thinning index runs on across the scan boundary.
        objtest::WriteE57(entry_.e57Path, {700, 300});
        std::ofstream(GspcPath(), std::ios::binary) << "point file of the first import";
    }

    uint64_t PointsInFile()
    {
        GspcReader reader(GspcPath().string());
        return reader.PointCount();
    }

    bool LogHas(const std::string& line)
    {
        const std::vector<std::string> log = LogLines();
        return std::find(log.begin(), log.end(), line) != log.end();
    }
};

TEST_F(DoAdjustDensityTest, RewritesThePointFileAndRecordsThePassedDensityInEveryInstance)
{
    const host::Guid first = Place(entry_.libIdx, PartParams(10, 100));
    const host::Guid second = Place(entry_.libIdx, PartParams(10, 100));
    const int32_t otherPart = h_.LibParts().AddLibPart(u"Other", PartParams(10, 100));
    const host::Guid foreign = Place(otherPart, PartParams(10, 100));

    {
        SCOPED_TRACE("60 %: step 1 keeps every point, yet 60 is recorded and reported");
        ASSERT_TRUE(DoAdjustDensity(h_.Bundle(), entry_, 60));
        EXPECT_EQ(PointsInFile(), 1000u);
        EXPECT_EQ(ParOf(first, "iDensityPercent"), 60.0);
        EXPECT_EQ(ParOf(second, "iReducedPoints"), 1000.0);
        ASSERT_EQ(h_.ReportWindow().Lines().size(), 1u);
        EXPECT_EQ(h_.ReportWindow().Lines()[0].text, "\"Scan\" neu importiert mit 60% der Punkte (2 Objekt(e) aktualisiert).");
        EXPECT_FALSE(h_.ReportWindow().Lines()[0].withAlert);
    }
    {
        SCOPED_TRACE("30 %: every third point counted over both scans");
        ASSERT_TRUE(DoAdjustDensity(h_.Bundle(), entry_, 30));
        EXPECT_EQ(PointsInFile(), 334u);
        EXPECT_EQ(ParOf(first, "iDensityPercent"), 30.0);
        EXPECT_EQ(ParOf(first, "iReducedPoints"), 334.0);
        EXPECT_EQ(h_.ReportWindow().Last(), "\"Scan\" neu importiert mit 30% der Punkte (2 Objekt(e) aktualisiert).");
    }
    // Other parameters and other parts' instances stay as they were.
    EXPECT_EQ(ParOf(first, "iTotalPoints"), 1000.0);
    EXPECT_EQ(ParOf(foreign, "iDensityPercent"), 10.0);
    EXPECT_EQ(ParOf(foreign, "iReducedPoints"), 100.0);
    // The part's own defaults are not touched: only the instances change.
    EXPECT_EQ(sim::FindPar(h_.LibParts().Part(entry_.libIdx)->params, "iDensityPercent")->real, 10.0);

    EXPECT_EQ(h_.Undo().StepTexts(),
              (std::vector<std::string>{"Punktwolkendichte anpassen", "Punktwolkendichte anpassen"}));
    EXPECT_EQ(h_.ProcessWindow().Title(), "Punktwolke reimportieren...");
    EXPECT_EQ(h_.ProcessWindow().PhaseTitles().back(), "Punktwolke konvertieren...");
    EXPECT_FALSE(h_.ProcessWindow().IsOpen());
    EXPECT_TRUE(LogHas("--- DoAdjustDensity ---"));
    EXPECT_TRUE(LogHas("updCount=2"));
}

TEST_F(DoAdjustDensityTest, HostCallsFollowConversionUpdateReloadReport)
{
    Place(entry_.libIdx, PartParams(10, 100));
    h_.Calls().Clear();

    ASSERT_TRUE(DoAdjustDensity(h_.Bundle(), entry_, 50));

    std::vector<std::string> milestones;
    for (const std::string& call : h_.Calls().Calls()) {
        for (const char* prefix : {"IPWD", "CPWD", "LibPart_GetParams", "GetElemList", "CallUndoableCommand",
                                   "ChangeMemo", "GLIB", "SLIB", "RLIB", "WriteReport"}) {
            if (call.rfind(prefix, 0) == 0) {
                milestones.push_back(call.substr(0, call.find(' ')));
            }
        }
    }
    EXPECT_EQ(milestones, (std::vector<std::string>{"IPWD", "CPWD", "LibPart_GetParams", "GetElemList",
                                                    "CallUndoableCommand", "ChangeMemo", "CallUndoableCommand",
                                                    "GLIB", "SLIB", "RLIB", "WriteReport"}));
}

TEST_F(DoAdjustDensityTest, WithoutPlacedInstanceOrFolderReloadsAndReportsWithAFullStop)
{
    entry_.name = "Gebäude Süd";   // non-ASCII text reaches the report unchanged
    fs::remove_all(entry_.folder);  // deleted by hand: made again

    ASSERT_TRUE(DoAdjustDensity(h_.Bundle(), entry_, 25));

    EXPECT_EQ(PointsInFile(), 250u);
    EXPECT_TRUE(h_.Undo().RequestedTexts().empty());
    EXPECT_EQ(h_.LibraryList().ReloadCount(), 1);
    EXPECT_EQ(h_.ReportWindow().Last(), "\"Gebäude Süd\" neu importiert mit 25% der Punkte.");
    EXPECT_TRUE(LogHas("updCount=0"));
}

TEST_F(DoAdjustDensityTest, CancelLeavesAShorterCompleteFileAndChangesNothingElse)
{
    const host::Guid placed = Place(entry_.libIdx, PartParams(10, 100));
    h_.ProcessWindow().CancelFromCall(1);

    EXPECT_FALSE(DoAdjustDensity(h_.Bundle(), entry_, 100));

    // The file is closed: a valid header with the bounds of what was written.
    const uint64_t written = PointsInFile();
    EXPECT_GT(written, 0u);
    EXPECT_LT(written, 1000u);
    const std::vector<float> bounds = HeaderBounds(ReadAll(GspcPath()));
    EXPECT_EQ(bounds[0], 1.0f);   // min X of the first point
    EXPECT_EQ(bounds[1], static_cast<float>(written));

    EXPECT_TRUE(h_.ReportWindow().Lines().empty());
    EXPECT_FALSE(h_.ProcessWindow().IsOpen());
    EXPECT_EQ(h_.Calls().Count("RLIB"), 0u);
    EXPECT_TRUE(h_.Undo().RequestedTexts().empty());
    EXPECT_EQ(ParOf(placed, "iDensityPercent"), 10.0);

    // A second re-import repairs the file.
    h_.ProcessWindow().CancelFromCall(0);
    ASSERT_TRUE(DoAdjustDensity(h_.Bundle(), entry_, 100));
    EXPECT_EQ(PointsInFile(), 1000u);
}

TEST_F(DoAdjustDensityTest, InstanceWalkCoversOnlyThePartsParameterCount)
{
    // The part declares three parameters; its instances carry more.
    const int32_t part = h_.LibParts().AddLibPart(
        u"Short", {sim::LengthPar("A", 1.0), sim::IntPar("idensitypercent", 5), sim::IntPar("iDensityPercent", 5)});
    entry_.libIdx = part;
    const host::Guid longer = Place(part, {sim::LengthPar("A", 1.0), sim::IntPar("idensitypercent", 5),
                                           sim::IntPar("iDensityPercent", 5), sim::IntPar("iReducedPoints", 7)});
    const host::Guid without = Place(part, {sim::LengthPar("A", 1.0)});

    ASSERT_TRUE(DoAdjustDensity(h_.Bundle(), entry_, 40));

    EXPECT_EQ(ParOf(longer, "iDensityPercent"), 40.0);
    EXPECT_EQ(ParOf(longer, "idensitypercent"), 5.0);   // names compare case-sensitively
    EXPECT_EQ(ParOf(longer, "iReducedPoints"), 7.0);    // beyond the part's count
    EXPECT_EQ(ParOf(without, "A"), 1.0);
    // An instance without either parameter still counts once the change succeeds.
    EXPECT_EQ(h_.ReportWindow().Last(), "\"Scan\" neu importiert mit 40% der Punkte (2 Objekt(e) aktualisiert).");

    // Without the part's parameter count nothing is walked, but the unchanged
    // memos are still written back and counted.
    h_.Faults().FailAt(sim::Op::LibPartGetParams, part, sim::APIERR_BADINDEX);
    ASSERT_TRUE(DoAdjustDensity(h_.Bundle(), entry_, 20));
    EXPECT_EQ(ParOf(longer, "iDensityPercent"), 40.0);
    EXPECT_EQ(h_.Calls().Count("ChangeMemo"), 4u);
}

TEST_F(DoAdjustDensityTest, InstancesThatCannotBeReadOrChangedAreSkipped)
{
    const host::Guid unreadable = Place(entry_.libIdx, PartParams(10, 100));
    const host::Guid noMemo = Place(entry_.libIdx, PartParams(10, 100));
    const host::Guid refused = Place(entry_.libIdx, PartParams(10, 100));
    const host::Guid fine = Place(entry_.libIdx, PartParams(10, 100));
    h_.Faults().FailFor(sim::Op::ElementGet, unreadable, sim::APIERR_DELETED);
    h_.Faults().FailFor(sim::Op::GetMemo, noMemo, sim::APIERR_GENERAL);
    h_.Faults().FailFor(sim::Op::ChangeMemo, refused, sim::APIERR_NOTEDITABLE);

    ASSERT_TRUE(DoAdjustDensity(h_.Bundle(), entry_, 10));

    EXPECT_EQ(ParOf(fine, "iDensityPercent"), 10.0);
    EXPECT_EQ(ParOf(fine, "iReducedPoints"), 100.0);
    EXPECT_EQ(ParOf(unreadable, "iReducedPoints"), 100.0);
    EXPECT_EQ(h_.Calls().Count("GetMemo " + sim::GuidToString(unreadable)), 0u);
    EXPECT_EQ(h_.Calls().Count("ChangeMemo"), 2u);
    EXPECT_EQ(h_.ReportWindow().Last(), "\"Scan\" neu importiert mit 10% der Punkte (1 Objekt(e) aktualisiert).");
    EXPECT_TRUE(LogHas("updCount=1"));
}

TEST_F(DoAdjustDensityTest, BrokenE57DataLeavesTheWriterUnclosedAndTellsTheUser)
{
    // The second scan's data pages come after the first's: damage one of them
    // so that reading fails once the first scan's points are written.
    objtest::WriteE57(entry_.e57Path, {200, 6000});
    {
        std::fstream file(entry_.e57Path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(fs::file_size(entry_.e57Path) / 2));
        file.put('\x5A').put('\xA5');
    }
    const host::Guid placed = Place(entry_.libIdx, PartParams(10, 100));

    EXPECT_FALSE(DoAdjustDensity(h_.Bundle(), entry_, 100));

    ASSERT_EQ(h_.ReportWindow().Lines().size(), 1u);
    EXPECT_EQ(h_.ReportWindow().Lines()[0].text, "Fehler beim Einlesen der E57-Datei.");
    EXPECT_TRUE(h_.ReportWindow().Lines()[0].withAlert);
    const std::vector<std::string> log = LogLines();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log.back().rfind("Exception: ", 0), 0u) << log.back();
    EXPECT_LE(log.back().size(), 255u);
    EXPECT_FALSE(h_.ProcessWindow().IsOpen());
    EXPECT_EQ(h_.ProcessWindow().CloseCount(), 1);
    EXPECT_EQ(ParOf(placed, "iDensityPercent"), 10.0);
    EXPECT_EQ(h_.Calls().Count("RLIB"), 0u);

    // Points of the first scan were written, but the header was never
    // finished: its bounds are still zero.
    const std::string bytes = ReadAll(GspcPath());
    ASSERT_GE(bytes.size(), 32u);
    EXPECT_EQ(bytes.substr(0, 4), "GSPC");
    EXPECT_EQ(HeaderBounds(bytes), std::vector<float>(6, 0.0f));
}

TEST_F(DoAdjustDensityTest, FullDiskEndsInAnAlertAndChangesNoInstance)
{
    // The point file leads to /dev/full: it opens, and every write fails with ENOSPC.
    if (!fs::exists("/dev/full")) {
        GTEST_SKIP() << "no /dev/full on this system";
    }
    fs::remove(GspcPath());
    fs::create_symlink("/dev/full", GspcPath());
    const host::Guid placed = Place(entry_.libIdx, PartParams(10, 100));

    EXPECT_FALSE(DoAdjustDensity(h_.Bundle(), entry_, 100));

    ASSERT_EQ(h_.ReportWindow().Lines().size(), 1u);
    EXPECT_EQ(h_.ReportWindow().Lines()[0].text, "GSPC-Datei konnte nicht angelegt werden.");
    EXPECT_TRUE(h_.ReportWindow().Lines()[0].withAlert);
    EXPECT_TRUE(LogHas("GSPC-Fehler: could not write all of " + GspcPath().string()));
    EXPECT_FALSE(LogHas("updCount=0"));
    EXPECT_FALSE(h_.ProcessWindow().IsOpen());
    EXPECT_EQ(ParOf(placed, "iDensityPercent"), 10.0);
    EXPECT_EQ(ParOf(placed, "iReducedPoints"), 100.0);
    EXPECT_TRUE(h_.Undo().RequestedTexts().empty());
    EXPECT_EQ(h_.Calls().Count("RLIB"), 0u);
}

TEST_F(DoAdjustDensityTest, UnusableInputsAreReportedWithAnAlert)
{
    const std::string oldPointFile = ReadAll(GspcPath());
    struct Case {
        const char* what;
        std::string e57Path;
        std::string expected;
    };
    const fs::path noScans = dir_ / "NoScans.e57";
    objtest::WriteE57(noScans, {});

    for (const Case& c : {Case{"missing E57 file", (dir_ / "missing.e57").string(), "E57-Datei konnte nicht geöffnet werden."},
                          Case{"E57 file without scans", noScans.string(), "E57-Datei enthält keine Scans."}}) {
        SCOPED_TRACE(c.what);
        h_.ReportWindow().Clear();
        PointCloudEntry e = entry_;
        e.e57Path = c.e57Path;
        EXPECT_FALSE(DoAdjustDensity(h_.Bundle(), e, 50));
        ASSERT_EQ(h_.ReportWindow().Lines().size(), 1u);
        EXPECT_EQ(h_.ReportWindow().Lines()[0].text, c.expected);
        EXPECT_TRUE(h_.ReportWindow().Lines()[0].withAlert);
        EXPECT_EQ(ReadAll(GspcPath()), oldPointFile);
    }
    {
        SCOPED_TRACE("point file cannot be created");
        h_.ReportWindow().Clear();
        PointCloudEntry e = entry_;
        e.gspcFileName = "blocked";
        fs::create_directory(fs::path(e.folder) / "blocked");
        EXPECT_FALSE(DoAdjustDensity(h_.Bundle(), e, 50));
        EXPECT_EQ(h_.ReportWindow().Last(), "GSPC-Datei konnte nicht angelegt werden.");
    }
    EXPECT_EQ(h_.ProcessWindow().OpenCount(), 0);
    EXPECT_EQ(h_.Calls().Count("RLIB"), 0u);
}

TEST_F(DoAdjustDensityTest, RealSampleFilesGiveTheKnownPointFiles)
{
    const fs::path samples = fs::path(PW_SHARED_DIR) / "e57";
    if (!fs::exists(samples / "mixed_a.e57")) {
        GTEST_SKIP() << "sample E57 files not found in " << samples;
    }
    struct Case {
        const char* file;
        int density;
        uint64_t kept;
        uintmax_t bytes;
    };
    for (const Case& c : {Case{"bunnyFloat.e57", 25, 7643, 114677}, Case{"mixed_a.e57", 10, 6623, 99377}}) {
        SCOPED_TRACE(c.file);
        const host::Guid placed = Place(entry_.libIdx, PartParams(10, 100));
        entry_.e57Path = (samples / c.file).string();
        ASSERT_TRUE(DoAdjustDensity(h_.Bundle(), entry_, c.density));
        EXPECT_EQ(fs::file_size(GspcPath()), c.bytes);
        EXPECT_EQ(PointsInFile(), c.kept);
        EXPECT_EQ(ParOf(placed, "iReducedPoints"), static_cast<double>(c.kept));
    }
}

}  // namespace
