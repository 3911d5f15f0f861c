// Library part queries of the simulated host: parameter handles and their
// accounting, the parameter editing scope, forced errors.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/sim/SimulatedHost.h"

namespace {

struct LibPartsFixture : ::testing::Test {
    LibPartsFixture()
    {
        h.LibParts().AddLibPart(u"Gebäude Süd", {sim::LengthPar("A", 3.0), sim::LengthPar("B", 4.0),
                                                  sim::StringPar("sE57Path", u"/Scans/Gebäude Süd.e57")});
        h.LibParts().AddLibPart(u"Zweite", {sim::IntPar("iDensityPercent", 10)});
        h.LibParts().AddLibPart(std::u16string(300, u'x'), {});
    }
    sim::SimulatedHost h;
    host::LibParts& parts = h.Bundle().libParts;
};

}  // namespace

TEST_F(LibPartsFixture, EveryHandedOutHandleIsAccountedUntilDisposedOnce)
{
    double a = 0;
    double b = 0;
    int32_t n = 0;
    host::AddParHandle first;
    host::AddParHandle second;
    ASSERT_EQ(parts.GetParams(1, a, b, n, first), host::NoError);
    ASSERT_EQ(parts.GetParams(1, a, b, n, second), host::NoError);
    EXPECT_EQ(n, 3);
    EXPECT_EQ(a, 3.0);
    EXPECT_EQ(b, 4.0);
    EXPECT_NE(first, second);
    EXPECT_EQ(h.Handles().Outstanding(), 2u);

    // A handle is the caller's copy: editing it leaves the part's defaults alone.
    (*first)[0].real = 99.0;
    EXPECT_EQ(h.LibParts().Part(1)->params[0].real, 3.0);

    host::AddParHandle alias = first;
    EXPECT_EQ(parts.DisposeAddParHdl(first), host::NoError);
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(h.Handles().Outstanding(), 1u);
    EXPECT_EQ(parts.DisposeAddParHdl(alias), sim::APIERR_BADPARS);   // disposed twice
    EXPECT_EQ(h.Handles().BadDisposals(), 1u);

    host::ElementMemo memo;
    memo.params = second;
    EXPECT_EQ(h.Bundle().elements.DisposeElemMemoHdls(memo), host::NoError);
    EXPECT_EQ(h.Handles().Outstanding(), 0u);
    host::AddParHandle none;
    EXPECT_EQ(parts.DisposeAddParHdl(none), host::NoError);
    EXPECT_EQ(h.Calls().Problems().size(), 1u);
}

TEST_F(LibPartsFixture, ParameterScopeMustBeOpenedOnceAndClosed)
{
    double a = 0;
    double b = 0;
    host::AddParHandle params;
    EXPECT_EQ(parts.GetParameters(a, b, params), sim::APIERR_NOTINIT);
    EXPECT_EQ(parts.CloseParameters(), sim::APIERR_NOTINIT);
    EXPECT_EQ(parts.OpenParameters(9), sim::APIERR_BADINDEX);
    EXPECT_EQ(h.LibParts().OpenParametersIndex(), 0);

    ASSERT_EQ(parts.OpenParameters(2), host::NoError);
    EXPECT_EQ(parts.OpenParameters(1), sim::APIERR_NESTING);
    ASSERT_EQ(parts.GetParameters(a, b, params), host::NoError);
    ASSERT_EQ(params->size(), 1u);
    EXPECT_EQ(sim::ParName((*params)[0]), "iDensityPercent");
    EXPECT_EQ(parts.CloseParameters(), host::NoError);
    EXPECT_EQ(h.Handles().Outstanding(), 1u);

    EXPECT_EQ(h.Calls().Calls(),
              (std::vector<std::string>{"GPAR", "CPAR", "OPAR 9", "OPAR 2", "OPAR 1", "GPAR", "CPAR"}));
    EXPECT_EQ(h.Calls().Problems().size(), 3u);
}

TEST_F(LibPartsFixture, ForcedErrorsHitOnlyTheChosenIndexOrNumberOfCalls)
{
    h.Faults().FailAt(sim::Op::LibPartGet, 2, sim::APIERR_MISSINGDEF);
    h.Faults().FailAt(sim::Op::LibPartGetParams, 1, sim::APIERR_GENERAL);
    h.Faults().FailNext(sim::Op::LibPartGetNum, sim::APIERR_GENERAL, 2);
    host::LibPart lp;
    int32_t count = 0;
    double a = 0;
    double b = 0;
    int32_t n = 0;
    host::AddParHandle handle;

    for (int32_t i = 1; i <= 3; ++i) {
        lp.index = i;
        EXPECT_EQ(parts.Get(lp), i == 2 ? sim::APIERR_MISSINGDEF : host::NoError) << i;
    }
    lp.index = 2;
    lp.docu_UName = {};
    parts.Get(lp);
    EXPECT_EQ(sim::GetUni(lp.docu_UName), u"Zweite");   // the host still names a part with a missing definition
    EXPECT_EQ(parts.GetParams(1, a, b, n, handle), sim::APIERR_GENERAL);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(parts.GetParams(2, a, b, n, handle), host::NoError);
    EXPECT_EQ(parts.GetNum(count), sim::APIERR_GENERAL);
    EXPECT_EQ(parts.GetNum(count), sim::APIERR_GENERAL);
    EXPECT_EQ(parts.GetNum(count), host::NoError);
    EXPECT_EQ(count, 3);

    h.Faults().FailAlways(sim::Op::LibPartGetNum, sim::APIERR_NOLIB);
    EXPECT_EQ(parts.GetNum(count), sim::APIERR_NOLIB);
    EXPECT_EQ(parts.GetNum(count), sim::APIERR_NOLIB);
    h.Faults().Clear(sim::Op::LibPartGetNum);
    EXPECT_EQ(parts.GetNum(count), host::NoError);
    h.Faults().Clear(sim::Op::LibPartGet);
    lp.index = 2;
    EXPECT_EQ(parts.Get(lp), host::NoError);
}
