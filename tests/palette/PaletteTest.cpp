// The palette window and its command buttons, in the simulated host.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "host/sim/SimulatedHost.h"
#include "host/sim/SimulatedPaletteView.h"
#include "main/EntryPoints.h"
#include "main/Log.h"
#include "palette/PunktwolkenPalette.h"

namespace fs = std::filesystem;

namespace {

std::vector<std::string> ReadLines(const fs::path& file)
{
    std::vector<std::string> lines;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<host::AddPar> OurParams(const std::u16string& e57Path, double density)
{
    return {sim::StringPar("sE57Path", e57Path), sim::IntPar("iDensityPercent", density)};
}

class PaletteTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dir_ = fs::temp_directory_path() /
               ("pw_palette_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(dir_);
        fs::create_directories(dir_);
        logPath_ = (dir_ / "pcd_debug.log").string();
        SetLogPath(logPath_.c_str());
        host_.BindAsCurrent();
        sim::SimulatedPaletteView::InstallFactory();
    }

    void TearDown() override
    {
        PunktwolkenPalette::ResetInstanceForTesting();
        SetLogPath(nullptr);
        fs::remove_all(dir_);
    }

    // The palette as the menu command opens it.
    PunktwolkenPalette& Open()
    {
        MenuCommandHandler(host::MenuParams{32500, 1});
        return *PunktwolkenPalette::Existing();
    }

    sim::SimulatedPaletteView& View() { return sim::SimulatedPaletteView::Of(*PunktwolkenPalette::Existing()); }

    bool FooterEnabled()
    {
        const bool re = View().State(PaletteItem::ReimportButton).enabled;
        const bool edit = View().State(PaletteItem::EntryDensityEdit).enabled;
        const bool del = View().State(PaletteItem::DeleteButton).enabled;
        EXPECT_TRUE(re == edit && edit == del) << "footer items must change together";
        return re;
    }

    std::vector<std::string> Log() const { return ReadLines(logPath_); }

    sim::SimulatedHost host_;
    fs::path dir_;
    std::string logPath_;
};

TEST_F(PaletteTest, NewPaletteStartsWithItsDefaults)
{
    PunktwolkenPalette& palette = Open();
    EXPECT_EQ(PunktwolkenPalette::GetInstance(), &palette);

    const auto& importEdit = View().State(PaletteItem::ImportDensityEdit);
    EXPECT_EQ(importEdit.value, 10);
    EXPECT_EQ(importEdit.min, 1);
    EXPECT_EQ(importEdit.max, 100);
    const auto& entryEdit = View().State(PaletteItem::EntryDensityEdit);
    EXPECT_EQ(entryEdit.value, 25);
    EXPECT_EQ(entryEdit.min, 1);
    EXPECT_EQ(entryEdit.max, 100);
    EXPECT_EQ(View().TabFieldCount(), 1);
    EXPECT_EQ(View().TabFieldBounds(1), (std::pair<int16_t, int16_t>{0, 339}));
    EXPECT_EQ(View().MinClientWidth(), 100);
    EXPECT_EQ(View().MinClientHeight(), 150);
    EXPECT_TRUE(View().ProcessingEvents());
    EXPECT_EQ(palette.ImportDensity(), 10);
    EXPECT_FALSE(palette.ImportBusy());

    // An empty catalogue: no rows, footer disabled, import possible.
    EXPECT_TRUE(View().RowTexts().empty());
    EXPECT_FALSE(FooterEnabled());
    EXPECT_TRUE(View().State(PaletteItem::ImportButton).enabled);
    EXPECT_TRUE(View().State(PaletteItem::ImportDensityEdit).enabled);

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

TEST_F(PaletteTest, ResizingToTheMinimumAndBackKeepsTheLayout)
{
    Open();
    const sim::PaletteLayout& original = sim::ResourcePaletteLayout();
    ASSERT_EQ(View().ClientWidth(), original.clientWidth);
    ASSERT_EQ(View().ClientHeight(), original.clientHeight);

    ASSERT_TRUE(View().UserResize(-1000, -1000));
    EXPECT_EQ(View().ClientWidth(), 100);
    EXPECT_EQ(View().ClientHeight(), 150);
    const int16_t dx = static_cast<int16_t>(100 - original.clientWidth);
    const int16_t dy = static_cast<int16_t>(150 - original.clientHeight);
    for (const sim::PaletteItemLayout& item : original.items) {
        sim::Rect expected = item.rect;
        switch (item.id) {
        case PaletteItem::DeleteButton:
            expected.x = static_cast<int16_t>(expected.x + dx);
            break;
        case PaletteItem::CloudList:
            expected.width = static_cast<int16_t>(expected.width + dx);
            expected.height = static_cast<int16_t>(expected.height + dy);
            break;
        case PaletteItem::ReimportButton:
        case PaletteItem::EntryDensityEdit:
        case PaletteItem::Label9:
            expected.y = static_cast<int16_t>(expected.y + dy);
            break;
        default:
            break;
        }
        EXPECT_EQ(View().State(item.id).rect, expected) << "item " << static_cast<int>(item.id);
    }
    const int16_t listWidth = View().GetItemWidth(PaletteItem::CloudList);
    EXPECT_EQ(View().TabFieldBounds(1), (std::pair<int16_t, int16_t>{0, listWidth}));
    EXPECT_FALSE(View().InsideMoveResize());

    ASSERT_TRUE(View().UserResize(static_cast<int16_t>(-dx), static_cast<int16_t>(-dy)));
    for (const sim::PaletteItemLayout& item : original.items) {
        EXPECT_EQ(View().State(item.id).rect, item.rect) << "item " << static_cast<int>(item.id);
    }
    EXPECT_EQ(View().TabFieldBounds(1).second, original.items[5].rect.width - sim::kListScrollBarWidth);
}

TEST_F(PaletteTest, CloseBoxHidesAndTheNextMenuCommandShowsTheSamePaletteRefreshed)
{
    PunktwolkenPalette& palette = Open();
    View().UserTypeValue(PaletteItem::ImportDensityEdit, 40);
    View().UserResize(120, 80);

    ASSERT_TRUE(View().UserCloseBox());
    EXPECT_FALSE(View().IsVisible());
    EXPECT_EQ(Log().back(), "PanelCloseRequested aufgerufen \xE2\x86\x92 Hide()");
    EXPECT_FALSE(View().UserClick(PaletteItem::ImportButton)) << "a hidden palette takes no clicks";

    host_.LibParts().AddLibPart(u"Halle", OurParams(u"/scans/Halle.e57", 25));
    PunktwolkenPalette& again = Open();
    EXPECT_EQ(&again, &palette);
    EXPECT_TRUE(View().IsVisible());
    EXPECT_EQ(View().RowTexts(), std::vector<std::string>{"Halle - 25%"});
    EXPECT_EQ(View().GetEditValue(PaletteItem::ImportDensityEdit), 40) << "state is kept while hidden";
    // Opening again starts from the resource's size and layout.
    const sim::PaletteLayout& original = sim::ResourcePaletteLayout();
    EXPECT_EQ(View().ClientWidth(), original.clientWidth);
    EXPECT_EQ(View().ClientHeight(), original.clientHeight);
    for (const sim::PaletteItemLayout& item : original.items) {
        EXPECT_EQ(View().State(item.id).rect, item.rect) << "item " << static_cast<int>(item.id);
    }
}

TEST_F(PaletteTest, ButtonTraceNamesTheSourceAndTheThreeButtons)
{
    PunktwolkenPalette& palette = Open();
    const size_t before = Log().size();
    palette.ButtonClicked(PaletteItem::DeleteButton);   // no selection: nothing happens
    const std::vector<std::string> log = Log();
    ASSERT_EQ(log.size(), before + 2);
    EXPECT_EQ(log[before], "ButtonClicked aufgerufen");
    char expected[128];
    std::snprintf(expected, sizeof expected, "  src=%p  addBtn=%p  relBtn=%p  delBtn=%p",
                  static_cast<const void*>(&palette.Item(PaletteItem::DeleteButton)),
                  static_cast<const void*>(&palette.Item(PaletteItem::ImportButton)),
                  static_cast<const void*>(&palette.Item(PaletteItem::ReimportButton)),
                  static_cast<const void*>(&palette.Item(PaletteItem::DeleteButton)));
    EXPECT_EQ(log[before + 1], expected);
    EXPECT_NE(&palette.Item(PaletteItem::ImportButton), &palette.Item(PaletteItem::ReimportButton));
    EXPECT_EQ(host_.AlertDialog().Shown().size(), 0u);
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

// Imports that place the first entry of a name, re-imports, deletions and failed
// imports are covered end to end by the session scenarios in tests/main/sessions/.

}  // namespace
