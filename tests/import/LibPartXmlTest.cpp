// Library part generation: the XML text, the GUID, and how the converter is
// run, waited for and cleaned up after.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "import/LibPartXml.h"
#include "import/WriteGsmViaXml.h"
#include "main/Log.h"
#include "support/TestSupport.h"

namespace fs = std::filesystem;

namespace {

const char* kGuid = "0123ABCD-4567-489A-BCDE-F0123456789A";

std::string Xml(const char* gspc, float sx, float sy, float sz, float ox, float oy, float oz, int density,
                const char* e57Path, long long total, long long reduced)
{
    char* text = nullptr;
    size_t size = 0;
    std::FILE* f = open_memstream(&text, &size);
    WriteLibPartXml(f, kGuid, gspc, sx, sy, sz, ox, oy, oz, density, e57Path, total, reduced);
    std::fclose(f);
    std::string result(text, size);
    std::free(text);
    return result;
}

class LibPartGeneration : public ::testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/pw_libpart_test_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
        logPath_ = (dir_ / "debug.log").string();
        SetLogPath(logPath_.c_str());
        part_ = "LibPartTest" + std::to_string(getpid());
        xmlToRemove_ = XmlPath();
        savedConverter_ = LP_XMLCONVERTER;
    }

    void TearDown() override
    {
        LP_XMLCONVERTER = savedConverter_;
        SetLogPath(nullptr);
        fs::remove(xmlToRemove_);
        fs::remove_all(dir_);
    }

    // A shell script as converter; it sees the converter's arguments as $1..$3.
    void UseConverterScript(const std::string& body)
    {
        converterPath_ = (dir_ / "converter.sh").string();
        std::ofstream(converterPath_) << "#!/bin/sh\n" << body;
        ASSERT_EQ(chmod(converterPath_.c_str(), 0755), 0);
        LP_XMLCONVERTER = converterPath_.c_str();
    }

    bool Generate()
    {
        return WriteGsmViaXml("P_data.gspc", part_.c_str(), dir_.c_str(), 1.5f, 2.5f, 3.5f, -1.0f, -2.0f, -3.0f, 10,
                              "/scans/P.e57", 1000, 100);
    }

    std::vector<std::string> TakeLog()
    {
        std::vector<std::string> lines = pwtest::ReadLines(logPath_);
        fs::remove(logPath_);
        return lines;
    }

    std::string XmlPath() const { return "/tmp/pw_gsm_" + part_ + ".xml"; }
    std::string OutputPath() const { return "/tmp/pw_lpc_" + part_ + ".txt"; }
    std::string GsmPath() const { return (dir_ / (part_ + ".gsm")).string(); }
    std::string ExitLine(const std::string& code) const
    {
        return "LP_XMLConverter exit=" + code + " xml=" + XmlPath() + " gsm=" + GsmPath();
    }

    fs::path dir_;
    std::string logPath_, part_, converterPath_, xmlToRemove_;
    const char* savedConverter_ = nullptr;
};

}  // namespace

TEST(LibPartXml, WholeDocumentForChosenValues)
{
    const fs::path expected = fs::path(PW_SOURCE_DIR) / "tests/import/data";
    // No source path, a size that float rounding shows (1234.5678 -> 1234.5677),
    // tiny and huge offsets, point counts beyond 32 bits.
    const std::string noPath = Xml("Haus_data.gspc", 0.1f, 1234.5678f, 0.0f, -12.25f, 3e-5f, 1e9f, 25, nullptr,
                                   9000000000LL, 2250000000LL);
    EXPECT_EQ(noPath, pwtest::Slurp(expected / "libpart_no_path.xml"));
    EXPECT_EQ(Xml("Haus_data.gspc", 0.1f, 1234.5678f, 0.0f, -12.25f, 3e-5f, 1e9f, 25, "", 9000000000LL,
                  2250000000LL),
              noPath);
    // Non-ASCII text passes through unchanged, as UTF-8 bytes.
    EXPECT_EQ(Xml("Scan S\xC3\xBC" "d_data.gspc", 1.0f, 2.5f, 1e-7f, 0.0f, 0.0f, 0.0f, 100,
                  "/Users/anna/Scans/Scan S\xC3\xBC" "d.E57", 30571, 30571),
              pwtest::Slurp(expected / "libpart_with_path.xml"));
}

// 8-4-4-4-12 upper-case hexadecimal digits, version 4, variant 8, 9, A or B.
static bool IsVersion4Guid(const std::string& text)
{
    if (text.size() != 36 || text[14] != '4' || std::string("89AB").find(text[19]) == std::string::npos) {
        return false;
    }
    for (size_t i = 0; i < text.size(); ++i) {
        const bool hyphen = i == 8 || i == 13 || i == 18 || i == 23;
        if (hyphen ? text[i] != '-' : std::string("0123456789ABCDEF").find(text[i]) == std::string::npos) {
            return false;
        }
    }
    return true;
}

