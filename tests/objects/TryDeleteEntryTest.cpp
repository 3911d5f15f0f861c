// Deletion against the simulated host and a real folder: the confirmation
// texts, what is deleted from the model and from the disk, what stays, and
// what an undo can and cannot bring back.
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/DefaultCharset.h"
#include "objects/TryDeleteEntry.h"
#include "ObjectsTestSupport.h"

namespace {

namespace fs = std::filesystem;
using objtest::ObjectsTest;

class TryDeleteEntryTest : public ObjectsTest {
protected:
    void SetUp() override
    {
        ObjectsTest::SetUp();
        std::ofstream(entry_.e57Path, std::ios::binary) << "source scan";
        std::ofstream(GsmPath(), std::ios::binary) << "library part";
        std::ofstream(GspcPath(), std::ios::binary) << "points";
        otherFolder_ = (dir_ / "Other").string();
        h_.LibraryList().Seed({sim::SimLibraryList::Local(entry_.folder), sim::SimLibraryList::Local(otherFolder_)});
    }

    void TearDown() override
    {
        // The E57 source is never touched, whatever happened.
        EXPECT_EQ(objtest::ReadAll(entry_.e57Path), "source scan");
        ObjectsTest::TearDown();
    }

    std::vector<std::string> LibraryPaths()
    {
        std::vector<std::string> paths;
        for (const auto& lib : h_.LibraryList().Libraries()) {
            paths.push_back(lib.location.string());
        }
        return paths;
    }

    std::string LastLog() const
    {
        const std::vector<std::string> lines = LogLines();
        return lines.empty() ? std::string() : lines.back();
    }

