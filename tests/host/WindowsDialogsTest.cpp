// Process window and binding of the simulated host: calls are recorded and misuse is reported,
// which every other test relies on. Dialogs and registration are exercised by the frame tests.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/sim/SimulatedHost.h"

TEST(SimProcessWindow, ReportsCancelFromTheChosenQueryOnAndRecordsEveryCall)
{
    sim::SimulatedHost h;
    h.ProcessWindow().CancelFromCall(3);
    host::ProcessWindow& w = h.Bundle().processWindow;
    w.Open("E57 importieren...", 2);
    w.NextPhase("Punktwolke konvertieren...", 123);
    std::vector<bool> answers;
    for (int i = 0; i < 4; ++i) {
        bool canceled = true;   // the host overwrites it either way
        w.SetValue(i + 1);
        EXPECT_EQ(w.IsCanceled(canceled), host::NoError);
        answers.push_back(canceled);
    }
    w.Close();
    w.SetValue(9);   // after closing: a misuse the tests should see

    EXPECT_EQ(answers, (std::vector<bool>{false, false, true, true}));
    EXPECT_EQ(h.Calls().Calls(),
              (std::vector<std::string>{"IPWD E57 importieren... 2", "SPRP Punktwolke konvertieren... 123", "SPRV 1",
                                        "CANC", "SPRV 2", "CANC", "SPRV 3", "CANC", "SPRV 4", "CANC", "CPWD",
                                        "SPRV 9"}));
    EXPECT_EQ(h.ProcessWindow().Calls().size(), h.Calls().Calls().size());
    EXPECT_FALSE(h.ProcessWindow().IsOpen());
    EXPECT_EQ(h.ProcessWindow().CloseCount(), 1);
    EXPECT_EQ(h.Calls().Problems(), std::vector<std::string>{"SPRV while the process window is closed"});
}

TEST(SimulatedHost, BindsAsTheCurrentHostUntilDestroyed)
{
    {
        sim::SimulatedHost h;
        h.BindAsCurrent();
        EXPECT_EQ(&host::CurrentHost(), &h.Bundle());
        h.Stories().SetActiveStory(2);
        host::StoryInfo info;
        ASSERT_EQ(host::CurrentHost().stories.GetStorySettings(info), host::NoError);
        EXPECT_EQ(info.actStory, 2);
    }
    EXPECT_THROW(host::CurrentHost(), std::logic_error);
}
