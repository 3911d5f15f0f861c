// Editing the project's library list: register, unregister, reload.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/sim/SimulatedHost.h"
#include "import/LibraryFolders.h"

namespace {

using sim::SimLibraryList;

std::vector<std::string> Paths(const std::vector<host::LibraryInfo>& list)
{
    std::vector<std::string> paths;
    for (const auto& entry : list) {
        paths.push_back(entry.location.string());
    }
    return paths;
}

class LibraryFolders : public ::testing::Test {
protected:
    void Seed(const std::vector<host::LibraryInfo>& list) { h.LibraryList().Seed(list); }
    const std::vector<host::LibraryInfo>& LastSet() { return h.LibraryList().LastSet(); }
    std::vector<std::string> Calls() { return h.Calls().Calls(); }

    void TearDown() override { EXPECT_TRUE(h.Calls().Problems().empty()) << h.Calls().Problems().front(); }

    sim::SimulatedHost h;
};

}  // namespace

TEST_F(LibraryFolders, RegisterAppendsANewLocalEntryAndDropsBuiltIns)
{
    host::LibraryInfo other = SimLibraryList::Local("/data/Other");
    other.name = "Other";
    other.readOnly = true;
    Seed({SimLibraryList::BuiltIn("/App/Library"), other});

    RegisterLibraryDir(h.Bundle().libraryList, "/scans/Haus");

    EXPECT_EQ(Calls(), (std::vector<std::string>{"GLIB", "SLIB"})) << "registration does not reload";
    ASSERT_EQ(Paths(LastSet()), (std::vector<std::string>{"/data/Other", "/scans/Haus"}));
    // Existing entries are passed on unchanged.
    EXPECT_EQ(LastSet()[0].name, "Other");
    EXPECT_TRUE(LastSet()[0].readOnly);
    // The new record: type 1, every other field empty or false.
    const host::LibraryInfo& added = LastSet()[1];
    EXPECT_EQ(added.libraryType, 1);
    EXPECT_EQ(added.name, "");
    EXPECT_FALSE(added.available);
    EXPECT_FALSE(added.readOnly);
    EXPECT_EQ(added.twServerUrl, "");
    EXPECT_EQ(added.urlWebLibrary, "");
}

TEST_F(LibraryFolders, RegisterComparesExactPathText)
{
    Seed({SimLibraryList::Local("/scans/Haus")});

    // Present: the list is set again, without a duplicate.
    RegisterLibraryDir(h.Bundle().libraryList, "/scans/Haus");
    RegisterLibraryDir(h.Bundle().libraryList, "/scans/Haus");
    EXPECT_EQ(h.LibraryList().SetCount(), 2);
    EXPECT_EQ(Paths(LastSet()), std::vector<std::string>{"/scans/Haus"});

    // A trailing separator or another letter case makes another folder.
    RegisterLibraryDir(h.Bundle().libraryList, "/scans/Haus/");
    RegisterLibraryDir(h.Bundle().libraryList, "/scans/haus");
    EXPECT_EQ(Paths(LastSet()), (std::vector<std::string>{"/scans/Haus", "/scans/Haus/", "/scans/haus"}));
}

TEST_F(LibraryFolders, RegisterAfterAFailedGetWritesOnlyTheNewFolder)
{
    Seed({SimLibraryList::Local("/data/Other")});
    h.Faults().FailNext(sim::Op::GetLibraries, -1);
    RegisterLibraryDir(h.Bundle().libraryList, "/scans/Haus");
    EXPECT_EQ(Paths(LastSet()), std::vector<std::string>{"/scans/Haus"});
}

TEST_F(LibraryFolders, UnregisterRemovesEveryMatchAndAlwaysSets)
{
    Seed({SimLibraryList::BuiltIn("/App/Library"), SimLibraryList::Local("/scans/Haus"),
          SimLibraryList::Local("/data/Other"), SimLibraryList::Local("/scans/Haus"),
          SimLibraryList::Local("/scans/Haus/")});

    UnregisterLibraryDir(h.Bundle().libraryList, "/scans/Haus");
    EXPECT_EQ(Calls(), (std::vector<std::string>{"GLIB", "SLIB"}));
    EXPECT_EQ(Paths(LastSet()), (std::vector<std::string>{"/data/Other", "/scans/Haus/"}));

    // Nothing to remove: the list is still written back.
    UnregisterLibraryDir(h.Bundle().libraryList, "/not/there");
    EXPECT_EQ(h.LibraryList().SetCount(), 2);
    EXPECT_EQ(Paths(LastSet()), (std::vector<std::string>{"/data/Other", "/scans/Haus/"}));
}

TEST_F(LibraryFolders, ReloadSetsTheListWithoutBuiltInsThenReloads)
{
    Seed({SimLibraryList::Local("/a"), SimLibraryList::BuiltIn("/App/Library"), SimLibraryList::Local("/b")});
    ReloadLibraries(h.Bundle().libraryList);
    EXPECT_EQ(Calls(), (std::vector<std::string>{"GLIB", "SLIB", "RLIB"}));
    EXPECT_EQ(Paths(LastSet()), (std::vector<std::string>{"/a", "/b"}));
    EXPECT_EQ(h.LibraryList().ReloadCount(), 1);
}
