// Object elements and undoable commands of the simulated host: the strictness
// and undo that the command tests rely on.
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/sim/SimulatedHost.h"

namespace {

struct ElementsFixture : ::testing::Test {
    ElementsFixture()
    {
        part = h.LibParts().AddLibPart(u"Scan", {sim::IntPar("iDensityPercent", 10), sim::IntPar("iReducedPoints", 5)});
    }

    // Creates one object of the part on `story` inside its own undoable step.
    host::Guid Place(int16_t story, const std::string& text = "Punktwolke platzieren")
    {
        host::Element e;
        e.typeID = host::API_ObjectID;
        host::ElementMemo memo;
        EXPECT_EQ(elements.GetDefaults(e, memo), host::NoError);
        // The part's own defaults replace the tool's, as placement does it.
        host::LibParts& parts = h.Bundle().libParts;
        double a = 0;
        double b = 0;
        parts.OpenParameters(part);
        parts.DisposeAddParHdl(memo.params);
        parts.GetParameters(a, b, memo.params);
        parts.CloseParameters();
        e.libInd = part;
        e.floorInd = story;
        EXPECT_EQ(undo.CallUndoableCommand(text, [&] { return elements.Create(e, memo); }), host::NoError);
        elements.DisposeElemMemoHdls(memo);
        return e.guid;
    }

    sim::SimulatedHost h;
    host::Elements& elements = h.Bundle().elements;
    host::UndoableCommand& undo = h.Bundle().undo;
    int32_t part = 0;
};

}  // namespace

TEST_F(ElementsFixture, ModelChangesOutsideAnUndoableCommandAreRefused)
{
    const host::Guid placed = Place(0);
    host::Element e;
    e.typeID = host::API_ObjectID;
    host::ElementMemo memo;
    ASSERT_EQ(elements.GetDefaults(e, memo), host::NoError);
    e.libInd = part;

    EXPECT_EQ(elements.Create(e, memo), sim::APIERR_NEEDSUNDOSCOPE);
    EXPECT_EQ(elements.ChangeMemo(placed, host::kMemoMaskAddPars, memo), sim::APIERR_NEEDSUNDOSCOPE);
    EXPECT_EQ(elements.Delete({placed}), sim::APIERR_NEEDSUNDOSCOPE);
    EXPECT_EQ(h.Elements().Count(), 1u);
    EXPECT_EQ(h.Calls().Problems().size(), 3u);
    elements.DisposeElemMemoHdls(memo);
    EXPECT_EQ(h.Handles().Outstanding(), 0u);
}

TEST_F(ElementsFixture, UndoRestoresTheElementsAsTheyWereBeforeEachStep)
{
    const host::Guid first = Place(0);
    const host::Guid second = Place(1);
    host::ElementMemo memo;
    ASSERT_EQ(elements.GetMemo(first, memo, host::kMemoMaskAddPars), host::NoError);
    (*memo.params)[0].real = 50.0;
    ASSERT_EQ(undo.CallUndoableCommand("Punktwolke löschen",
                                       [&] {
                                           elements.ChangeMemo(first, host::kMemoMaskAddPars, memo);
                                           return elements.Delete({second});
                                       }),
              host::NoError);
    elements.DisposeElemMemoHdls(memo);
    ASSERT_EQ(h.Elements().Count(), 1u);
    EXPECT_EQ(h.Undo().StepTexts(),
              (std::vector<std::string>{"Punktwolke platzieren", "Punktwolke platzieren", "Punktwolke löschen"}));

    ASSERT_TRUE(h.Undo().Undo());
    ASSERT_EQ(h.Elements().Count(), 2u);
    EXPECT_EQ(h.Elements().Find(first)->params[0].real, 10.0);
    EXPECT_NE(h.Elements().Find(second), nullptr);
    ASSERT_TRUE(h.Undo().Undo());
    EXPECT_EQ(h.Elements().Find(second), nullptr);
    ASSERT_TRUE(h.Undo().Undo());
    EXPECT_EQ(h.Elements().Count(), 0u);
    EXPECT_FALSE(h.Undo().Undo());
}

TEST_F(ElementsFixture, FailedRefusedAndNestedCommandsLeaveNoChange)
{
    const host::Guid placed = Place(0);
    host::Guid unknown;
    unknown.bytes[0] = 1;

    // Delete is all or nothing.
    EXPECT_EQ(undo.CallUndoableCommand("d", [&] { return elements.Delete({placed, unknown}); }), sim::APIERR_BADID);
    h.Faults().FailFor(sim::Op::Delete, placed, sim::APIERR_NOTEDITABLE);
    EXPECT_EQ(undo.CallUndoableCommand("d", [&] { return elements.Delete({placed}); }), sim::APIERR_NOTEDITABLE);
    EXPECT_EQ(h.Elements().Count(), 1u);
    h.Faults().Clear(sim::Op::Delete);

    // An error or a throw from the function rolls its changes back.
    EXPECT_EQ(undo.CallUndoableCommand("d",
                                       [&] {
                                           elements.Delete({placed});
                                           return sim::APIERR_GENERAL;
                                       }),
              sim::APIERR_GENERAL);
    EXPECT_EQ(undo.CallUndoableCommand("d",
                                       [&]() -> host::ErrCode {
                                           elements.Delete({placed});
                                           throw std::runtime_error("boom");
                                       }),
              sim::APIERR_COMMANDFAILED);
    EXPECT_EQ(h.Elements().Count(), 1u);

    // A refused command never runs its function; nor does a nested one.
    bool ran = false;
    h.Faults().FailNext(sim::Op::CallUndoableCommand, sim::APIERR_NOTMINE);
    EXPECT_EQ(undo.CallUndoableCommand("d", [&] { ran = true; return host::NoError; }), sim::APIERR_NOTMINE);
    EXPECT_FALSE(ran);
    host::ErrCode inner = host::NoError;
    undo.CallUndoableCommand("outer", [&] {
        inner = undo.CallUndoableCommand("inner", [&] { ran = true; return host::NoError; });
        return host::NoError;
    });
    EXPECT_EQ(inner, sim::APIERR_NESTING);
    EXPECT_FALSE(ran);
    EXPECT_EQ(h.Undo().StepTexts(), (std::vector<std::string>{"Punktwolke platzieren", "outer"}));
}
