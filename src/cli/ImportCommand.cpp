// punktwolke import: the add-on's import command without the host. The very
// same command runs, bound to the terminal instead of the host: the E57 file
// from the command line, a folder beside it with the point file and the
// library part, the report lines on stdout and stderr. Several files are
// imported in turn with the same options, one summary line each.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "cli/CliSupport.h"
#include "cli/Commands.h"
#include "cli/CoordinateRange.h"
#include "cli/ResultJson.h"
#include "cli/TerminalHost.h"
#include "cli/TerminalProgress.h"
#include "import/DoImport.h"
#include "import/LibPartXml.h"
#include "import/WriteGsmViaXml.h"
#include "main/Log.h"
#include "parallel/ParallelConversion.h"

namespace fs = std::filesystem;

namespace {

struct ImportOptions {
    std::vector<std::string> files;
    int density = 10;
    std::string converter;
    bool xmlOnly = false;
    std::string logPath;
    int threads = parallel::DefaultThreadCount();
    bool json = false;
};

// The import's conversion step on the threads asked for.
int g_threads = 1;
std::string g_e57Path;
ConversionResult ConvertOnThreads(e57::Reader& reader, int64_t scanCount, GspcWriter& writer, int32_t densityPercent,
                                  const std::string& windowTitle, host::ProcessWindow& processWindow,
                                  bool& processWindowOpen)
{
    return parallel::ConvertWithThreads(reader, g_e57Path, scanCount, writer, densityPercent, windowTitle, processWindow,
                                        processWindowOpen, g_threads);
}

// The library part step of the XML-only mode: the XML goes into the output
// folder as BASE.xml instead of being compiled.
bool WriteXmlIntoFolder(const char* gspcFileName, const char* partName, const char* outputFolder,
                        float sizeX, float sizeY, float sizeZ,
                        float offsetX, float offsetY, float offsetZ,
                        int densityPercent, const char* e57Path,
                        long long totalPoints, long long reducedPoints)
{
    char guid[37];
    GenGUID(guid);
    const std::string path = std::string(outputFolder) + "/" + partName + ".xml";
    std::FILE* file = std::fopen(path.c_str(), "w");
    if (file == nullptr) {
        return false;
    }
    WriteLibPartXml(file, guid, gspcFileName, sizeX, sizeY, sizeZ, offsetX, offsetY, offsetZ, densityPercent,
                    e57Path, totalPoints, reducedPoints);
    const bool written = std::ferror(file) == 0;
    return std::fclose(file) == 0 && written;
}

// The figures the library part step is given, recorded on their way to it
// (the step is a plain function pointer, so they pass through this variable).
ConversionFigures recordedFigures;

void Record(float sizeX, float sizeY, float sizeZ, float offsetX, float offsetY, float offsetZ, int densityPercent,
            long long totalPoints, long long reducedPoints)
{
    recordedFigures = ConversionFigures();
    recordedFigures.totalPoints = totalPoints;
    recordedFigures.keptPoints = reducedPoints;
    recordedFigures.density = densityPercent;
    recordedFigures.offset[0] = offsetX, recordedFigures.offset[1] = offsetY, recordedFigures.offset[2] = offsetZ;
    recordedFigures.size[0] = sizeX, recordedFigures.size[1] = sizeY, recordedFigures.size[2] = sizeZ;
}

bool RecordThenCompile(const char* gspcFileName, const char* partName, const char* outputFolder, float sizeX,
                       float sizeY, float sizeZ, float offsetX, float offsetY, float offsetZ, int densityPercent,
                       const char* e57Path, long long totalPoints, long long reducedPoints)
{
    Record(sizeX, sizeY, sizeZ, offsetX, offsetY, offsetZ, densityPercent, totalPoints, reducedPoints);
    return WriteGsmViaXml(gspcFileName, partName, outputFolder, sizeX, sizeY, sizeZ, offsetX, offsetY, offsetZ,
                          densityPercent, e57Path, totalPoints, reducedPoints);
}

bool RecordThenWriteXml(const char* gspcFileName, const char* partName, const char* outputFolder, float sizeX,
                        float sizeY, float sizeZ, float offsetX, float offsetY, float offsetZ, int densityPercent,
                        const char* e57Path, long long totalPoints, long long reducedPoints)
{
    Record(sizeX, sizeY, sizeZ, offsetX, offsetY, offsetZ, densityPercent, totalPoints, reducedPoints);
    return WriteXmlIntoFolder(gspcFileName, partName, outputFolder, sizeX, sizeY, sizeZ, offsetX, offsetY, offsetZ,
                              densityPercent, e57Path, totalPoints, reducedPoints);
}

bool IsExecutableFile(const std::string& path)
{
    std::error_code ec;
    return fs::is_regular_file(path, ec) && access(path.c_str(), X_OK) == 0;
}

// The debug log of one run: the file asked for with --log, else a temporary
// file, so that the add-on's own log file is never touched. After a failure
// its technical lines (exception texts, converter output) are shown as well.
class RunLog {
public:
    explicit RunLog(const std::string& requested)
    {
        if (!requested.empty()) {
            path_ = requested;
            std::error_code ec;
            const auto size = fs::file_size(path_, ec);
            start_ = ec ? 0 : static_cast<std::streamoff>(size);
        } else {
            char pattern[] = "/tmp/pw_import_log_XXXXXX";
            const int fd = mkstemp(pattern);
            if (fd >= 0) {
                close(fd);
                path_ = pattern;
                temporary_ = true;
            } else {
                path_ = "/dev/null";
            }
        }
        SetLogPath(path_.c_str());
    }

