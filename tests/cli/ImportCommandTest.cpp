// punktwolke import, run as a separate process: the add-on's import bound to
// the terminal.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/E57Files.h"
#include "support/PunktwolkeRun.h"

namespace fs = std::filesystem;
using pwtest::RunPunktwolke;

namespace {

// One scan of `points` points along a line, without colour.
void WriteE57(const std::string& file, size_t points)
{
    pwtest::WriteLineScans(file, {points}, {1, 0}, {0, 1}, {0.5, 0});
}

std::string Converter()
{
#ifdef PW_LPXMLCONVERTER
    return PW_LPXMLCONVERTER;
#else
    return "";
#endif
}

class ImportCommand : public ::testing::Test {
protected:
    void SetUp() override
    {
        dir_ = pwtest::ScratchDir(::testing::UnitTest::GetInstance()->current_test_info()->name());
        // Unique per process: the library part XML passes through /tmp under this name.
        base_ = "Haus" + std::to_string(getpid());
        e57_ = dir_ + "/" + base_ + ".e57";
        folder_ = dir_ + "/" + base_;
    }

    void TearDown() override
    {
        std::error_code ec;
        fs::remove("/tmp/pw_gsm_" + base_ + ".xml", ec);
        fs::remove_all(dir_, ec);
    }

    std::string dir_, base_, e57_, folder_;
};

}  // namespace

TEST_F(ImportCommand, ImportsBesideTheFileWithTheGivenConverter)
{
    if (Converter().empty()) {
        GTEST_SKIP() << "the stand-in library part converter is not part of this build";
    }
    WriteE57(e57_, 400);
    const std::string log = dir_ + "/debug.log";
    const auto r = RunPunktwolke({"import", e57_, "-d", "25", "--converter", Converter(), "--log", log});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "\"" + base_ + "\" importiert (25% der Punkte).\n" + "point file: " + folder_ + "/" + base_ +
                         "_data.gspc\n" + "library part: " + folder_ + "/" + base_ + ".gsm\n");
    EXPECT_EQ(r.err, "") << "no progress bar when stderr is not a terminal";
    EXPECT_EQ(fs::file_size(folder_ + "/" + base_ + "_data.gspc"), 32u + 100u * 15u);
    EXPECT_TRUE(fs::exists(folder_ + "/" + base_ + ".gsm"));

    const std::string text = pwtest::Slurp(log);
    EXPECT_EQ(text.rfind("--- DoImport ---\nE57: " + e57_ + "\nLP_XMLConverter exit=0 ", 0), 0u) << text;
}

TEST_F(ImportCommand, WithoutConverterTheLibraryPartIsWrittenAsXml)
{
    // A relative file name is taken from the current folder and recorded as an absolute path.
    WriteE57(e57_, 50);
    auto r = RunPunktwolke({"import", base_ + ".e57", "--xml-only", "-d", "100"}, {dir_, false});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err, "");
    const std::string xml = folder_ + "/" + base_ + ".xml";
    EXPECT_NE(r.out.find("library part XML: " + xml + "\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("xml2libpart \"" + xml + "\" \"" + folder_ + "/" + base_ + ".gsm\""), std::string::npos);
    EXPECT_FALSE(fs::exists(folder_ + "/" + base_ + ".gsm"));

    const std::string text = pwtest::Slurp(xml);
    EXPECT_EQ(text.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Symbol ", 0), 0u);
    EXPECT_NE(text.find("<Value><![CDATA[\"" + e57_ + "\"]]></Value>"), std::string::npos);
    EXPECT_NE(text.find("<Integer Name=\"iReducedPoints\"><Description><![CDATA[\"Importierte Punkte\"]]>"
                        "</Description><Fix/><Flags><ParFlg_Hidden/></Flags><Value>50</Value>"),
              std::string::npos);

    // A converter that is not there: the same, with a note.
    r = RunPunktwolke({"import", e57_, "--converter", dir_ + "/none"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err, "punktwolke: no LP_XMLConverter at " + dir_ + "/none; writing the library part as XML instead\n");
    EXPECT_FALSE(fs::exists(folder_ + "/" + base_ + ".gsm"));
}

TEST_F(ImportCommand, FailuresExitWithOneAndSayWhy)
{
    // No such file: nothing is created beside it.
    auto r = RunPunktwolke({"import", e57_});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "E57-Datei konnte nicht geöffnet werden. (" + e57_ + ": No such file or directory)\n");
    EXPECT_FALSE(fs::exists(folder_));

    // A damaged file: the message and the technical reason.
    WriteE57(e57_, 5000);
    {
        std::FILE* f = std::fopen(e57_.c_str(), "r+b");
        std::fseek(f, 1500, SEEK_SET);
        const std::string junk(3000, 'Z');
        std::fwrite(junk.data(), 1, junk.size(), f);
        std::fclose(f);
    }
    r = RunPunktwolke({"import", e57_, "--xml-only"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err.rfind("E57-Konvertierung fehlgeschlagen.\npunktwolke: E57-Fehler: ", 0), 0u) << r.err;
    EXPECT_EQ(r.out, "");

    // A converter that fails: its exit line is shown, the point file stays.
    WriteE57(e57_, 20);
    r = RunPunktwolke({"import", e57_, "--converter", "/bin/false"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("GSM konnte nicht erstellt werden.\n"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("punktwolke: LP_XMLConverter exit=1 "), std::string::npos) << r.err;
    EXPECT_TRUE(fs::exists(folder_ + "/" + base_ + "_data.gspc"));
}

TEST_F(ImportCommand, CtrlCCancelsTheImport)
{
    WriteE57(e57_, 2000);
    const auto r = RunPunktwolke({"import", e57_, "--xml-only"}, {"", true});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "Import abgebrochen.\n");
    EXPECT_FALSE(fs::exists(folder_ + "/" + base_ + ".xml"));
}

TEST_F(ImportCommand, WrongUsageExitsWithTwo)
{
    WriteE57(e57_, 10);
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"import"}, {"import", e57_, "-d", "0"}, {"import", e57_, "-d", "101"}, {"import", e57_, "--bogus"},
             {"import", e57_, "--threads", "0"}}) {
        EXPECT_EQ(RunPunktwolke(args).exitCode, 2) << args.back();
    }
    EXPECT_FALSE(fs::exists(folder_));
}

