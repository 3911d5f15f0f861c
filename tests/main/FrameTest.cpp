// The add-on frame: entry points, menu handler and the host's palette messages,
// run against the simulated host.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
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

class FrameTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dir_ = fs::temp_directory_path() /
               ("pw_frame_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
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

    void StartAddOn()
    {
        EnvirParams envir;
        CheckEnvironment(envir);
        RegisterInterface();
        Initialize();
    }

    std::vector<std::string> Log() const { return ReadLines(logPath_); }

    int SendMessage(int32_t message, intptr_t param = 0)
    {
        return host_.Registration().SendPaletteMessage(kPaletteRefId, message, param);
    }

    sim::SimulatedPaletteView& View() { return sim::SimulatedPaletteView::Of(*PunktwolkenPalette::Existing()); }

    sim::SimulatedHost host_;
    fs::path dir_;
    std::string logPath_;
};

TEST_F(FrameTest, EntryPointsRegisterMenuAndPaletteInHostOrder)
{
    host_.Registration().SetString(32000, 1, "Punktwolke");
    host_.Registration().SetString(32000, 2, "Beschreibung");

    EnvirParams envir;
    EXPECT_EQ(CheckEnvironment(envir), 2);
    EXPECT_EQ(envir.addOnName, "Punktwolke");
    EXPECT_EQ(envir.addOnDescription, "Beschreibung");
    EXPECT_EQ(RegisterInterface(), 0);
    EXPECT_EQ(Initialize(), 0);

    EXPECT_EQ(host_.Calls().Calls(),
              (std::vector<std::string>{"GetIndString 32000 1", "GetIndString 32000 2", "RegisterMenu 32500 32600 0 0",
                                        "InstallMenuHandler 32500", "RegisterModelessWindow 1347896387 1015"}));
    ASSERT_EQ(host_.Registration().Windows().count(0x50574443), 1u);
    const sim::ModelessWindow& window = host_.Registration().Windows().at(0x50574443);
    EXPECT_EQ(window.callback, &PunktwolkenPalette::ControlCallback);
    EXPECT_EQ(window.controlFlags, 1015u);
    // C7D4E5F6-1A2B-3C4D-8E9F-0A1B2C3D4E5F in the host's in-memory GUID layout.
    const host::Guid expected{{0xF6, 0xE5, 0xD4, 0xC7, 0x2B, 0x1A, 0x4D, 0x3C, 0x8E, 0x9F, 0x0A, 0x1B, 0x2C, 0x3D,
                               0x4E, 0x5F}};
    EXPECT_EQ(window.paletteGuid, expected);
    EXPECT_EQ(host_.Registration().MenuHandlers().count(32500), 1u);
    EXPECT_EQ(Log(), (std::vector<std::string>{"Initialize() aufgerufen.", "ModelessWindow registriert."}));
    EXPECT_EQ(PunktwolkenPalette::Existing(), nullptr) << "Initialize must not create the palette";

    PunktwolkenPalette* palette = PunktwolkenPalette::GetInstance();
    EXPECT_EQ(FreeData(), 0);
    EXPECT_TRUE(host_.Registration().Windows().empty());
    EXPECT_EQ(PunktwolkenPalette::Existing(), palette) << "FreeData must leave the palette alive";
}

TEST_F(FrameTest, EntryPointsReturnZeroWhenTheHostRefuses)
{
    host_.Faults().FailNext(sim::Op::RegisterMenu, sim::APIERR_GENERAL);
    host_.Faults().FailNext(sim::Op::InstallMenuHandler, sim::APIERR_GENERAL);
    host_.Faults().FailNext(sim::Op::RegisterModelessWindow, sim::APIERR_BADID);
    host_.Faults().FailNext(sim::Op::UnregisterModelessWindow, sim::APIERR_BADID);
    EXPECT_EQ(RegisterInterface(), 0);
    EXPECT_EQ(Initialize(), 0);
    EXPECT_EQ(FreeData(), 0);
    EXPECT_EQ(Log(), (std::vector<std::string>{"Initialize() aufgerufen.", "ModelessWindow registriert."}));
}

TEST_F(FrameTest, MenuCommandsOtherThanTheOwnItemAreLoggedAndIgnored)
{
    StartAddOn();
    EXPECT_EQ(host_.Registration().InvokeMenu(32500, 2), 0);
    EXPECT_EQ(MenuCommandHandler(host::MenuParams{32501, 1}), 0);
    EXPECT_EQ(MenuCommandHandler(host::MenuParams{-32768, -32768}), 0);
    EXPECT_EQ(PunktwolkenPalette::Existing(), nullptr);
    const std::vector<std::string> log = Log();
    ASSERT_EQ(log.size(), 5u);
    EXPECT_EQ(log[2], "MenuCommandHandler resID=32500 itemIndex=2");
    EXPECT_EQ(log[3], "MenuCommandHandler resID=32501 itemIndex=1");
    EXPECT_EQ(log[4], "MenuCommandHandler resID=-32768 itemIndex=-32768");
}

