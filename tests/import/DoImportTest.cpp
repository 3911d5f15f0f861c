// The import command against the simulated host: what the user is told, what
// the host is asked, what is logged and what stays on disk on every path.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/sim/SimulatedHost.h"
#include "import/DoImport.h"
#include "import/WriteGsmViaXml.h"
#include "main/Log.h"
#include "support/E57Files.h"
#include "support/TestSupport.h"

namespace fs = std::filesystem;

namespace {

// One scan (or several) of `points` points at x = i, y = i / 2, z = -i / 4 (i
// counted within each scan), without colour and pose.
void WriteE57(const fs::path& file, size_t points, int scans = 1)
{
    pwtest::WriteLineScans(file.string(), std::vector<size_t>(size_t(scans), points), {1, 0}, {0.5, 0}, {-0.25, 0});
}

class DoImportTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/pw_doimport_test_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
        logPath_ = (dir_ / "debug.log").string();
        SetLogPath(logPath_.c_str());
        savedConverter_ = LP_XMLCONVERTER;
        // Base names are unique per test so that parallel runs do not share /tmp files.
        base_ = "Haus" + std::to_string(getpid());
        e57_ = dir_ / (base_ + ".E57");
        folder_ = dir_ / base_;
        UseConverterScript("cp \"$2\" " + (dir_ / "seen.xml").string() + "\n: > \"$3\"\n");
    }

    void TearDown() override
    {
        EXPECT_TRUE(h.Calls().Problems().empty()) << h.Calls().Problems().front();
        EXPECT_FALSE(h.ProcessWindow().IsOpen()) << "the process window is always closed in the end";
        LP_XMLCONVERTER = savedConverter_;
        SetLogPath(nullptr);
        std::error_code ec;
        fs::remove("/tmp/pw_gsm_" + base_ + ".xml", ec);
        fs::remove_all(dir_, ec);
    }

    void UseConverterScript(const std::string& body)
    {
        converter_ = (dir_ / "converter.sh").string();
        std::ofstream(converter_) << "#!/bin/sh\n" << body;
        ASSERT_EQ(chmod(converter_.c_str(), 0755), 0);
        LP_XMLCONVERTER = converter_.c_str();
    }

    std::string Import(int density, const fs::path& file)
    {
        h.OpenFileDialog().QueueFile(file);
        return DoImport(h.Bundle(), density);
    }

    std::vector<sim::ReportLine> Reports() { return h.ReportWindow().Lines(); }
    std::vector<std::string> LogLines() { return pwtest::ReadLines(logPath_); }
    std::string GspcPath() const { return (folder_ / (base_ + "_data.gspc")).string(); }

    void ExpectReport(const std::string& text, bool withAlert)
    {
        const auto lines = Reports();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].text, text);
        EXPECT_EQ(lines[0].withAlert, withAlert);
    }

    void ExpectNoLibraryChange() { EXPECT_EQ(h.Calls().Count("GLIB") + h.Calls().Count("RLIB"), 0u); }

    sim::SimulatedHost h;
    fs::path dir_;
    std::string logPath_;
    std::string base_;
    fs::path e57_;
    fs::path folder_;
    std::string converter_;
    const char* savedConverter_ = nullptr;
};

// The value of one parameter line in the library part XML.
std::string ParamValue(const std::string& xml, const std::string& name)
{
    const size_t at = xml.find("Name=\"" + name + "\"");
    if (at == std::string::npos) {
        return "<missing>";
    }
    const size_t begin = xml.find("<Value>", at) + 7;
    return xml.substr(begin, xml.find("</Value>", begin) - begin);
}

}  // namespace

