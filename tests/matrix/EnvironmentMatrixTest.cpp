// The surroundings of an import going wrong: paths that are not readable
// files, an output folder that cannot be made, a full disk, a converter that
// is missing or fails, and file names that the generated files must survive.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "ImportFixture.h"
#include "MatrixSupport.h"
#include "e57/Writer.h"

using namespace matrix;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

constexpr char kCannotOpen[] = "E57-Datei konnte nicht geöffnet werden.";
constexpr char kFailed[] = "E57-Konvertierung fehlgeschlagen.";
constexpr char kNoPointFile[] = "GSPC-Datei konnte nicht angelegt werden.";
constexpr char kNoGsm[] = "GSM konnte nicht erstellt werden.";

void WriteScan(const fs::path& path, size_t points)
{
    e57::Writer w(path.string());
    e57::ScanHeader h;
    h.guid = "{env}";
    h.prototype = e57::CartesianFields(e57::FieldEncoding::Double);
    std::vector<double> x(points), y(points), z(points);
    for (size_t i = 0; i < points; ++i) {
        x[i] = double(i);
        y[i] = 2.0 * double(i);
        z[i] = 1.0;
    }
    w.BeginScan(h);
    w.WriteColumns(points, {{x.data(), nullptr}, {y.data(), nullptr}, {z.data(), nullptr}});
    w.EndScan();
    w.Close();
}

void ExpectOneReport(const ImportOutcome& o, const std::string& text, bool alert)
{
    ASSERT_EQ(o.reports.size(), 1u);
    EXPECT_EQ(o.reports[0].text, text);
    EXPECT_EQ(o.reports[0].withAlert, alert);
    EXPECT_EQ(o.result, "");
    EXPECT_TRUE(o.windowClosed);
    EXPECT_TRUE(o.sourceUnchanged);
}

class EnvironmentMatrix : public ::testing::Test {
protected:
    Scratch dir_;
    ImportRunner importer_{dir_.Path()};
};

}  // namespace

TEST_F(EnvironmentMatrix, PathsThatAreNotReadableFiles)
{
    const fs::path folder = dir_ / "folder.e57";
    fs::create_directory(folder);
    const fs::path fifo = dir_ / "pipe.e57";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0644), 0);
    const fs::path missing = dir_ / "missing.e57";
    for (const fs::path& p : {folder, missing, fs::path("/dev/zero")}) {
        SCOPED_TRACE(p.string());
        const RunResult r = RunTool({"convert", p.string(), "-o", (dir_ / "out.gspc").string()}, Limits{5});
        EXPECT_FALSE(r.timedOut);
        EXPECT_EQ(r.exitCode, 1);
        EXPECT_THAT(r.err, StartsWith(std::string(kCannotOpen) + " (" + p.string() + ": "));
    }
    // The import never waits for a writer on a FIFO.
    for (const fs::path& p : {folder, fifo, missing}) {
        SCOPED_TRACE(p.string());
        ExpectOneReport(importer_.Import(p), kCannotOpen, true);
    }

    // An empty file opens but is no E57 file.
    const fs::path empty = dir_ / "empty.e57";
    WriteBytes(empty, {});
    const RunResult r = RunTool({"convert", empty.string(), "-o", (dir_ / "out.gspc").string()});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_THAT(r.err, StartsWith(std::string(kFailed) + " ("));
    const ImportOutcome o = importer_.Import(empty);
    ExpectOneReport(o, kFailed, true);
    ASSERT_FALSE(o.log.empty());
    EXPECT_THAT(o.log.back(), StartsWith("E57-Fehler: not an E57 file"));
}

TEST_F(EnvironmentMatrix, UnreadableFile)
{
    const fs::path locked = dir_ / "locked.e57";
    WriteScan(locked, 10);
    ASSERT_EQ(chmod(locked.c_str(), 0), 0);
    if (access(locked.c_str(), R_OK) == 0)
        GTEST_SKIP() << "running as root: a file without permissions is still readable";
    const RunResult r = RunTool({"convert", locked.string(), "-o", (dir_ / "out.gspc").string()});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, std::string(kCannotOpen) + " (" + locked.string() + ": Permission denied)\n");
    ExpectOneReport(importer_.Import(locked), kCannotOpen, true);
}

// Opening a FIFO for reading waits for a writer: the commands must refuse it instead.
TEST_F(EnvironmentMatrix, ToolCommandsDoNotWaitOnAPipe)
{
    const fs::path fifo = dir_ / "points.e57";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0644), 0);
    RunResult r = RunTool({"convert", fifo.string(), "-o", (dir_ / "out.gspc").string()}, Limits{5});
    EXPECT_FALSE(r.timedOut) << "convert blocks on opening a FIFO";
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_THAT(r.err, StartsWith(std::string(kCannotOpen) + " (" + fifo.string() + ": "));

    r = RunTool({"preview", fifo.string(), "-o", (dir_ / "p.png").string()}, Limits{5});
    EXPECT_FALSE(r.timedOut) << "preview blocks on opening a FIFO";
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_THAT(r.err, StartsWith("GSPC-Datei konnte nicht gelesen werden. ("));
}

TEST_F(EnvironmentMatrix, OutputFolderThatCannotBeCreated)
{
    // A plain file already holds the output folder's name.
    const fs::path e57 = dir_ / "Scan.e57";
    WriteScan(e57, 10);
    WriteBytes(dir_ / "Scan", {'x'});
    ExpectOneReport(importer_.Import(e57), kNoPointFile, true);
    EXPECT_EQ(Slurp(dir_ / "Scan"), "x");

    const RunResult r = RunTool({"convert", e57.string(), "-o", (dir_ / "Scan" / "out.gspc").string()});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, std::string(kNoPointFile) + " (" + (dir_ / "Scan" / "out.gspc").string() + ": Not a directory)\n");
}