TEST_F(FrameTest, MenuCommandCreatesShowsAndRefreshesThePaletteOnce)
{
    StartAddOn();
    host_.LibParts().AddLibPart(u"Halle", {sim::StringPar("sE57Path", u"/scans/Halle.e57"),
                                           sim::IntPar("iDensityPercent", 25)});
    ASSERT_EQ(host_.Registration().InvokeMenu(32500, 1), 0);
    PunktwolkenPalette* palette = PunktwolkenPalette::Existing();
    ASSERT_NE(palette, nullptr);
    EXPECT_TRUE(View().IsVisible());
    EXPECT_EQ(View().RowTexts(), std::vector<std::string>{"Halle - 25%"});
    EXPECT_EQ(Log(), (std::vector<std::string>{
                         "Initialize() aufgerufen.", "ModelessWindow registriert.",
                         "MenuCommandHandler resID=32500 itemIndex=1", "Palette-Konstruktor: Items initialisiert.",
                         "Palette-Konstruktor: rufe BeginEventProcessing...", "Palette-Konstruktor: fertig.",
                         "PanelOpened aufgerufen.", "MenuHandler: Show+Refresh done."}));

    // A second command shows the same object and picks up what changed in the host.
    host_.LibParts().AddLibPart(u"Keller", {sim::StringPar("sE57Path", u"/scans/Keller.e57"),
                                            sim::IntPar("iDensityPercent", 5)});
    ASSERT_EQ(host_.Registration().InvokeMenu(32500, 1), 0);
    EXPECT_EQ(PunktwolkenPalette::Existing(), palette);
    EXPECT_EQ(View().RowTexts(), (std::vector<std::string>{"Halle - 25%", "Keller - 5%"}));
}

TEST_F(FrameTest, PaletteMessagesBeforeThePaletteExistsCreateNothing)
{
    StartAddOn();
    bool visible = true;
    EXPECT_EQ(SendMessage(7, reinterpret_cast<intptr_t>(&visible)), 0);
    EXPECT_FALSE(visible);
    for (int32_t message : {1, 2, 3, 4, 5, 6, 8, 0, -1}) {
        EXPECT_EQ(SendMessage(message), 0) << message;
    }
    EXPECT_EQ(PunktwolkenPalette::Existing(), nullptr);
    EXPECT_EQ(Log().size(), 2u);
}

TEST_F(FrameTest, PaletteMessagesDriveTheExistingPalette)
{
    StartAddOn();
    host_.Registration().InvokeMenu(32500, 1);
    PunktwolkenPalette* palette = PunktwolkenPalette::Existing();
    bool visible = false;

    SendMessage(7, reinterpret_cast<intptr_t>(&visible));
    EXPECT_TRUE(visible);
    SendMessage(2);
    EXPECT_FALSE(View().IsVisible());
    SendMessage(7, reinterpret_cast<intptr_t>(&visible));
    EXPECT_FALSE(visible);
    SendMessage(3);
    EXPECT_TRUE(View().IsVisible());
    SendMessage(2);
    SendMessage(6);
    EXPECT_TRUE(View().IsVisible());

    // 4 disables every item; 5 enables every item, also the footer items that
    // the palette's own rules keep disabled without a selection.
    SendMessage(4);
    for (int item = 1; item <= 9; ++item) {
        EXPECT_FALSE(View().State(static_cast<PaletteItem>(item)).enabled) << item;
    }
    EXPECT_FALSE(View().UserClick(PaletteItem::ImportButton));
    SendMessage(5);
    for (int item = 1; item <= 9; ++item) {
        EXPECT_TRUE(View().State(static_cast<PaletteItem>(item)).enabled) << item;
    }

    // 1 asks the palette to close: it hides and stays the same object.
    const size_t before = Log().size();
    SendMessage(1);
    EXPECT_FALSE(View().IsVisible());
    EXPECT_EQ(PunktwolkenPalette::Existing(), palette);
    const std::vector<std::string> log = Log();
    ASSERT_EQ(log.size(), before + 1);
    EXPECT_EQ(log.back(), "PanelCloseRequested aufgerufen \xE2\x86\x92 Hide()");

    host_.Registration().InvokeMenu(32500, 1);
    EXPECT_EQ(PunktwolkenPalette::Existing(), palette);
    EXPECT_TRUE(View().IsVisible());
}

TEST_F(FrameTest, MissingLogFolderChangesNothingAndCreatesNoFile)
{
    const fs::path missing = dir_ / "absent" / "pcd_debug.log";
    SetLogPath(missing.c_str());
    StartAddOn();
    EXPECT_EQ(host_.Registration().InvokeMenu(32500, 1), 0);
    ASSERT_NE(PunktwolkenPalette::Existing(), nullptr);
    EXPECT_TRUE(View().IsVisible());
    EXPECT_EQ(FreeData(), 0);
    EXPECT_FALSE(fs::exists(missing.parent_path()));
}

TEST_F(FrameTest, MenuCommandWithoutAWindowLeavesNoPalette)
{
    StartAddOn();
    PunktwolkenPalette::SetViewFactory([](PunktwolkenPalette&) -> std::unique_ptr<PaletteView> { return nullptr; });
    EXPECT_EQ(host_.Registration().InvokeMenu(32500, 1), 0);
    EXPECT_EQ(PunktwolkenPalette::Existing(), nullptr);
    sim::SimulatedPaletteView::InstallFactory();
    EXPECT_EQ(host_.Registration().InvokeMenu(32500, 1), 0);
    EXPECT_NE(PunktwolkenPalette::Existing(), nullptr);
}

}  // namespace
