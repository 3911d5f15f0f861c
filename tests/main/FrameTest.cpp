// The add-on frame: entry points and the menu handler, run against the
// simulated host. Palette messages are covered by the session scenarios.
#include <gtest/gtest.h>

#include <filesystem>
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

class FrameTest : public pwtest::AddOnFixture {
protected:
    void StartAddOn()
    {
        frame::EnvirParams envir;
        frame::CheckEnvironment(envir);
        frame::RegisterInterface();
        frame::Initialize();
    }
};

TEST_F(FrameTest, EntryPointsRegisterMenuAndPaletteInHostOrder)
{
    host_.Registration().SetString(32000, 1, "Punktwolke");
    host_.Registration().SetString(32000, 2, "Beschreibung");

    frame::EnvirParams envir;
    EXPECT_EQ(frame::CheckEnvironment(envir), 2);
    EXPECT_EQ(envir.addOnName, "Punktwolke");
    EXPECT_EQ(envir.addOnDescription, "Beschreibung");
    EXPECT_EQ(frame::RegisterInterface(), 0);
    EXPECT_EQ(frame::Initialize(), 0);

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
    EXPECT_EQ(frame::FreeData(), 0);
    EXPECT_TRUE(host_.Registration().Windows().empty());
    EXPECT_EQ(PunktwolkenPalette::Existing(), palette) << "FreeData must leave the palette alive";
}

TEST_F(FrameTest, EntryPointsReturnZeroWhenTheHostRefuses)
{
    host_.Faults().FailNext(sim::Op::RegisterMenu, sim::APIERR_GENERAL);
    host_.Faults().FailNext(sim::Op::InstallMenuHandler, sim::APIERR_GENERAL);
    host_.Faults().FailNext(sim::Op::RegisterModelessWindow, sim::APIERR_BADID);
    host_.Faults().FailNext(sim::Op::UnregisterModelessWindow, sim::APIERR_BADID);
    EXPECT_EQ(frame::RegisterInterface(), 0);
    EXPECT_EQ(frame::Initialize(), 0);
    EXPECT_EQ(frame::FreeData(), 0);
    EXPECT_EQ(Log(), (std::vector<std::string>{"Initialize() aufgerufen.", "ModelessWindow registriert."}));
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

TEST_F(FrameTest, MissingLogFolderChangesNothingAndCreatesNoFile)
{
    const fs::path missing = dir_.Path() / "absent" / "pcd_debug.log";
    SetLogPath(missing.c_str());
    StartAddOn();
    EXPECT_EQ(host_.Registration().InvokeMenu(32500, 1), 0);
    ASSERT_NE(PunktwolkenPalette::Existing(), nullptr);
    EXPECT_TRUE(View().IsVisible());
    EXPECT_EQ(frame::FreeData(), 0);
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