// Several files in turn with the same options: one summary line each, a broken
// one among them fails with its message and the others are still imported.
TEST_F(ImportCommand, ABatchGoesOnPastABrokenFileAndExitsWithOne)
{
    const std::string a = dir_ + "/A" + base_ + ".e57", c = dir_ + "/C" + base_ + ".e57";
    const std::string broken = dir_ + "/B" + base_ + ".e57";
    WriteE57(a, 40);
    WriteE57(c, 80);
    {
        std::FILE* f = std::fopen(broken.c_str(), "wb");
        std::fputs("not an E57 file at all", f);
        std::fclose(f);
    }
    auto r = RunPunktwolke({"import", a, broken, c, "--xml-only", "-d", "50"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, a + ": 20 of 40 points (50%) -> " + dir_ + "/A" + base_ + "/A" + base_ + ".xml\n" + broken +
                         ": failed: E57-Konvertierung fehlgeschlagen.\n" + c + ": 40 of 80 points (50%) -> " + dir_ +
                         "/C" + base_ + "/C" + base_ + ".xml\n");
    EXPECT_EQ(r.err.rfind("E57-Konvertierung fehlgeschlagen.\npunktwolke: E57-Fehler: ", 0), 0u) << r.err;
    EXPECT_TRUE(fs::exists(dir_ + "/C" + base_ + "/C" + base_ + "_data.gspc"));

    // The same as one JSON document.
    r = RunPunktwolke({"import", a, broken, dir_ + "/missing.e57", "--xml-only", "-d", "50", "--json"});
    EXPECT_EQ(r.exitCode, 1);
    const nlohmann::json doc = nlohmann::json::parse(r.out);
    EXPECT_EQ(doc["imported"], 1);
    EXPECT_EQ(doc["failed"], 2);
    EXPECT_EQ(doc["density"], 50);
    ASSERT_EQ(doc["files"].size(), 3u);
    const nlohmann::json& first = doc["files"][0];
    EXPECT_EQ(first["file"], a);
    EXPECT_EQ(first["ok"], true);
    EXPECT_EQ(first["totalPoints"], 40);
    EXPECT_EQ(first["keptPoints"], 20);
    EXPECT_EQ(first["pointFile"], dir_ + "/A" + base_ + "/A" + base_ + "_data.gspc");
    EXPECT_EQ(first["filesWritten"].size(), 2u);
    EXPECT_EQ(first["size"]["x"], 38.0);
    EXPECT_EQ(doc["files"][1]["ok"], false);
    EXPECT_EQ(doc["files"][1]["error"], "E57-Konvertierung fehlgeschlagen.");
    EXPECT_EQ(doc["files"][2]["error"],
              "E57-Datei konnte nicht geöffnet werden. (" + dir_ + "/missing.e57: No such file or directory)");
}