TEST_F(DoImportTest, SuccessfulImportOfAnUpperCaseE57)
{
    WriteE57(e57_, 1000);
    EXPECT_EQ(Import(25, e57_), base_);

    // The dialog, then the report line with the requested density.
    ASSERT_EQ(h.OpenFileDialog().Requests().size(), 1u);
    EXPECT_EQ(h.OpenFileDialog().Requests()[0].title, "E57-Datei öffnen");
    EXPECT_EQ(h.OpenFileDialog().Requests()[0].typeText, "E57-Punktwolke");
    EXPECT_EQ(h.OpenFileDialog().Requests()[0].extension, "e57");
    ExpectReport("\"" + base_ + "\" importiert (25% der Punkte).", false);

    // Files beside the E57 file: every fourth point, 15 bytes each after a 32-byte header.
    EXPECT_EQ(fs::file_size(GspcPath()), 32u + 250u * 15u);
    EXPECT_TRUE(fs::exists(folder_ / (base_ + ".gsm")));
    EXPECT_FALSE(fs::exists("/tmp/pw_gsm_" + base_ + ".xml"));

    // What the library part was given.
    const std::string xml = pwtest::Slurp(dir_ / "seen.xml");
    EXPECT_NE(xml.find("POINTCLOUD \"" + base_ + "_data.gspc\""), std::string::npos);
    EXPECT_EQ(ParamValue(xml, "A"), "996");
    EXPECT_EQ(ParamValue(xml, "B"), "498");
    EXPECT_EQ(ParamValue(xml, "ZZYZX"), "249");
    EXPECT_EQ(ParamValue(xml, "offsetX"), "0");
    EXPECT_EQ(ParamValue(xml, "offsetZ"), "-249");
    EXPECT_EQ(ParamValue(xml, "iDensityPercent"), "25");
    EXPECT_EQ(ParamValue(xml, "iTotalPoints"), "1000");
    EXPECT_EQ(ParamValue(xml, "iReducedPoints"), "250");
    EXPECT_EQ(ParamValue(xml, "sE57Path"), "<![CDATA[\"" + e57_.string() + "\"]]>");

    // Progress phases, then the folder registered and the libraries reloaded.
    const auto& window = h.ProcessWindow();
    EXPECT_EQ(window.Title(), "E57 importieren...");
    EXPECT_EQ(window.PhaseTitles(), (std::vector<std::string>{"Punktwolke konvertieren...", "GSM erstellen..."}));
    EXPECT_EQ(window.PhaseMaxima().back(), 1);
    EXPECT_EQ(window.Calls().back(), "CPWD");
    EXPECT_EQ(window.Calls()[window.Calls().size() - 2], "SPRV 1");
    const auto& calls = h.Calls();
    EXPECT_LT(calls.IndexOf("CPWD"), calls.IndexOf("GLIB"));
    EXPECT_LT(calls.IndexOf("SLIB"), calls.IndexOf("RLIB"));
    EXPECT_LT(calls.IndexOf("RLIB"), calls.IndexOf("WriteReport"));
    ASSERT_EQ(h.LibraryList().LastSet().size(), 1u);
    EXPECT_EQ(h.LibraryList().LastSet()[0].location.string(), folder_.string());

    EXPECT_EQ(LogLines(), (std::vector<std::string>{
                              "--- DoImport ---", "E57: " + e57_.string(),
                              "LP_XMLConverter exit=0 xml=/tmp/pw_gsm_" + base_ + ".xml gsm=" + folder_.string() +
                                  "/" + base_ + ".gsm"}));
}

TEST_F(DoImportTest, ReportQuotesTheRequestedDensityAndReusesTheFolder)
{
    // 60 % keeps every point and still says 60 %; a second import overwrites the files.
    WriteE57(e57_, 100, 2);
    EXPECT_EQ(Import(60, e57_), base_);
    EXPECT_EQ(Import(60, e57_), base_);
    ASSERT_EQ(Reports().size(), 2u);
    EXPECT_EQ(Reports()[1].text, "\"" + base_ + "\" importiert (60% der Punkte).");
    EXPECT_EQ(fs::file_size(GspcPath()), 32u + 200u * 15u);
    const std::string xml = pwtest::Slurp(dir_ / "seen.xml");
    EXPECT_EQ(ParamValue(xml, "iTotalPoints"), "200");
    EXPECT_EQ(ParamValue(xml, "iReducedPoints"), "200");
    EXPECT_EQ(h.LibraryList().LastSet().size(), 1u) << "the folder is registered once";
}

TEST_F(DoImportTest, PointFileThatCannotBeCreated)
{
    WriteE57(e57_, 10);
    fs::create_directories(GspcPath());   // a folder where the point file should go
    EXPECT_EQ(Import(10, e57_), "");
    ExpectReport("GSPC-Datei konnte nicht angelegt werden.", true);
    EXPECT_TRUE(h.ProcessWindow().Calls().empty());
    ExpectNoLibraryChange();
}

