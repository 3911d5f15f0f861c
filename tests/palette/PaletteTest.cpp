// The palette window and its command buttons, in the simulated host.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include "host/sim/SimulatedHost.h"
#include "host/sim/SimulatedPaletteView.h"
#include "main/EntryPoints.h"
#include "main/Log.h"
#include "palette/PunktwolkenPalette.h"
#include "support/AddOnFixture.h"
#include "support/TestSupport.h"

namespace fs = std::filesystem;

namespace {

std::vector<host::AddPar> OurParams(const std::u16string& e57Path, double density)
{
    return {sim::StringPar("sE57Path", e57Path), sim::IntPar("iDensityPercent", density)};
}

class PaletteTest : public pwtest::AddOnFixture {
protected:
    // The palette as the menu command opens it.
    PunktwolkenPalette& Open()
    {
        frame::MenuCommandHandler(host::MenuParams{32500, 1});
        return *PunktwolkenPalette::Existing();
    }

    bool FooterEnabled()
    {
        const bool re = View().State(PaletteItem::ReimportButton).enabled;
        const bool edit = View().State(PaletteItem::EntryDensityEdit).enabled;
        const bool del = View().State(PaletteItem::DeleteButton).enabled;
        EXPECT_TRUE(re == edit && edit == del) << "footer items must change together";
        return re;
    }
};

TEST_F(PaletteTest, NewPaletteStartsWithItsDefaults)
{
    PunktwolkenPalette& palette = Open();
    EXPECT_EQ(PunktwolkenPalette::GetInstance(), &palette);

    const auto& entryEdit = View().State(PaletteItem::EntryDensityEdit);
    EXPECT_EQ(entryEdit.min, 1);
    EXPECT_EQ(entryEdit.max, 100);
    EXPECT_TRUE(View().ProcessingEvents());
    EXPECT_FALSE(FooterEnabled());

    // The edits keep to 1..100 and the import takes what the edit holds.
    EXPECT_TRUE(View().UserTypeValue(PaletteItem::ImportDensityEdit, 500));
    EXPECT_EQ(View().GetEditValue(PaletteItem::ImportDensityEdit), 100);
    EXPECT_TRUE(View().UserTypeValue(PaletteItem::ImportDensityEdit, 0));
    EXPECT_EQ(View().GetEditValue(PaletteItem::ImportDensityEdit), 1);
    EXPECT_TRUE(View().UserClick(PaletteItem::ImportButton));   // the file dialog is cancelled
    EXPECT_EQ(palette.ImportDensity(), 1);
    EXPECT_FALSE(palette.ImportBusy());
}

TEST_F(PaletteTest, SelectionFillsAndEnablesTheFooterDeselectionKeepsTheValue)
{
    host_.LibParts().AddLibPart(u"Halle", OurParams(u"/scans/Halle.e57", 25));
    host_.LibParts().AddLibPart(u"Keller", OurParams(u"/scans/Keller.e57", 5));
    Open();
    ASSERT_EQ(View().RowTexts(), (std::vector<std::string>{"Halle - 25%", "Keller - 5%"}));

    ASSERT_TRUE(View().UserSelectRow(2));
    EXPECT_EQ(View().GetEditValue(PaletteItem::EntryDensityEdit), 5);
    EXPECT_TRUE(FooterEnabled());
    ASSERT_TRUE(View().UserSelectRow(1));
    EXPECT_EQ(View().GetEditValue(PaletteItem::EntryDensityEdit), 25);

    ASSERT_TRUE(View().UserSelectRow(0));
    EXPECT_FALSE(FooterEnabled());
    EXPECT_EQ(View().GetEditValue(PaletteItem::EntryDensityEdit), 25);

    // Events of another list do not touch the footer.
    ASSERT_TRUE(View().UserSelectRow(2));
    PunktwolkenPalette::Existing()->ListBoxSelectionChanged(PaletteItem::Label9);
    EXPECT_TRUE(FooterEnabled());

    // A refresh rebuilds the rows, so the selection and the footer go.
    PunktwolkenPalette::Existing()->Refresh();
    EXPECT_EQ(View().SelectedRow(), 0);
    EXPECT_FALSE(FooterEnabled());
}

// An open-file dialog that lets the user click the import button again while
// the first import is waiting for the file, then cancels.
class ReentrantFileDialog : public host::OpenFileDialog {
public:
    bool GetOpenFile(const std::string&, const std::string&, const std::string&, fs::path&) override
    {
        ++requests;
        sawBusy = PunktwolkenPalette::Existing()->ImportBusy();
        PunktwolkenPalette::Existing()->ButtonClicked(PaletteItem::ImportButton);
        return false;
    }
    int requests = 0;
    bool sawBusy = false;
};

TEST_F(PaletteTest, SecondImportClickDuringAnImportDoesNothing)
{
    ReentrantFileDialog dialog;
    host::Host bundle = host_.Bundle();
    host::Host withDialog{bundle.registration, dialog, bundle.alertDialog, bundle.reportWindow,
                          bundle.processWindow, bundle.libraryList, bundle.libParts, bundle.elements,
                          bundle.undo, bundle.stories};
    host::SetCurrentHost(&withDialog);

    PunktwolkenPalette& palette = Open();
    ASSERT_TRUE(View().UserClick(PaletteItem::ImportButton));
    EXPECT_EQ(dialog.requests, 1);
    EXPECT_TRUE(dialog.sawBusy);
    EXPECT_FALSE(palette.ImportBusy());
    const std::vector<std::string> log = Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), "ButtonClicked aufgerufen"), 2);
    EXPECT_EQ(std::count(log.begin(), log.end(), "--- DoImport ---"), 1);
    host_.BindAsCurrent();
}

