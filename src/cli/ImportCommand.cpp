// punktwolke import: the add-on's import command without the host. The very
// same command runs, bound to the terminal instead of the host: the E57 file
// from the command line, a folder beside it with the point file and the
// library part, the report lines on stdout and stderr.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>

#include "cli/CliSupport.h"
#include "cli/Commands.h"
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
    std::string file;
    int density = 10;
    std::string converter;
    bool xmlOnly = false;
    std::string logPath;
    int threads = parallel::DefaultThreadCount();
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

int RunImport(const ImportOptions& options)
{
    std::error_code ec;
    const fs::path e57File = fs::absolute(options.file, ec).lexically_normal();
    // Checked before the import so that no output folder is made beside a path
    // that is missing, a folder or a FIFO.
    if (ec || !fs::is_regular_file(e57File, ec)) {
        PrintFailure("E57-Datei konnte nicht geöffnet werden.", options.file + ": " + WhyNotReadable(options.file));
        return 1;
    }

    // The converter's install path of the add-on, for the hint after an XML-only import.
    static const std::string hostConverter = LP_XMLCONVERTER;
    static std::string converter;
    converter = options.converter.empty() ? hostConverter : options.converter;
    bool xmlOnly = options.xmlOnly;
    if (!xmlOnly && !IsExecutableFile(converter)) {
        std::fprintf(stderr, "punktwolke: no LP_XMLConverter at %s; writing the library part as XML instead\n",
                     converter.c_str());
        xmlOnly = true;
    }
    LP_XMLCONVERTER = converter.c_str();

    const RunLog log(options.logPath);
    std::string baseName;
    {
        TerminalHost terminal(e57File, TerminalProgress::StderrIsTerminal());
        SigintCancel cancelOnCtrlC;
        g_threads = options.threads;
        g_e57Path = e57File.string();
        baseName = DoImport(terminal.Services(), options.density, xmlOnly ? WriteXmlIntoFolder : WriteGsmViaXml,
                            ConvertOnThreads);
    }
    if (baseName.empty()) {
        log.PrintDetails();
        return 1;
    }

    const fs::path folder = e57File.parent_path() / baseName;
    const std::string gsm = (folder / (baseName + ".gsm")).string();
    std::printf("point file: %s\n", (folder / (baseName + "_data.gspc")).string().c_str());
    if (xmlOnly) {
        const std::string xml = (folder / (baseName + ".xml")).string();
        std::printf("library part XML: %s\n", xml.c_str());
        std::printf("compile it with: \"%s\" xml2libpart \"%s\" \"%s\"\n", hostConverter.c_str(), xml.c_str(),
                    gsm.c_str());
    } else {
        std::printf("library part: %s\n", gsm.c_str());
    }
    return 0;
}

}  // namespace

void AddImportCommand(CLI::App& app, int& exitStatus)
{
    auto options = std::make_shared<ImportOptions>();
    auto* cmd = app.add_subcommand(
        "import", "Import an E57 file as the add-on does: a folder beside it with the point file and the library part");
    cmd->add_option("file", options->file, "E57 file to import")->required();
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
    cmd->callback([options, &exitStatus] { exitStatus = RunImport(*options); });
}