TEST_F(DoImportTest, BrokenFileIsAConversionFailure)
{
    // Damage the binary section behind the file header: the points cannot be read.
    WriteE57(e57_, 5000);
    {
        std::fstream file(e57_, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(2048);
        const std::string junk(4096, '\x5A');
        file.write(junk.data(), static_cast<std::streamsize>(junk.size()));
    }
    EXPECT_EQ(Import(10, e57_), "");
    ExpectReport("E57-Konvertierung fehlgeschlagen.", true);
    EXPECT_EQ(h.ProcessWindow().OpenCount(), 1);
    EXPECT_EQ(h.ProcessWindow().CloseCount(), 1);
    ExpectNoLibraryChange();
    const auto log = LogLines();
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[2].rfind("E57-Fehler: ", 0), 0u) << log[2];
    EXPECT_LE(log[2].size(), 255u);
    EXPECT_TRUE(fs::exists(GspcPath())) << "the unfinished point file stays";
}

TEST_F(DoImportTest, ConverterFailureClosesTheWindowBeforeTheAlert)
{
    UseConverterScript("echo 'Syntax error' >&2\nexit 1\n");
    WriteE57(e57_, 100);
    EXPECT_EQ(Import(10, e57_), "");
    ExpectReport("GSM konnte nicht erstellt werden.", true);
    const auto& calls = h.Calls();
    EXPECT_LT(calls.IndexOf("SPRV 1"), calls.IndexOf("CPWD"));
    EXPECT_LT(calls.IndexOf("CPWD"), calls.IndexOf("WriteReport"));
    ExpectNoLibraryChange();

    const auto log = LogLines();
    ASSERT_GE(log.size(), 2u);
    EXPECT_EQ(log[log.size() - 2], "Syntax error");
    EXPECT_EQ(log.back(), "WriteGsmViaXml fehlgeschlagen.");
    // The complete point file and the XML for inspection stay.
    EXPECT_EQ(fs::file_size(GspcPath()), 32u + 10u * 15u);
    EXPECT_TRUE(fs::exists("/tmp/pw_gsm_" + base_ + ".xml"));
}

// A cancelled file dialog, missing and empty files, a cancelled conversion and the
// imported part in the catalogue are covered by the session scenarios.

namespace {

std::string g_generatedPart;
std::string g_generatedFolder;
std::string g_generatedPointFile;

bool RecordLibPart(const char* gspcFileName, const char* partName, const char* outputFolder, float, float, float,
                   float, float, float, int, const char*, long long, long long)
{
    g_generatedPointFile = gspcFileName;
    g_generatedPart = partName;
    g_generatedFolder = outputFolder;
    return true;
}

}  // namespace

TEST_F(DoImportTest, OnlyANameLongerThanTheExtensionLosesIt)
{
    struct Case {
        const char* file;
        const char* base;
    };
    for (const Case& c : {Case{"a.e57", "a"}, Case{"x.E57.e57", "x.E57"}}) {
        SCOPED_TRACE(c.file);
        h.ReportWindow().Clear();
        const fs::path file = dir_ / c.file;
        WriteE57(file, 10);
        h.OpenFileDialog().QueueFile(file);
        EXPECT_EQ(DoImport(h.Bundle(), 100, RecordLibPart), c.base);
        EXPECT_EQ(g_generatedPart, c.base);
        EXPECT_EQ(g_generatedPointFile, std::string(c.base) + "_data.gspc");
        EXPECT_EQ(g_generatedFolder, (dir_ / c.base).string());
        EXPECT_EQ(fs::file_size(dir_ / c.base / (std::string(c.base) + "_data.gspc")), 32u + 10u * 15u);
        ExpectReport("\"" + std::string(c.base) + "\" importiert (100% der Punkte).", false);
    }

    // ".e57" alone is the whole name and stays the base name, so the output
    // folder would be the E57 file itself: no folder can be made there and the
    // point file cannot be created. Nothing lands beside the file.
    h.ReportWindow().Clear();
    g_generatedPart = "<none>";
    const fs::path bare = dir_ / ".e57";
    WriteE57(bare, 10);
    const std::string before = pwtest::Slurp(bare);
    h.OpenFileDialog().QueueFile(bare);
    EXPECT_EQ(DoImport(h.Bundle(), 100, RecordLibPart), "");
    ExpectReport("GSPC-Datei konnte nicht angelegt werden.", true);
    EXPECT_EQ(g_generatedPart, "<none>");
    EXPECT_FALSE(fs::exists(dir_ / "_data.gspc"));
    EXPECT_EQ(pwtest::Slurp(bare), before);
}
