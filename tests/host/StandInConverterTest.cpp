// The stand-in converter must refuse every library part XML that the host's
// converter would refuse, and turn a good one into a part the simulated host loads.
#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "LibPartXmlSample.h"
#include "host/sim/SimulatedHost.h"
#include "host/sim/StandInLibPartFile.h"
#include "host/sim/StandInXmlConverter.h"
#include "import/WriteGsmViaXml.h"
#include "support/TestSupport.h"

using pwtest::TempDir;

namespace {

const sim::StandInParam* Param(const sim::StandInLibPart& part, const std::string& name)
{
    for (const auto& p : part.params) {
        if (p.name == name) {
            return &p;
        }
    }
    return nullptr;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << "sample lacks: " << from;
    if (at != std::string::npos) {
        text.replace(at, from.size(), to);
    }
    return text;
}

std::string Section(const std::string& xml, const std::string& name)
{
    const size_t begin = xml.find("<" + name + " ");
    const std::string close = "</" + name + ">\n";
    const size_t end = xml.find(close, begin);
    return xml.substr(begin, end + close.size() - begin);
}

std::string Errors(const std::string& xml)
{
    sim::StandInLibPart part;
    std::vector<std::string> errors;
    if (sim::ConvertLibPartXml(xml, part, errors)) {
        return "";
    }
    std::string all;
    for (const auto& e : errors) {
        all += e + "\n";
    }
    return all.empty() ? "(failed without a message)" : all;
}

int RunShell(const std::string& command)
{
    const int status = std::system(command.c_str());
    if (WIFSIGNALED(status)) {
        return -WTERMSIG(status);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1000;
}

}  // namespace

TEST(StandInConverter, GeneratedLayoutYieldsTypesFlagsValuesAndPointFile)
{
    LibPartXmlSample sample;
    sample.e57Path = "/Users/jürgen/Scans/Gebäude 1.e57";
    sim::StandInLibPart part;
    std::vector<std::string> errors;
    ASSERT_TRUE(sim::ConvertLibPartXml(sample.Xml(), part, errors)) << errors.front();

    EXPECT_EQ(part.mainGuid, sample.mainGuid);
    EXPECT_EQ(part.pointCloudFile, "Scan_data.gspc");
    ASSERT_EQ(part.params.size(), 11u);
    EXPECT_EQ(part.params[0].name, "A");   // file order is kept

    const auto* a = Param(part, "A");
    EXPECT_EQ(a->typeID, host::APIParT_Length);
    EXPECT_EQ(a->number, 1.5);
    EXPECT_EQ(a->flags, sim::kParFlgFixed);
    EXPECT_EQ(a->description, "Dimension 1");

    const auto* offset = Param(part, "offsetX");
    EXPECT_EQ(offset->typeID, host::APIParT_RealNum);
    EXPECT_EQ(offset->number, -12.5);
    EXPECT_EQ(offset->flags, sim::kParFlgFixed | sim::kParFlgChild | sim::kParFlgHidden);

    EXPECT_EQ(Param(part, "tRep3D")->typeID, host::APIParT_Title);
    EXPECT_EQ(Param(part, "bOverrideCutplane")->flags, sim::kParFlgFixed | sim::kParFlgBoldName);
    EXPECT_EQ(Param(part, "AC_show2DHotspotsIn3D")->typeID, host::APIParT_Boolean);
    EXPECT_EQ(Param(part, "iDensityPercent")->number, 10.0);
    EXPECT_EQ(Param(part, "iDensityPercent")->description, "Importierte Dichte (%)");
    EXPECT_EQ(Param(part, "iTotalPoints")->number, 123456.0);
    EXPECT_EQ(Param(part, "sE57Path")->typeID, host::APIParT_CString);
    EXPECT_EQ(Param(part, "sE57Path")->text, "/Users/jürgen/Scans/Gebäude 1.e57");
    EXPECT_EQ(Param(part, "scaleRatioXY")->description, "");

    sample.e57Path = "";  // an empty source path is a valid empty string
    EXPECT_EQ(Errors(sample.Xml()), "");
}

struct BadXmlCase {
    const char* what;
    std::string xml;
    const char* expected;   // part of the error text
};

// One case per kind of damage the host's converter refuses.
TEST(StandInConverter, RefusesEveryClassOfBrokenLibPart)
{
    const LibPartXmlSample good;
    const std::string xml = good.Xml();
    auto with = [](auto change) {
        LibPartXmlSample s;
        change(s);
        return s.Xml();
    };

    const std::vector<BadXmlCase> cases = {
        {"not well-formed", xml.substr(0, xml.size() / 2), "XML error"},
        {"root is not Symbol", Replaced(Replaced(xml, "<Symbol ", "<Object "), "</Symbol>", "</Object>"), "Symbol"},
        {"missing section", Replaced(xml, Section(xml, "Script_2D"), ""), "Script_2D missing"},
        {"sections out of order",
         Replaced(Replaced(Replaced(xml, Section(xml, "Script_2D"), "@@"), Section(xml, "Script_1D"),
                           Section(xml, "Script_2D")),
                  "@@", Section(xml, "Script_1D")),
         "section Script_2D out of order"},
        {"unknown section", Replaced(xml, "<Script_UI ", "<Script_XY/>\n<Script_UI "), "unknown section"},
        {"MainGUID malformed", with([](LibPartXmlSample& s) { s.mainGuid = "4F3C2B1A-0D9E-4C8B-A76F"; }),
         "MainGUID"},
        {"Owner not a number", Replaced(xml, "Owner=\"1196638531\"", "Owner=\"GSAC\""), "Owner"},
        {"IsPlaceable not boolean", Replaced(xml, "IsPlaceable=\"true\"", "IsPlaceable=\"yes\""), "IsPlaceable"},
        {"quote in source path", with([](LibPartXmlSample& s) { s.e57Path = "/a/Scan \"alt\".e57"; }), "sE57Path"},
        {"CDATA end in point file name", with([](LibPartXmlSample& s) { s.pointFile = "Sc]]>an_data.gspc"; }),
         "Script_3D"},
        {"integer not parseable", with([](LibPartXmlSample& s) { s.densityValue = "ten"; }), "iDensityPercent"},
        {"length with decimal comma", with([](LibPartXmlSample& s) { s.sizeX = "1,5"; }), "parameter A"},
        {"integer out of range", with([](LibPartXmlSample& s) { s.totalValue = "99999999999999999999"; }),
         "iTotalPoints"},
        {"boolean not 0 or 1",
         Replaced(xml, "<Value>0</Value></Boolean>\n\t\t<Title", "<Value>2</Value></Boolean>\n\t\t<Title"),
         "AC_show2DHotspotsIn3D"},
        {"title with a value", Replaced(xml, "<Fix/></Title>", "<Fix/><Value>1</Value></Title>"), "tRep3D"},
        {"unknown type", Replaced(Replaced(xml, "<Length Name=\"B\"", "<Lenght Name=\"B\""), "</Length>\n\t\t<Boolean",
                                  "</Lenght>\n\t\t<Boolean"),
         "unknown parameter type Lenght"},
        {"name twice, other case", Replaced(xml, "Name=\"B\"", "Name=\"a\""), "declared twice"},
        {"name not GDL", Replaced(xml, "Name=\"B\"", "Name=\"2B\""), "valid parameter name"},
        {"description not quoted", Replaced(xml, "[\"Dimension 2\"]", "[Dimension 2]"), "Description"},
        {"children out of order",
         Replaced(xml, "<Fix/><Flags><ParFlg_Child/></Flags><Value>1</Value></Integer>",
                  "<Fix/><Value>1</Value><Flags><ParFlg_Child/></Flags></Integer>"),
         "out of order"},
        {"unknown flag", Replaced(xml, "<ParFlg_BoldName/>", "<ParFlg_Bold/>"), "unknown flag"},
        {"script outside CDATA", Replaced(xml, "<![CDATA[\nEPS = 0.00001", "EPS = 0.00001<![CDATA[\n"),
         "Script_1D"},
    };
    for (const auto& c : cases) {
        const std::string errors = Errors(c.xml);
        EXPECT_NE(errors.find(c.expected), std::string::npos)
            << c.what << ": expected an error mentioning \"" << c.expected << "\", got: " << errors;
    }
}

// The stand-in's own file format is written and read back whole by
// AcceptsTheImportsGeneratedLibPart below.

#ifdef PW_LPXMLCONVERTER

TEST(StandInConverterProgram, WritesTheLibPartOnlyForGoodXmlAndReportsFailuresByStatus)
{
    TempDir dir;
    const std::string exe = PW_LPXMLCONVERTER;
    const auto good = dir.Write("good.xml", LibPartXmlSample().Xml());
    LibPartXmlSample broken;
    broken.e57Path = "/x/\"y\".e57";
    const auto bad = dir.Write("bad.xml", broken.Xml());
    const auto out = dir.Path() / "out.txt";

    const auto gsm = dir.Path() / "Scan.gsm";
    EXPECT_EQ(RunShell(exe + " xml2libpart " + good.string() + " " + gsm.string() + " > " + out.string() + " 2>&1"), 0);
    sim::StandInLibPart part;
    std::string error;
    EXPECT_TRUE(sim::ReadStandInLibPart(gsm, part, error)) << error;

    const auto badGsm = dir.Path() / "Bad.gsm";
    EXPECT_EQ(RunShell(exe + " xml2libpart " + bad.string() + " " + badGsm.string() + " > " + out.string() + " 2>&1"), 1);
    EXPECT_FALSE(std::filesystem::exists(badGsm));
    EXPECT_NE(pwtest::Slurp(out).find("sE57Path"), std::string::npos) << pwtest::Slurp(out);

    EXPECT_EQ(RunShell(exe + " libpart2xml " + good.string() + " " + gsm.string() + " 2>/dev/null"), 2);
    EXPECT_EQ(RunShell(exe + " xml2libpart " + good.string() + " 2>/dev/null"), 2);
    EXPECT_EQ(RunShell(exe + " xml2libpart " + (dir.Path() / "none.xml").string() + " " + gsm.string() + " 2>/dev/null"),
              3);
    EXPECT_EQ(RunShell(exe + " xml2libpart " + good.string() + " " + (dir.Path() / "no/such/Scan.gsm").string() +
                  " 2>/dev/null"),
              3);

    // Failing or dying on request of the environment.
    const std::string args = " xml2libpart " + good.string() + " " + badGsm.string() + " > " + out.string() + " 2>&1";
    EXPECT_EQ(RunShell("PW_FAKE_CONVERTER_FAIL=7 " + exe + args), 7);
    EXPECT_FALSE(pwtest::Slurp(out).empty());
    EXPECT_EQ(RunShell("PW_FAKE_CONVERTER_FAIL=signal " + exe + args), 128 + 9);   // the shell reports the kill
    EXPECT_FALSE(std::filesystem::exists(badGsm));
}

// The library part generation of the import, run against the stand-in: the
// part it writes must pass the checks and load into the simulated host with
// the import figures as its parameters.
TEST(StandInConverterProgram, AcceptsTheImportsGeneratedLibPart)
{
    TempDir dir;
    const char* saved = LP_XMLCONVERTER;
    LP_XMLCONVERTER = PW_LPXMLCONVERTER;
    const std::string name = "PwHostTest_" + dir.Path().filename().string();
    const std::string e57 = "/Users/jürgen/Scans/" + name + ".e57";
    const bool made = WriteGsmViaXml((name + "_data.gspc").c_str(), name.c_str(), dir.Path().c_str(), 1.5f, 2.25f,
                                     3.0f, -1.0f, 0.1f, 7.0f, 25, e57.c_str(), 1000000, 250000);
    LP_XMLCONVERTER = saved;
    ASSERT_TRUE(made);

    sim::SimulatedHost h;
    h.LibraryList().Seed({sim::SimLibraryList::Local(dir.Path())});
    h.LoadLibraries();
    ASSERT_TRUE(h.LibParts().LoadProblems().empty()) << h.LibParts().LoadProblems().front();
    ASSERT_EQ(h.LibParts().Count(), 1);
    const sim::SimLibPart& part = *h.LibParts().Part(1);
    EXPECT_EQ(part.name, sim::Utf8ToUtf16(name));
    EXPECT_EQ(part.pointCloudFile, name + "_data.gspc");
    EXPECT_EQ(sim::FindPar(part.params, "iDensityPercent")->real, 25.0);
    EXPECT_EQ(sim::FindPar(part.params, "iTotalPoints")->real, 1000000.0);
    EXPECT_EQ(sim::FindPar(part.params, "iReducedPoints")->real, 250000.0);
    EXPECT_EQ(sim::FindPar(part.params, "offsetY")->real, 0.1);   // "%.8g" of the float
    EXPECT_EQ(sim::FindPar(part.params, "A")->real, 1.5);
    EXPECT_EQ(part.a, 1.5);
    EXPECT_EQ(sim::GetUni(sim::FindPar(part.params, "sE57Path")->uStr), sim::Utf8ToUtf16(e57));
    EXPECT_EQ(sim::FindPar(part.params, "tRep3D")->typeID, host::APIParT_Title);
}

#endif