    std::string otherFolder_;
};

TEST_F(TryDeleteEntryTest, OneInstanceDeletesItsObjectFilesFolderAndLibraryEntry)
{
    const host::Guid placed = Place(entry_.libIdx, PartParams(10, 100));
    // Another point cloud whose part lies in the same folder keeps its instance.
    const int32_t otherPart = h_.LibParts().AddLibPart(u"Nachbar", PartParams(10, 100));
    const host::Guid neighbour = Place(otherPart, PartParams(10, 100));
    h_.AlertDialog().QueueAnswer(1);

    ASSERT_TRUE(TryDeleteEntry(h_.Bundle(), entry_));

    // The alert's texts are checked in the session scenarios.
    ASSERT_EQ(h_.AlertDialog().Shown().size(), 1u);

    EXPECT_EQ(h_.Elements().Find(placed), nullptr);
    EXPECT_NE(h_.Elements().Find(neighbour), nullptr);
    EXPECT_EQ(h_.Undo().StepTexts(), std::vector<std::string>{"Punktwolke löschen"});
    EXPECT_FALSE(fs::exists(GsmPath()));
    EXPECT_FALSE(fs::exists(GspcPath()));
    EXPECT_FALSE(fs::exists(entry_.folder));
    EXPECT_EQ(LibraryPaths(), std::vector<std::string>{otherFolder_});
    // The library list is rewritten but not reloaded; the user sees no report.
    EXPECT_EQ(h_.Calls().Count("RLIB"), 0u);
    EXPECT_TRUE(h_.ReportWindow().Lines().empty());
    EXPECT_EQ(LastLog(), "Gelöscht: " + entry_.folder + " (1 Objekt entfernt)");
}

TEST_F(TryDeleteEntryTest, SeveralInstancesTakeThePluralAndUnreadableOnesAreLeftAlone)
{
    std::vector<host::Guid> placed;
    for (int i = 0; i < 3; ++i) {
        placed.push_back(Place(entry_.libIdx, PartParams(10, 100)));
    }
    const host::Guid unreadable = Place(entry_.libIdx, PartParams(10, 100));
    h_.Faults().FailFor(sim::Op::ElementGet, unreadable, sim::APIERR_DELETED);
    h_.AlertDialog().QueueAnswer(1);

    ASSERT_TRUE(TryDeleteEntry(h_.Bundle(), entry_));

    EXPECT_EQ(h_.AlertDialog().Shown()[0].smallText,
              "3 platziertes Objekte wird gelöscht. GSM + GSPC werden von der Festplatte entfernt.");
    EXPECT_EQ(h_.Calls().Matching("Delete "), std::vector<std::string>{"Delete 3"});
    for (const auto& guid : placed) {
        EXPECT_EQ(h_.Elements().Find(guid), nullptr);
    }
    EXPECT_NE(h_.Elements().Find(unreadable), nullptr);
    EXPECT_EQ(LastLog(), "Gelöscht: " + entry_.folder + " (3 Objekte entfernt)");
}

TEST_F(TryDeleteEntryTest, WithoutInstancesMentionsTheSourceFileAndOpensNoUndoStep)
{
    h_.AlertDialog().QueueAnswer(1);

    ASSERT_TRUE(TryDeleteEntry(h_.Bundle(), entry_));

    EXPECT_EQ(h_.AlertDialog().Shown()[0].smallText,
              "GSM + GSPC-Dateien werden gelöscht. Die E57-Quelldatei bleibt erhalten.");
    EXPECT_TRUE(h_.Undo().RequestedTexts().empty());
    EXPECT_EQ(h_.Calls().Count("Delete"), 0u);
    EXPECT_FALSE(fs::exists(entry_.folder));
    EXPECT_EQ(LibraryPaths(), std::vector<std::string>{otherFolder_});
    EXPECT_EQ(LastLog(), "Gelöscht: " + entry_.folder + " (0 Objekte entfernt)");
}

TEST_F(TryDeleteEntryTest, DeclinedOrDismissedAlertChangesNothing)
{
    const host::Guid placed = Place(entry_.libIdx, PartParams(10, 100));
    const size_t logLinesBefore = LogLines().size();

    for (int16_t answer : {int16_t{2}, int16_t{0}}) {
        SCOPED_TRACE(answer);
        h_.AlertDialog().QueueAnswer(answer);
        EXPECT_FALSE(TryDeleteEntry(h_.Bundle(), entry_));
    }

    EXPECT_NE(h_.Elements().Find(placed), nullptr);
    EXPECT_TRUE(fs::exists(GsmPath()));
    EXPECT_TRUE(fs::exists(GspcPath()));
    EXPECT_TRUE(h_.Undo().RequestedTexts().empty());
    EXPECT_EQ(h_.Calls().Count("GLIB"), 0u);
    EXPECT_EQ(h_.LibraryList().SetCount(), 0);
    EXPECT_EQ(LogLines().size(), logLinesBefore);
}

TEST_F(TryDeleteEntryTest, FilesAlreadyGoneOrForeignFilesInTheFolderDoNotStopIt)
{
    {
        SCOPED_TRACE("foreign file keeps the folder");
        std::ofstream(fs::path(entry_.folder) / "notizen.txt") << "keep me";
        h_.AlertDialog().QueueAnswer(1);
        ASSERT_TRUE(TryDeleteEntry(h_.Bundle(), entry_));
        EXPECT_FALSE(fs::exists(GsmPath()));
        EXPECT_FALSE(fs::exists(GspcPath()));
        EXPECT_TRUE(fs::exists(fs::path(entry_.folder) / "notizen.txt"));
        EXPECT_EQ(LibraryPaths(), std::vector<std::string>{otherFolder_});
    }
    {
        SCOPED_TRACE("everything already deleted by hand");
        fs::remove_all(entry_.folder);
        h_.LibraryList().Seed({sim::SimLibraryList::Local(entry_.folder)});
        h_.AlertDialog().QueueAnswer(1);
        ASSERT_TRUE(TryDeleteEntry(h_.Bundle(), entry_));
        EXPECT_TRUE(LibraryPaths().empty());
        EXPECT_EQ(LastLog(), "Gelöscht: " + entry_.folder + " (0 Objekte entfernt)");
    }
}

TEST_F(TryDeleteEntryTest, UndoBringsTheInstancesBackButNotTheFiles)
{
    const host::Guid a = Place(entry_.libIdx, PartParams(10, 100));
    const host::Guid b = Place(entry_.libIdx, PartParams(10, 100));
    h_.AlertDialog().QueueAnswer(1);
    ASSERT_TRUE(TryDeleteEntry(h_.Bundle(), entry_));
    ASSERT_EQ(h_.Elements().Count(), 0u);

    ASSERT_TRUE(h_.Undo().Undo());

    EXPECT_NE(h_.Elements().Find(a), nullptr);
    EXPECT_NE(h_.Elements().Find(b), nullptr);
    EXPECT_FALSE(fs::exists(GsmPath()));
    EXPECT_FALSE(fs::exists(GspcPath()));
    EXPECT_EQ(LibraryPaths(), std::vector<std::string>{otherFolder_});
}

}  // namespace

TEST_F(TryDeleteEntryTest, FilesAreRemovedAtTheirNarrowPathsInTheDefaultCharacterSet)
{
    // The catalogue's "Süd" under an ISO 8859-1 default set: its files lie at
    // paths whose ü is the single byte 0xFC.
    std::array<char32_t, 128> latin1{};
    for (size_t i = 0; i < latin1.size(); ++i) {
        latin1[i] = static_cast<char32_t>(0x80 + i);
    }
    const host::CodePageCharset charset(latin1);
    PointCloudEntry sued = entry_;
    sued.name = "S\u00FCd";
    sued.folder = (dir_ / "S\u00FCd").string();
    sued.gspcFileName = "S\u00FCd_data.gspc";
    sued.libIdx = h_.LibParts().AddLibPart(u"S\u00FCd", PartParams(10, 100));
    const fs::path narrowFolder = dir_ / "S\xFC" "d";
    fs::create_directory(narrowFolder);
    std::ofstream(narrowFolder / "S\xFC" "d.gsm", std::ios::binary) << "library part";
    std::ofstream(narrowFolder / "S\xFC" "d_data.gspc", std::ios::binary) << "points";
    h_.AlertDialog().QueueAnswer(1);

    host::SetDefaultCharset(&charset);
    const bool deleted = TryDeleteEntry(h_.Bundle(), sued);
    host::SetDefaultCharset(nullptr);

    EXPECT_TRUE(deleted);
    EXPECT_FALSE(fs::exists(narrowFolder));
    EXPECT_TRUE(fs::exists(GsmPath())) << "the other entry's files stay";
}