    ~RunLog()
    {
        SetLogPath(nullptr);
        if (temporary_) {
            std::remove(path_.c_str());
        }
    }

    RunLog(const RunLog&) = delete;
    RunLog& operator=(const RunLog&) = delete;

    // Lines of this run after the command's own trace of its start.
    void PrintDetails() const
    {
        std::ifstream in(path_, std::ios::binary);
        in.seekg(start_);
        for (std::string line; std::getline(in, line);) {
            if (line == "--- DoImport ---" || line.rfind("E57: ", 0) == 0) {
                continue;
            }
            std::fprintf(stderr, "punktwolke: %s\n", line.c_str());
        }
    }

private:
    std::string path_;
    std::streamoff start_ = 0;
    bool temporary_ = false;
};

struct ImportOutcome {
    bool ok = false;
    bool cancelled = false;
    std::string error;        // the failure's message
    std::string pointFile, libraryPart;
    ConversionFigures figures;
};

// One file through the add-on's import. `single`: a lone file without
// --json, which prints the add-on's report lines and the paths as they come.
// `pendingNote` (the missing converter) is printed before the first import that starts.
ImportOutcome ImportOne(const std::string& file, const ImportOptions& options, bool xmlOnly, bool single,
                        const std::string& hostConverter, std::string& pendingNote)
{
    ImportOutcome outcome;
    const auto started = std::chrono::steady_clock::now();
    std::error_code ec;
    const fs::path e57File = fs::absolute(file, ec).lexically_normal();
    // Checked before the import so that no output folder is made beside a path
    // that is missing, a folder or a FIFO.
    if (ec || !fs::is_regular_file(e57File, ec)) {
        outcome.error = "E57-Datei konnte nicht geöffnet werden. (" + file + ": " + WhyNotReadable(file) + ")";
        std::fprintf(stderr, "%s\n", outcome.error.c_str());
        return outcome;
    }
    if (!pendingNote.empty()) {
        std::fprintf(stderr, "%s\n", pendingNote.c_str());
        pendingNote.clear();
    }

    const RunLog log(options.logPath);
    std::string baseName;
    {
        TerminalHost terminal(e57File, TerminalProgress::StderrIsTerminal(), single);
        SigintCancel cancelOnCtrlC;
        recordedFigures = ConversionFigures();
        g_threads = options.threads;
        g_e57Path = e57File.string();
        baseName = DoImport(terminal.Services(), options.density, xmlOnly ? RecordThenWriteXml : RecordThenCompile,
                            ConvertOnThreads);
        if (baseName.empty()) {
            outcome.cancelled = terminal.AlertCount() == 0;
            outcome.error = outcome.cancelled ? "Import abgebrochen." : terminal.LastAlert();
        }
    }
    if (baseName.empty()) {
        log.PrintDetails();
        return outcome;
    }
    outcome.ok = true;
    outcome.figures = recordedFigures;
    outcome.figures.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();

    const fs::path folder = e57File.parent_path() / baseName;
    const std::string gsm = (folder / (baseName + ".gsm")).string();
    const std::string xml = (folder / (baseName + ".xml")).string();
    outcome.pointFile = (folder / (baseName + "_data.gspc")).string();
    outcome.libraryPart = xmlOnly ? xml : gsm;
    WarnIfFarFromOrigin(LargestCoordinate(outcome.figures));
    if (single) {
        std::printf("point file: %s\n", outcome.pointFile.c_str());
        if (xmlOnly) {
            std::printf("library part XML: %s\n", xml.c_str());
            std::printf("compile it with: \"%s\" xml2libpart \"%s\" \"%s\"\n", hostConverter.c_str(), xml.c_str(),
                        gsm.c_str());
        } else {
            std::printf("library part: %s\n", gsm.c_str());
        }
    }
    return outcome;
}

int RunImport(const ImportOptions& options)
{
    // The converter's install path of the add-on, for the hint after an XML-only import.
    static const std::string hostConverter = LP_XMLCONVERTER;
    static std::string converter;
    converter = options.converter.empty() ? hostConverter : options.converter;
    bool xmlOnly = options.xmlOnly;
    std::string note;
    if (!xmlOnly && !IsExecutableFile(converter)) {
        note = "punktwolke: no LP_XMLConverter at " + converter + "; writing the library part as XML instead";
        xmlOnly = true;
    }
    LP_XMLCONVERTER = converter.c_str();

    const bool single = options.files.size() == 1 && !options.json;
    nlohmann::json files = nlohmann::json::array();
    int failed = 0;
    for (const std::string& file : options.files) {
        const ImportOutcome o = ImportOne(file, options, xmlOnly, single, hostConverter, note);
        failed += o.ok ? 0 : 1;
        if (options.json) {
            nlohmann::json j = o.ok ? FiguresJson(o.figures) : nlohmann::json::object();
            j["file"] = file;
            j["ok"] = o.ok;
            if (o.ok) {
                j["pointFile"] = o.pointFile;
                j["libraryPart"] = o.libraryPart;
                j["filesWritten"] = {o.pointFile, o.libraryPart};
            } else {
                j["error"] = o.error;
            }
            files.push_back(j);
        } else if (!single) {
            if (o.ok)
                std::printf("%s: %lld of %lld points (%d%%) -> %s\n", file.c_str(), static_cast<long long>(o.figures.keptPoints),
                            static_cast<long long>(o.figures.totalPoints), options.density, o.libraryPart.c_str());
            else
                std::printf("%s: failed: %s\n", file.c_str(), o.error.c_str());
            std::fflush(stdout);
        }
        if (o.cancelled)
            break;   // Ctrl-C ends the whole batch
    }
    if (options.json)
        PrintJson({{"density", options.density}, {"files", files}, {"imported", int(files.size()) - failed},
                   {"failed", failed}});
    return failed == 0 ? 0 : 1;
}

}  // namespace

void AddImportCommand(CLI::App& app, int& exitStatus)
{
    auto options = std::make_shared<ImportOptions>();
    auto* cmd = app.add_subcommand(
        "import", "Import an E57 file as the add-on does: a folder beside it with the point file and the library part");
    cmd->add_option("files", options->files, "E57 files to import, each in turn with the same options")->required();
    cmd->add_option("-d,--density", options->density, "Percent of points to keep, 1..100")
        ->check(CLI::Range(1, 100))
        ->capture_default_str();
    cmd->add_option("--converter", options->converter,
                    "LP_XMLConverter that compiles the library part (default: the Archicad 26 installation)");
    cmd->add_flag("--xml-only", options->xmlOnly, "Write the library part as BASE.xml instead of compiling it");
    cmd->add_option("--log", options->logPath, "Append the debug log to this file");
    cmd->add_option("--threads", options->threads, "Threads to convert with (1: exactly the add-on's conversion)")
        ->check(CLI::Range(1, 256))
        ->capture_default_str();
    cmd->add_flag("--json", options->json, "Write the results as one JSON document instead of text");
    cmd->callback([options, &exitStatus] { exitStatus = RunImport(*options); });
}
