// Library list and library loading of the simulated host: what 'RLIB' loads,
// how indexes move, and what 'SLIB' accepts.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/TestSupport.h"

using pwtest::TempDir;
#include "host/sim/SimulatedHost.h"
#include "host/sim/StandInLibPartFile.h"

namespace {

void WriteGsm(const TempDir& dir, const std::string& relative, double density)
{
    sim::StandInLibPart part;
    part.mainGuid = "GUID-OF-" + relative;   // identity only; the loader does not check its form
    part.params = {{"A", host::APIParT_Length, sim::kParFlgFixed, 2.0, "", "Dimension 1"},
                   {"iDensityPercent", host::APIParT_Integer, 0, density, "", ""}};
    std::string error;
    std::filesystem::create_directories((dir.Path() / relative).parent_path());
    ASSERT_TRUE(sim::WriteStandInLibPart(dir.Path() / relative, part, error)) << error;
}

std::vector<std::u16string> Names(sim::SimulatedHost& h)
{
    std::vector<std::u16string> names;
    for (const auto& p : h.LibParts().Parts()) {
        names.push_back(p.name);
    }
    return names;
}

}  // namespace

TEST(SimLibraryLoading, ReloadLoadsFolderLibrariesInListOrderAndDropsRemovedFiles)
{
    TempDir dir;
    WriteGsm(dir, "libA/Zeta.gsm", 10);
    WriteGsm(dir, "libA/Alpha.gsm", 20);
    WriteGsm(dir, "libA/sub/Mid.GSM", 30);
    dir.Write("libA/broken.gsm", "not a library part");
    dir.Write("libA/notes.txt", "ignored");
    WriteGsm(dir, "libB/Beta.gsm", 40);

    sim::SimulatedHost h;
    h.LibParts().AddLibPart(u"Vorhanden", {sim::IntPar("iDensityPercent", 5)});
    h.LibraryList().Seed({sim::SimLibraryList::Local(dir.Path() / "libB"),
                          sim::SimLibraryList::BuiltIn("/Applications/Host/Built-in.rfs"),
                          sim::SimLibraryList::Local(dir.Path() / "libA"),
                          sim::SimLibraryList::Local(dir.Path() / "missing")});
    ASSERT_EQ(h.Bundle().libraryList.ReloadLibraries(), host::NoError);

    // Added parts first, then each folder's files sorted by path, subfolders included.
    EXPECT_EQ(Names(h), (std::vector<std::u16string>{u"Vorhanden", u"Beta", u"Alpha", u"Zeta", u"Mid"}));
    ASSERT_EQ(h.LibParts().LoadProblems().size(), 1u);
    EXPECT_NE(h.LibParts().LoadProblems()[0].find("broken.gsm"), std::string::npos);
    EXPECT_EQ(h.LibParts().Part(4)->params[1].real, 10.0);
    EXPECT_EQ(h.LibParts().Part(4)->a, 2.0);

    // Files removed on disk stay loaded until the next reload, then vanish.
    std::filesystem::remove(dir.Path() / "libA/Alpha.gsm");
    int32_t count = 0;
    ASSERT_EQ(h.Bundle().libParts.GetNum(count), host::NoError);
    EXPECT_EQ(count, 5);
    ASSERT_EQ(h.Bundle().libraryList.ReloadLibraries(), host::NoError);
    EXPECT_EQ(Names(h), (std::vector<std::u16string>{u"Vorhanden", u"Beta", u"Zeta", u"Mid"}));
    EXPECT_EQ(h.LibraryList().ReloadCount(), 2);

    // Setting the list loads nothing, unless the host is told to load on set.
    ASSERT_EQ(h.Bundle().libraryList.SetLibraries({sim::SimLibraryList::Local(dir.Path() / "libB")}), host::NoError);
    EXPECT_EQ(h.LibParts().Count(), 4);
    h.LibraryList().SetReloadOnSet(true);
    ASSERT_EQ(h.Bundle().libraryList.SetLibraries({sim::SimLibraryList::Local(dir.Path() / "libB")}), host::NoError);
    EXPECT_EQ(Names(h), (std::vector<std::u16string>{u"Vorhanden", u"Beta"}));
}

TEST(SimLibraryLoading, PlacedObjectsFollowTheirPartToItsNewIndex)
{
    TempDir dir;
    WriteGsm(dir, "lib/A1.gsm", 10);
    WriteGsm(dir, "lib/B2.gsm", 20);
    sim::SimulatedHost h;
    h.LibraryList().Seed({sim::SimLibraryList::Local(dir.Path() / "lib")});
    h.LoadLibraries();
    ASSERT_EQ(h.LibParts().IndexOfName(u"B2"), 2);
    const host::Guid placed = h.Elements().AddObject(2, 0, {});

    std::filesystem::remove(dir.Path() / "lib/A1.gsm");
    h.LoadLibraries();
    EXPECT_EQ(h.Elements().Find(placed)->element.libInd, 1);

    std::filesystem::remove(dir.Path() / "lib/B2.gsm");
    h.LoadLibraries();
    EXPECT_EQ(h.Elements().Find(placed)->element.libInd, 0);   // its part is gone
}

TEST(SimLibraryList, SetKeepsTheHostsBuiltInsAndRefusesBuiltInEntries)
{
    sim::SimulatedHost h;
    const auto builtIn = sim::SimLibraryList::BuiltIn("/Applications/Host/Built-in.rfs");
    const auto a = sim::SimLibraryList::Local("/data/A");
    const auto b = sim::SimLibraryList::Local("/data/B");
    h.LibraryList().Seed({a, builtIn});
    auto& list = h.Bundle().libraryList;

    std::vector<host::LibraryInfo> got;
    int32_t embedded = 0;
    ASSERT_EQ(list.GetLibraries(got, &embedded), host::NoError);
    EXPECT_EQ(got.size(), 2u);
    EXPECT_EQ(embedded, -1);

    EXPECT_EQ(list.SetLibraries({a, builtIn, b}), sim::APIERR_BADPARS);
    EXPECT_EQ(h.LibraryList().Libraries().size(), 2u);
    EXPECT_EQ(h.Calls().Problems().size(), 1u);

    ASSERT_EQ(list.SetLibraries({b}), host::NoError);
    ASSERT_EQ(h.LibraryList().Libraries().size(), 2u);
    EXPECT_EQ(h.LibraryList().Libraries()[0].libraryType, 3);
    EXPECT_EQ(h.LibraryList().Libraries()[1].location, b.location);
    ASSERT_EQ(h.LibraryList().LastSet().size(), 1u);
    EXPECT_EQ(h.LibraryList().SetCount(), 1);
    EXPECT_EQ(h.LibraryList().ReloadCount(), 0);   // setting the list loads nothing

    h.Faults().FailNext(sim::Op::GetLibraries, sim::APIERR_GENERAL);
    EXPECT_EQ(list.GetLibraries(got, nullptr), sim::APIERR_GENERAL);
    EXPECT_TRUE(got.empty());
    EXPECT_EQ(h.Calls().Calls(), (std::vector<std::string>{"GLIB", "SLIB", "SLIB", "GLIB"}));
}