// The host's close message only hides the palette: the same palette, with its
// list, comes back on the open message. Messages the palette does not know
// change nothing.
TEST_F(PaletteTest, HostCloseMessageHidesThePaletteWhichOpenBringsBack)
{
    PunktwolkenPalette& palette = Open();
    ASSERT_TRUE(View().IsVisible());
    const std::vector<std::string> rows = View().RowTexts();

    EXPECT_EQ(PunktwolkenPalette::ControlCallback(0, 1, 0), host::NoError);   // close
    EXPECT_EQ(PunktwolkenPalette::Existing(), &palette);
    EXPECT_FALSE(View().IsVisible());
    bool visible = true;
    PunktwolkenPalette::ControlCallback(0, 7, reinterpret_cast<intptr_t>(&visible));
    EXPECT_FALSE(visible);

    EXPECT_EQ(PunktwolkenPalette::ControlCallback(0, 99, 0), host::NoError);
    EXPECT_FALSE(View().IsVisible());

    PunktwolkenPalette::ControlCallback(0, 6, 0);   // open
    EXPECT_TRUE(View().IsVisible());
    EXPECT_EQ(View().RowTexts(), rows);
    EXPECT_TRUE(View().ProcessingEvents());
}

// An open-file dialog whose first request fails with an exception (the host
// out of memory, say) and that cancels afterwards.
class ThrowingFileDialog : public host::OpenFileDialog {
public:
    bool GetOpenFile(const std::string&, const std::string&, const std::string&, fs::path&) override
    {
        if (++requests == 1)
            throw std::bad_alloc();
        return false;
    }
    int requests = 0;
};

// An import that fails by exception must not leave the palette believing an
// import still runs: the next click imports again.
TEST_F(PaletteTest, ImportThatThrowsLeavesTheImportButtonWorking)
{
    ThrowingFileDialog dialog;
    host::Host bundle = host_.Bundle();
    host::Host withDialog{bundle.registration, dialog, bundle.alertDialog, bundle.reportWindow,
                          bundle.processWindow, bundle.libraryList, bundle.libParts, bundle.elements,
                          bundle.undo, bundle.stories};
    host::SetCurrentHost(&withDialog);

    PunktwolkenPalette& palette = Open();
    EXPECT_THROW(View().UserClick(PaletteItem::ImportButton), std::bad_alloc);
    EXPECT_FALSE(palette.ImportBusy());
    ASSERT_TRUE(View().UserClick(PaletteItem::ImportButton));
    EXPECT_EQ(dialog.requests, 2);
    host_.BindAsCurrent();
}

// Defaults, layout on resizing, the close box, the button trace, imports,
// re-imports, deletions and failed imports are covered end to end by the
// session scenarios in tests/main/sessions/.

}  // namespace