TEST_F(EnvironmentMatrix, FullDiskWhileWritingThePointFile)
{
    const fs::path e57 = dir_ / "Big.e57";
    WriteScan(e57, 20000);  // 300 kB of points
    const std::string hash = Sha256(e57);
    Limits full;
    full.fileSizeBytes = 64 * 1024;

    const fs::path out = dir_ / "big.gspc";
    RunResult r = RunTool({"convert", e57.string(), "-d", "100", "-o", out.string()}, full);
    EXPECT_EQ(r.signal, 0) << "killed by SIGXFSZ?";
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, std::string(kFailed) + " (could not write all of " + out.string() + ")\n");
    EXPECT_LE(fs::file_size(out), full.fileSizeBytes);

    // The import stops at a point file cut short: no library part for it.
    r = RunTool({"import", e57.string(), "-d", "100", "--xml-only"}, full);
    EXPECT_EQ(r.signal, 0);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find(std::string(kFailed)), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("could not write all of"), std::string::npos) << r.err;
    EXPECT_FALSE(fs::exists(dir_ / "Big" / "Big.xml"));
    EXPECT_LE(fs::file_size(dir_ / "Big" / "Big_data.gspc"), full.fileSizeBytes);
    EXPECT_EQ(Sha256(e57), hash);
}

TEST_F(EnvironmentMatrix, ConverterThatIsMissingOrFails)
{
    const fs::path e57 = dir_ / ("conv" + std::to_string(getpid()) + ".e57");
    WriteScan(e57, 50);
    const std::string base = e57.stem().string();
    const std::string xml = "/tmp/pw_gsm_" + base + ".xml";
    const fs::path notExecutable = dir_ / "plain.sh";
    WriteBytes(notExecutable, {'#', '!', '/', 'b', 'i', 'n', '/', 's', 'h', '\n'});
    chmod(notExecutable.c_str(), 0644);
    struct Case {
        const char* what;
        std::function<void()> setUp;
        std::string logLine;  // start of the converter's log line
    };
    const std::vector<Case> cases = {
        {"missing", [&] { importer_.UseConverterPath((dir_ / "nowhere").string()); },
         "posix_spawn fehlgeschlagen: " + std::to_string(ENOENT)},
        {"not executable", [&] { importer_.UseConverterPath(notExecutable.string()); },
         "posix_spawn fehlgeschlagen: " + std::to_string(EACCES)},
        {"exit 3", [&] { importer_.UseConverter("#!/bin/sh\necho broken\nexit 3\n"); }, "LP_XMLConverter exit=3 "},
        {"killed", [&] { importer_.UseConverter("#!/bin/sh\nkill -9 $$\n"); }, "LP_XMLConverter exit=-1 "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        c.setUp();
        const ImportOutcome o = importer_.Import(e57, 50);
        ExpectOneReport(o, kNoGsm, true);
        ASSERT_GE(o.log.size(), 2u);
        EXPECT_EQ(o.log.back(), "WriteGsmViaXml fehlgeschlagen.");
        bool found = false;
        for (const std::string& line : o.log)
            found = found || line.rfind(c.logLine, 0) == 0;
        EXPECT_TRUE(found) << c.logLine;
        EXPECT_TRUE(fs::exists(xml)) << "the XML stays for inspection";
        EXPECT_EQ(fs::file_size(dir_ / base / (base + "_data.gspc")), 32u + 25u * 15u) << "the point file is complete";
        fs::remove(xml);
    }
}

#ifdef PW_LPXMLCONVERTER
TEST_F(EnvironmentMatrix, FileNamesTheGeneratedFilesMustSurvive)
{
    importer_.UseConverterPath(PW_LPXMLCONVERTER);
    const std::string tag = std::to_string(getpid());
    struct Case {
        std::string name;
        const char* report;  // nullptr: imported
    };
    const std::vector<Case> cases = {
        {"Scan mit Leerzeichen " + tag, nullptr},
        {"Größe Übersicht " + tag, nullptr},
        {"Haus \"Nord\" " + tag, kNoGsm},   // the quote breaks the generated XML
        {"Scan ]]> " + tag, kNoGsm},        // so does the end of a CDATA section
        // Names near the file system's limit of 255 bytes per name:
        {tag + std::string(240 - tag.size(), 'L'), nullptr},
        {tag + std::string(245 - tag.size(), 'X'), kNoGsm},        // "/tmp/pw_gsm_NAME.xml" is too long
        {tag + std::string(250 - tag.size(), 'M'), kNoPointFile},  // "NAME_data.gspc" is too long
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const fs::path e57 = dir_ / (c.name + ".e57");
        WriteScan(e57, 30);
        const ImportOutcome o = importer_.Import(e57, 100);
        EXPECT_TRUE(o.sourceUnchanged);
        if (c.report == nullptr) {
            EXPECT_EQ(o.result, c.name);
            ASSERT_EQ(o.reports.size(), 1u);
            EXPECT_EQ(o.reports[0].text, "\"" + c.name + "\" importiert (100% der Punkte).");
            EXPECT_TRUE(fs::exists(dir_ / c.name / (c.name + ".gsm")));
        } else {
            ExpectOneReport(o, c.report, true);
        }
        std::error_code ec;
        fs::remove("/tmp/pw_gsm_" + c.name + ".xml", ec);
    }
}
#endif
