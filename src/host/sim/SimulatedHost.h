#pragma once
// In-memory stand-in for the host, for tests and the session driver.
//
//   sim::SimulatedHost h;
//   h.LibraryList().Seed({sim::SimLibraryList::Local("/data/Scans")});
//   h.LibParts().AddLibPart(u"Scan", {sim::IntPar("iDensityPercent", 10), ...});
//   h.Faults().FailNext(sim::Op::SetLibraries, sim::APIERR_GENERAL);
//   SomeCommand(h.Bundle());
//   EXPECT_EQ(h.Calls().Calls(), (std::vector<std::string>{"GLIB", "SLIB", "RLIB"}));
//   EXPECT_EQ(h.Handles().Outstanding(), 0u);
//   EXPECT_TRUE(h.Calls().Problems().empty());
//
// Each part of the host is its own class (Sim*.h); this one owns them all,
// wires them together and hands them out as a host::Host bundle.
#include "host/Host.h"
#include "host/sim/SimCallLog.h"
#include "host/sim/SimDialogs.h"
#include "host/sim/SimElements.h"
#include "host/sim/SimErrorCodes.h"
#include "host/sim/SimFaults.h"
#include "host/sim/SimHandles.h"
#include "host/sim/SimLibParts.h"
#include "host/sim/SimLibraryList.h"
#include "host/sim/SimProcessWindow.h"
#include "host/sim/SimRegistration.h"
#include "host/sim/SimReportWindow.h"
#include "host/sim/SimStories.h"
#include "host/sim/SimText.h"
#include "host/sim/SimUndo.h"

namespace sim {

class SimulatedHost {
public:
    SimulatedHost();
    ~SimulatedHost();
    SimulatedHost(const SimulatedHost&) = delete;
    SimulatedHost& operator=(const SimulatedHost&) = delete;

    host::Host& Bundle() { return bundle_; }
    // Makes this host the one host::CurrentHost() returns, until it is destroyed.
    void BindAsCurrent();

    SimCallLog& Calls() { return log_; }
    SimFaults& Faults() { return faults_; }
    SimHandles& Handles() { return handles_; }
    SimLibraryList& LibraryList() { return libraryList_; }
    SimLibParts& LibParts() { return libParts_; }
    SimElements& Elements() { return elements_; }
    SimUndo& Undo() { return undo_; }
    SimStories& Stories() { return stories_; }
    SimProcessWindow& ProcessWindow() { return processWindow_; }
    SimReportWindow& ReportWindow() { return reportWindow_; }
    SimOpenFileDialog& OpenFileDialog() { return openFileDialog_; }
    SimAlertDialog& AlertDialog() { return alertDialog_; }
    SimRegistration& Registration() { return registration_; }

    // Loads the library parts from the current library list as 'RLIB' does,
    // without a host call being recorded.
    void LoadLibraries();

private:
    SimCallLog log_;
    SimFaults faults_;
    SimHandles handles_;
    SimLibParts libParts_;
    SimLibraryList libraryList_;
    SimStories stories_;
    SimElements elements_;
    SimUndo undo_;
    SimProcessWindow processWindow_;
    SimReportWindow reportWindow_;
    SimOpenFileDialog openFileDialog_;
    SimAlertDialog alertDialog_;
    SimRegistration registration_;
    host::Host bundle_;
    bool bound_ = false;
};

}  // namespace sim
