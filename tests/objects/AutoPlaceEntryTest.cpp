// Automatic placement against the simulated host: where the object goes, which
// parameters it takes, which host calls happen in which order, and what is
// logged when the host refuses.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "objects/AutoPlaceEntry.h"
#include "ObjectsTestSupport.h"

namespace {

using objtest::ObjectsTest;

class AutoPlaceEntryTest : public ObjectsTest {};

TEST_F(AutoPlaceEntryTest, PlacesOneObjectAtTheOriginOfTheActiveStoryWithThePartsParameters)
{
    h_.Stories().SetActiveStory(2);
    host::Element toolDefaults;
    toolDefaults.typeID = host::API_ObjectID;
    toolDefaults.floorInd = 1;
    toolDefaults.posX = 7.0;
    toolDefaults.posY = -3.0;
    toolDefaults.level = 1.5;
    toolDefaults.angle = 0.25;
    toolDefaults.xRatio = 4.0;
    h_.Elements().SetObjectDefaults(toolDefaults, {sim::LengthPar("A", 1.0), sim::LengthPar("B", 1.0)});

    AutoPlaceEntry(h_.Bundle(), entry_);

    const std::vector<std::string> expected = {
        "GSTO",
        "GetDefaults 6",
        "OPAR " + std::to_string(entry_.libIdx),
        "GPAR",
        "DisposeAddParHdl",
        "CPAR",
        "CallUndoableCommand Punktwolke platzieren",
        "Create " + std::to_string(entry_.libIdx),
        "CallUndoableCommand end 0",
        "DisposeElemMemoHdls",
    };
    EXPECT_EQ(h_.Calls().Calls(), expected);

    ASSERT_EQ(h_.Elements().Count(), 1u);
    const sim::SimObject& obj = h_.Elements().Objects()[0];
    EXPECT_EQ(obj.element.floorInd, 2);
    EXPECT_EQ(obj.element.libInd, entry_.libIdx);
    EXPECT_EQ(obj.element.posX, 0.0);
    EXPECT_EQ(obj.element.posY, 0.0);
    EXPECT_EQ(obj.element.level, 0.0);
    // Angle and size ratios stay as the tool gives them.
    EXPECT_EQ(obj.element.angle, 0.25);
    EXPECT_EQ(obj.element.xRatio, 4.0);
    // The part's own defaults replaced the tool's parameter list.
    ASSERT_EQ(obj.params.size(), PartParams(10, 100).size());
    EXPECT_EQ(sim::FindPar(obj.params, "A")->real, 2.0);
    EXPECT_EQ(sim::FindPar(obj.params, "iDensityPercent")->real, 10.0);

    EXPECT_EQ(h_.Undo().StepTexts(), std::vector<std::string>{"Punktwolke platzieren"});
    EXPECT_EQ(LogLines(), (std::vector<std::string>{"AutoPlaceEntry: libIdx=" + std::to_string(entry_.libIdx) +
                                                        " name=Scan",
                                                    "Element_Create: err=0"}));
}

TEST_F(AutoPlaceEntryTest, StoryRequestFailureFallsBackToStoryZero)
{
    h_.Stories().SetActiveStory(3);
    h_.Faults().FailNext(sim::Op::GetStorySettings, sim::APIERR_GENERAL);

    AutoPlaceEntry(h_.Bundle(), entry_);

    ASSERT_EQ(h_.Elements().Count(), 1u);
    EXPECT_EQ(h_.Elements().Objects()[0].element.floorInd, 0);
}

TEST_F(AutoPlaceEntryTest, DefaultsFailureCreatesNothingAndLogsTheCode)
{
    h_.Faults().FailNext(sim::Op::GetDefaults, sim::APIERR_MEMFULL);

    AutoPlaceEntry(h_.Bundle(), entry_);

    EXPECT_EQ(h_.Calls().Calls(), (std::vector<std::string>{"GSTO", "GetDefaults 6", "DisposeElemMemoHdls"}));
    EXPECT_EQ(h_.Elements().Count(), 0u);
    EXPECT_TRUE(h_.Undo().RequestedTexts().empty());
    const std::vector<std::string> log = LogLines();
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[1], "GetDefaults: err=" + std::to_string(sim::APIERR_MEMFULL));
}

TEST_F(AutoPlaceEntryTest, ParameterScopeFailuresStillPlaceTheObjectWithTheToolsParameters)
{
    {
        SCOPED_TRACE("scope cannot be opened: neither get nor close");
        h_.Faults().FailNext(sim::Op::OpenParameters, sim::APIERR_BADINDEX);
        AutoPlaceEntry(h_.Bundle(), entry_);
        EXPECT_EQ(h_.Calls().Count("GPAR"), 0u);
        EXPECT_EQ(h_.Calls().Count("CPAR"), 0u);
        ASSERT_EQ(h_.Elements().Count(), 1u);
        // The simulated tool's defaults: A = B = ZZYZX = 1, no point cloud parameters.
        EXPECT_EQ(sim::FindPar(h_.Elements().Objects()[0].params, "A")->real, 1.0);
        EXPECT_EQ(sim::FindPar(h_.Elements().Objects()[0].params, "iDensityPercent"), nullptr);
    }
    h_.Calls().Clear();
    {
        SCOPED_TRACE("parameters cannot be read: scope still closed, tool list kept");
        h_.Faults().FailNext(sim::Op::GetParameters, sim::APIERR_GENERAL);
        AutoPlaceEntry(h_.Bundle(), entry_);
        EXPECT_EQ(h_.Calls().Count("CPAR"), 1u);
        EXPECT_EQ(h_.Calls().Count("DisposeAddParHdl"), 0u);
        ASSERT_EQ(h_.Elements().Count(), 2u);
        EXPECT_EQ(sim::FindPar(h_.Elements().Objects()[1].params, "iDensityPercent"), nullptr);
    }
    EXPECT_EQ(h_.LibParts().OpenParametersIndex(), 0);
}

TEST_F(AutoPlaceEntryTest, CreationErrorsAreLoggedWithTheHostsCode)
{
    {
        SCOPED_TRACE("stale library part index");
        PointCloudEntry stale = entry_;
        stale.libIdx = 99;
        AutoPlaceEntry(h_.Bundle(), stale);
        EXPECT_EQ(LogLines().back(), "Element_Create: err=" + std::to_string(sim::APIERR_BADINDEX));
    }
    {
        SCOPED_TRACE("host refuses the undoable step: the operation never ran");
        h_.Faults().FailNext(sim::Op::CallUndoableCommand, sim::APIERR_REFUSEDCMD);
        AutoPlaceEntry(h_.Bundle(), entry_);
        EXPECT_EQ(LogLines().back(), "Element_Create: err=0");
    }
    EXPECT_EQ(h_.Elements().Count(), 0u);
}

}  // namespace
