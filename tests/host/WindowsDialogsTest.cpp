// Process window, report window, dialogs, registration and binding of the simulated host.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/sim/SimulatedHost.h"

namespace {

int g_menuCalls = 0;
host::ErrCode CountMenu(const host::MenuParams& params)
{
    g_menuCalls += params.itemIndex;
    return host::NoError;
}

int32_t g_lastMessage = 0;
host::ErrCode RememberMessage(int32_t, int32_t messageID, intptr_t param)
{
    g_lastMessage = messageID;
    if (messageID == 7) {
        *reinterpret_cast<bool*>(param) = true;
    }
    return host::NoError;
}

}  // namespace

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

TEST(SimDialogs, AnswerFromTheirQueuesAndRecordWhatWasShown)
{
    sim::SimulatedHost h;
    h.OpenFileDialog().QueueFile("/Scans/Haus.E57");
    h.OpenFileDialog().QueueCancel();
    std::filesystem::path chosen;
    host::OpenFileDialog& files = h.Bundle().openFileDialog;
    EXPECT_TRUE(files.GetOpenFile("E57-Datei öffnen", "E57-Punktwolke", "e57", chosen));
    EXPECT_EQ(chosen, "/Scans/Haus.E57");
    EXPECT_FALSE(files.GetOpenFile("E57-Datei öffnen", "E57-Punktwolke", "e57", chosen));
    EXPECT_FALSE(files.GetOpenFile("E57-Datei öffnen", "E57-Punktwolke", "e57", chosen));   // queue empty
    ASSERT_EQ(h.OpenFileDialog().Requests().size(), 3u);
    EXPECT_EQ(h.OpenFileDialog().Requests()[0].extension, "e57");

    h.AlertDialog().QueueAnswer(1);
    host::AlertDialog& alert = h.Bundle().alertDialog;
    EXPECT_EQ(alert.Alert(-2, "Punktwolke löschen", "\"Scan\" löschen?", "klein", "Löschen", "Abbrechen", ""), 1);
    EXPECT_EQ(alert.Alert(-2, "t", "l", "s", "a", "b", ""), 0);
    h.AlertDialog().SetDefaultAnswer(2);
    EXPECT_EQ(alert.Alert(-2, "t", "l", "s", "a", "b", ""), 2);
    ASSERT_EQ(h.AlertDialog().Shown().size(), 3u);
    EXPECT_EQ(h.AlertDialog().Shown()[0].smallText, "klein");
    EXPECT_EQ(h.AlertDialog().Shown()[0].button2, "Abbrechen");

    h.Bundle().reportWindow.WriteReport("Import abgebrochen.", false);
    h.Bundle().reportWindow.WriteReport("GSM konnte nicht erstellt werden.", true);
    ASSERT_EQ(h.ReportWindow().Lines().size(), 2u);
    EXPECT_TRUE(h.ReportWindow().Lines()[1].withAlert);
    EXPECT_EQ(h.Calls().Matching("WriteReport"),
              (std::vector<std::string>{"WriteReport 0 Import abgebrochen.",
                                        "WriteReport 1 GSM konnte nicht erstellt werden."}));
}

TEST(SimRegistration, PlaysTheHostsSideOfMenusAndPalettes)
{
    sim::SimulatedHost h;
    host::AddOnRegistration& reg = h.Bundle().registration;
    EXPECT_FALSE(reg.GetIndString(32000, 1).empty());
    EXPECT_FALSE(reg.GetIndString(32000, 2).empty());
    EXPECT_EQ(reg.GetIndString(32000, 3), "");

    EXPECT_EQ(h.Registration().InvokeMenu(32500, 1), sim::APIERR_BADID);
    ASSERT_EQ(reg.InstallMenuHandler(32500, &CountMenu), host::NoError);
    g_menuCalls = 0;
    EXPECT_EQ(h.Registration().InvokeMenu(32500, 2), host::NoError);
    EXPECT_EQ(g_menuCalls, 2);

    const host::Guid guid{};
    ASSERT_EQ(reg.RegisterModelessWindow(0x50574443, &RememberMessage, 1015, guid), host::NoError);
    EXPECT_EQ(reg.RegisterModelessWindow(0x50574443, &RememberMessage, 1015, guid), sim::APIERR_BADID);
    bool visible = false;
    EXPECT_EQ(h.Registration().SendPaletteMessage(0x50574443, 7, reinterpret_cast<intptr_t>(&visible)),
              host::NoError);
    EXPECT_TRUE(visible);
    EXPECT_EQ(reg.UnregisterModelessWindow(0x50574443), host::NoError);
    EXPECT_EQ(h.Registration().SendPaletteMessage(0x50574443, 1, 0), sim::APIERR_BADID);
    EXPECT_EQ(g_lastMessage, 7);
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
