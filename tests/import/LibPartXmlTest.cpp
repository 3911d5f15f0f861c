// Library part generation: the XML text, the GUID, and how the converter is
// run, waited for and cleaned up after.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "import/LibPartXml.h"
#include "import/WriteGsmViaXml.h"
#include "main/Log.h"

namespace fs = std::filesystem;

namespace {

std::string ReadAll(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<std::string> ReadLines(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string Expected(const char* name)
{
    return ReadAll(fs::path(PW_SOURCE_DIR) / "tests/import/data" / name);
}

const char* kGuid = "0123ABCD-4567-489A-BCDE-F0123456789A";

std::string Render(const std::function<void(std::FILE*)>& write)
{
    std::FILE* f = std::tmpfile();
    write(f);
    std::fflush(f);
    std::rewind(f);
    std::string text;
    char chunk[4096];
    for (size_t n; (n = std::fread(chunk, 1, sizeof chunk, f)) > 0;) {
        text.append(chunk, n);
    }
    std::fclose(f);
    return text;
}

// The expected files hold a fixed GUID; a generated one is put in its place.
std::string WithFixedGuid(std::string xml)
{
    const std::string key = "MainGUID=\"";
    const size_t at = xml.find(key);
    if (at != std::string::npos) {
        xml.replace(at + key.size(), 36, kGuid);
    }
    return xml;
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
        part_ = "LibPartTest" + std::to_string(getpid()) + "_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name();
        savedConverter_ = LP_XMLCONVERTER;
    }

    void TearDown() override
    {
        LP_XMLCONVERTER = savedConverter_;
        SetLogPath(nullptr);
        std::error_code ec;
        fs::remove(XmlPath(), ec);
        fs::remove(OutputPath(), ec);
        fs::remove_all(dir_, ec);
    }

    // A shell script as converter; it sees the converter's arguments as $1..$3.
    void UseConverterScript(const std::string& body)
    {
        converterPath_ = (dir_ / "converter.sh").string();
        std::ofstream(converterPath_) << "#!/bin/sh\n" << body;
        ASSERT_EQ(chmod(converterPath_.c_str(), 0755), 0);
        LP_XMLCONVERTER = converterPath_.c_str();
    }

    bool Generate(const char* e57Path = "/scans/Haus.e57")
    {
        return WriteGsmViaXml((part_ + "_data.gspc").c_str(), part_.c_str(), dir_.c_str(), 1.5f, 2.5f, 3.5f,
                              -1.0f, -2.0f, -3.0f, 10, e57Path, 1000, 100);
    }

    std::string XmlPath() const { return "/tmp/pw_gsm_" + part_ + ".xml"; }
    std::string OutputPath() const { return "/tmp/pw_lpc_" + part_ + ".txt"; }
    std::string GsmPath() const { return (dir_ / (part_ + ".gsm")).string(); }
    std::vector<std::string> LogLines() const { return ReadLines(logPath_); }

    fs::path dir_;
    std::string logPath_;
    std::string part_;
    std::string converterPath_;
    const char* savedConverter_ = nullptr;
};

}  // namespace

TEST(LibPartXml, WholeDocumentForChosenValues)
{
    // No source path, a size that float rounding shows (1234.5678 -> 1234.5677),
    // tiny and huge offsets, point counts beyond 32 bits.
    const std::string noPath = Render([](std::FILE* f) {
        WriteLibPartXml(f, kGuid, "Haus_data.gspc", 0.1f, 1234.5678f, 0.0f, -12.25f, 3e-5f, 1e9f, 25, nullptr,
                        9000000000LL, 2250000000LL);
    });
    EXPECT_EQ(noPath, Expected("libpart_no_path.xml"));

    // Non-ASCII text passes through unchanged, as UTF-8 bytes.
    const std::string withPath = Render([](std::FILE* f) {
        WriteLibPartXml(f, kGuid, "Scan S\xC3\xBC" "d_data.gspc", 1.0f, 2.5f, 1e-7f, 0.0f, 0.0f, 0.0f, 100,
                        "/Users/anna/Scans/Scan S\xC3\xBC" "d.E57", 30571, 30571);
    });
    EXPECT_EQ(withPath, Expected("libpart_with_path.xml"));

    // An empty path is written like an absent one.
    const std::string emptyPath = Render([](std::FILE* f) {
        WriteLibPartXml(f, kGuid, "Haus_data.gspc", 0.1f, 1234.5678f, 0.0f, -12.25f, 3e-5f, 1e9f, 25, "",
                        9000000000LL, 2250000000LL);
    });
    EXPECT_EQ(emptyPath, noPath);
}

TEST(LibPartXml, GuidsAreUpperCaseVersion4AndDistinct)
{
    const std::regex shape("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    std::set<std::string> seen;
    std::set<char> variants;
    for (int i = 0; i < 2000; ++i) {
        char buffer[40];
        std::memset(buffer, '#', sizeof buffer);
        GenGUID(buffer);
        ASSERT_EQ(buffer[36], '\0');
        ASSERT_EQ(buffer[37], '#') << "wrote past the 37-byte buffer";
        ASSERT_TRUE(std::regex_match(buffer, shape)) << buffer;
        seen.insert(buffer);
        variants.insert(buffer[19]);
    }
    EXPECT_EQ(seen.size(), 2000u);
    EXPECT_EQ(variants.size(), 4u) << "all four variant digits 8, 9, A, B should occur";
}

TEST_F(LibPartGeneration, SuccessfulConversionCleansUpAndPassesArguments)
{
    // The script keeps what it was given: its arguments and the XML as it was then.
    UseConverterScript("printf '%s\\n' \"$0\" \"$1\" \"$2\" \"$3\" > " + (dir_ / "args.txt").string() +
                       "\ncp \"$2\" " + (dir_ / "seen.xml").string() + "\n: > \"$3\"\nexit 0\n");
    ASSERT_TRUE(Generate());

    EXPECT_EQ(ReadLines(dir_ / "args.txt"),
              (std::vector<std::string>{converterPath_, "xml2libpart", XmlPath(), GsmPath()}));
    EXPECT_TRUE(fs::exists(GsmPath()));
    EXPECT_FALSE(fs::exists(XmlPath())) << "the XML is removed after a successful conversion";
    EXPECT_FALSE(fs::exists(OutputPath()));
    // A converter that prints nothing leaves only the exit line.
    EXPECT_EQ(LogLines(), std::vector<std::string>{"LP_XMLConverter exit=0 xml=" + XmlPath() + " gsm=" + GsmPath()});

    const std::string seen = ReadAll(dir_ / "seen.xml");
    EXPECT_NE(seen.find("POINTCLOUD \"" + part_ + "_data.gspc\""), std::string::npos);
    EXPECT_EQ(WithFixedGuid(seen), Render([this](std::FILE* f) {
                  WriteLibPartXml(f, kGuid, (part_ + "_data.gspc").c_str(), 1.5f, 2.5f, 3.5f, -1.0f, -2.0f,
                                  -3.0f, 10, "/scans/Haus.e57", 1000, 100);
              }));
    EXPECT_NE(seen.find("MainGUID=\""), std::string::npos);
    EXPECT_EQ(seen.find(kGuid), std::string::npos) << "each part gets a fresh GUID";
}

TEST_F(LibPartGeneration, FailingConverterOutputIsLoggedAndXmlKept)
{
    // Standard output and standard error end up in one file, in order; an empty
    // line is logged as such; a 600-character line comes back as 511 + 89.
    const std::string longLine(600, 'x');
    UseConverterScript("echo 'Fehler in Zeile 3'\necho 'stderr line' >&2\necho ''\necho '" + longLine +
                       "'\nprintf 'no newline'\nexit 3\n");
    ASSERT_FALSE(Generate());

    EXPECT_EQ(LogLines(), (std::vector<std::string>{
                              "LP_XMLConverter exit=3 xml=" + XmlPath() + " gsm=" + GsmPath(),
                              "Fehler in Zeile 3", "stderr line", "", std::string(511, 'x'), std::string(89, 'x'),
                              "no newline"}));
    EXPECT_TRUE(fs::exists(XmlPath())) << "a failed conversion keeps its XML for inspection";
    EXPECT_FALSE(fs::exists(OutputPath()));
}

TEST_F(LibPartGeneration, ConverterKilledBySignalCountsAsExitMinusOne)
{
    UseConverterScript("echo dying\nkill -KILL $$\n");
    ASSERT_FALSE(Generate());
    EXPECT_EQ(LogLines(), (std::vector<std::string>{
                              "LP_XMLConverter exit=-1 xml=" + XmlPath() + " gsm=" + GsmPath(), "dying"}));
    EXPECT_TRUE(fs::exists(XmlPath()));
    EXPECT_FALSE(fs::exists(OutputPath()));
}

TEST_F(LibPartGeneration, MissingConverterIsASpawnFailure)
{
    const std::string missing = (dir_ / "no-such-converter").string();
    LP_XMLCONVERTER = missing.c_str();
    ASSERT_FALSE(Generate());
    EXPECT_EQ(LogLines(), std::vector<std::string>{"posix_spawn fehlgeschlagen: 2"});
    EXPECT_TRUE(fs::exists(XmlPath()));
    EXPECT_FALSE(fs::exists(OutputPath())) << "the converter output file is removed also after a spawn failure";
}

TEST_F(LibPartGeneration, UnwritableXmlStopsBeforeTheConverter)
{
    UseConverterScript(": > " + (dir_ / "ran").string() + "\n");
    part_ = "no-such-folder-" + std::to_string(getpid()) + "/Haus";
    ASSERT_FALSE(Generate());
    EXPECT_FALSE(fs::exists(dir_ / "ran"));
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(LibPartGeneration, LongOutputPathIsCutAt1023Bytes)
{
    UseConverterScript("printf '%s\\n' \"$3\" > " + (dir_ / "args.txt").string() + "\nexit 0\n");
    const std::string folder = dir_.string() + "/" + std::string(1100 - dir_.string().size(), 'f');
    ASSERT_TRUE(WriteGsmViaXml("P_data.gspc", part_.c_str(), folder.c_str(), 1, 1, 1, 0, 0, 0, 10, nullptr, 0, 0));

    const std::string full = folder + "/" + part_ + ".gsm";
    const std::vector<std::string> args = ReadLines(dir_ / "args.txt");
    ASSERT_EQ(args.size(), 1u);
    EXPECT_EQ(args[0], full.substr(0, 1023));
    // The log line itself is cut at 255 characters.
    const std::vector<std::string> log = LogLines();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0], ("LP_XMLConverter exit=0 xml=" + XmlPath() + " gsm=" + full).substr(0, 255));
}