TEST(LibPartXml, GuidsAreUpperCaseVersion4AndDistinct)
{
    std::set<std::string> seen;
    std::set<char> variants;
    for (int i = 0; i < 2000; ++i) {
        char buffer[40];
        std::memset(buffer, '#', sizeof buffer);
        GenGUID(buffer);
        ASSERT_EQ(buffer[37], '#') << "wrote past the 37-byte buffer";
        ASSERT_TRUE(IsVersion4Guid(buffer)) << buffer;
        seen.insert(buffer);
        variants.insert(buffer[19]);
    }
    EXPECT_EQ(seen.size(), 2000u);
    EXPECT_EQ(variants.size(), 4u) << "all four variant digits 8, 9, A, B should occur";
}

TEST_F(LibPartGeneration, SuccessfulConversionCleansUpAndPassesArguments)
{
    // The script keeps its arguments and the XML as it was while it ran.
    UseConverterScript("printf '%s\\n' \"$0\" \"$1\" \"$2\" \"$3\" > " + (dir_ / "args.txt").string() +
                       "\ncp \"$2\" " + (dir_ / "seen.xml").string() + "\nexit 0\n");
    ASSERT_TRUE(Generate());

    EXPECT_EQ(pwtest::ReadLines(dir_ / "args.txt"),
              (std::vector<std::string>{converterPath_, "xml2libpart", XmlPath(), GsmPath()}));
    EXPECT_FALSE(fs::exists(XmlPath())) << "the XML is removed after a successful conversion";
    EXPECT_FALSE(fs::exists(OutputPath()));
    EXPECT_EQ(TakeLog(), std::vector<std::string>{ExitLine("0")}) << "a silent converter adds no lines";

    std::string seen = pwtest::Slurp(dir_ / "seen.xml");
    const size_t guidAt = seen.find("MainGUID=\"") + 10;
    EXPECT_NE(seen.substr(guidAt, 36), kGuid);
    seen.replace(guidAt, 36, kGuid);
    EXPECT_EQ(seen, Xml("P_data.gspc", 1.5f, 2.5f, 3.5f, -1.0f, -2.0f, -3.0f, 10, "/scans/P.e57", 1000, 100));
}

TEST_F(LibPartGeneration, FailingConverterOutputIsLoggedAndXmlKept)
{
    // stdout and stderr end up in one file, in order; an empty line is logged as
    // such; a 600-character line comes back as 511 + 89.
    UseConverterScript("echo 'Fehler in Zeile 3'\necho 'stderr line' >&2\necho ''\necho '" + std::string(600, 'x') +
                       "'\nprintf 'no newline'\nexit 3\n");
    ASSERT_FALSE(Generate());
    EXPECT_EQ(TakeLog(), (std::vector<std::string>{ExitLine("3"), "Fehler in Zeile 3", "stderr line", "",
                                                   std::string(511, 'x'), std::string(89, 'x'), "no newline"}));
    EXPECT_TRUE(fs::exists(XmlPath())) << "a failed conversion keeps its XML for inspection";
    EXPECT_FALSE(fs::exists(OutputPath()));
}

// A converter that dies or cannot start is covered by the bad-input matrix.
TEST_F(LibPartGeneration, WithoutAnXmlFileNothingRuns)
{
    UseConverterScript(": > " + (dir_ / "ran").string() + "\n");
    part_ = "no-such-folder-" + std::to_string(getpid()) + "/P";
    EXPECT_FALSE(Generate());
    EXPECT_FALSE(fs::exists(dir_ / "ran"));
    EXPECT_TRUE(TakeLog().empty());
}

TEST_F(LibPartGeneration, LongOutputPathIsCutAt1023Bytes)
{
    UseConverterScript("printf '%s\\n' \"$3\" > " + (dir_ / "args.txt").string() + "\n");
    const std::string folder = dir_.string() + "/" + std::string(1100 - dir_.string().size(), 'f');
    ASSERT_TRUE(WriteGsmViaXml("P_data.gspc", part_.c_str(), folder.c_str(), 1, 1, 1, 0, 0, 0, 10, nullptr, 0, 0));

    const std::string full = folder + "/" + part_ + ".gsm";
    EXPECT_EQ(pwtest::ReadLines(dir_ / "args.txt"), std::vector<std::string>{full.substr(0, 1023)});
    // The log line itself is cut at 255 characters.
    const std::string line = "LP_XMLConverter exit=0 xml=" + XmlPath() + " gsm=" + full;
    EXPECT_EQ(TakeLog(), std::vector<std::string>{line.substr(0, 255)});
}
