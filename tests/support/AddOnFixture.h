#pragma once
// The add-on in a fresh simulated host: the host bound as current, the
// simulated palette window installed, the debug log in a temporary folder,
// and the palette singleton reset after each test.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/sim/SimulatedHost.h"
#include "host/sim/SimulatedPaletteView.h"
#include "main/Log.h"
#include "palette/PunktwolkenPalette.h"
#include "support/TestSupport.h"

namespace pwtest {

class AddOnFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        logPath_ = dir_.File("pcd_debug.log");
        SetLogPath(logPath_.c_str());
        host_.BindAsCurrent();
        sim::SimulatedPaletteView::InstallFactory();
    }

    void TearDown() override
    {
        PunktwolkenPalette::ResetInstanceForTesting();
        SetLogPath(nullptr);
    }

    std::vector<std::string> Log() const { return ReadLines(logPath_); }

    sim::SimulatedPaletteView& View() { return sim::SimulatedPaletteView::Of(*PunktwolkenPalette::Existing()); }

    sim::SimulatedHost host_;
    TempDir dir_;
    std::string logPath_;
};

}  // namespace pwtest
