// punktwolke convert: one E57 file into a point file, as the import does it.
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include "cli/CliSupport.h"
#include "cli/Commands.h"
#include "cli/CoordinateRange.h"
#include "cli/ResultJson.h"
#include "cli/TerminalProgress.h"
#include "e57/Reader.h"
#include "import/ConvertE57ToGspc.h"
#include "import/GspcWriter.h"
#include "parallel/ParallelConversion.h"

namespace {

struct ConvertOptions {
    std::string input;
    std::string output;
    int density = 10;
    int threads = parallel::DefaultThreadCount();
    bool json = false;
};

bool SameFile(const std::string& a, const std::string& b)
{
    std::error_code ec;
    return std::filesystem::equivalent(a, b, ec) && !ec;
}

int RunConvert(const ConvertOptions& opt)
{
    const std::string output = opt.output.empty() ? E57BaseName(opt.input) + "_data.gspc" : opt.output;
    // The source file is never touched, not even by a careless -o.
    if (SameFile(opt.input, output)) {
        PrintFailure("GSPC-Datei konnte nicht angelegt werden.", output + " is the E57 file itself");
        return 1;
    }

    const auto started = std::chrono::steady_clock::now();
    TerminalProgress progress(TerminalProgress::StderrIsTerminal());
    SigintCancel sigint;
    bool windowOpen = false;
    try {
        e57::ReaderOptions readerOptions;
        readerOptions.checksumPolicy = 100;
        e57::Reader reader(opt.input, readerOptions);
        if (!reader.IsOpen()) {
            PrintFailure("E57-Datei konnte nicht geöffnet werden.", opt.input + ": " + WhyNotReadable(opt.input));
            return 1;
        }
        const int64_t scanCount = reader.GetData3DCount();
        if (scanCount == 0) {
            PrintFailure("E57-Datei enthält keine Scans.", opt.input);
            return 1;
        }
        GspcWriter writer;
        errno = 0;
        if (!writer.Open(output.c_str())) {
            PrintFailure("GSPC-Datei konnte nicht angelegt werden.", output + ": " + ErrnoText());
            return 1;
        }
        const ConversionResult result = parallel::ConvertWithThreads(
            reader, opt.input, scanCount, writer, opt.density, "E57 importieren...", progress, windowOpen, opt.threads);
        if (windowOpen)
            progress.Close();
        windowOpen = false;
        if (result.cancelled) {
            PrintFailure("Import abgebrochen.", "");
            return 1;
        }
        if (writer.WriteFailed()) {
            PrintFailure("E57-Konvertierung fehlgeschlagen.", "could not write all of " + output);
            return 1;
        }
        ConversionFigures figures;
        figures.totalPoints = result.totalPoints;
        figures.keptPoints = result.keptPoints;
        figures.density = opt.density;
        figures.offset[0] = result.offsetX, figures.offset[1] = result.offsetY, figures.offset[2] = result.offsetZ;
        figures.size[0] = result.sizeX, figures.size[1] = result.sizeY, figures.size[2] = result.sizeZ;
        figures.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
        WarnIfFarFromOrigin(LargestCoordinate(figures));
        if (opt.json) {
            nlohmann::json doc = FiguresJson(figures);
            doc["input"] = opt.input;
            doc["filesWritten"] = {output};
            PrintJson(doc);
            return 0;
        }
        std::printf("total points: %lld\n", static_cast<long long>(result.totalPoints));
        std::printf("kept points: %lld\n", static_cast<long long>(result.keptPoints));
        std::printf("density: %d%% (every %d. point)\n", opt.density, DensityStep(opt.density));
        std::printf("offset: %.9g %.9g %.9g\n", result.offsetX, result.offsetY, result.offsetZ);
        std::printf("size: %.9g %.9g %.9g\n", result.sizeX, result.sizeY, result.sizeZ);
        std::printf("output: %s\n", output.c_str());
        return 0;
    } catch (const std::exception& e) {
        if (windowOpen)
            progress.Close();
        PrintFailure("E57-Konvertierung fehlgeschlagen.", e.what());
        return 1;
    }
}

}  // namespace

void AddConvertCommand(CLI::App& app, int& exitStatus)
{
    auto opt = std::make_shared<ConvertOptions>();
    auto* cmd = app.add_subcommand("convert", "Convert an E57 file into a .gspc point file");
    cmd->add_option("file", opt->input, "E57 file to read")->required();
    cmd->add_option("-d,--density", opt->density, "Percent of points to keep, 1..100 (every max(1, 100/N)-th point)")
        ->check(CLI::Range(1, 100))
        ->capture_default_str();
    cmd->add_option("-o,--output", opt->output,
                    "Point file to write (default: <name>_data.gspc in the current folder)");
    cmd->add_option("--threads", opt->threads, "Threads to convert with (1: exactly the add-on's conversion)")
        ->check(CLI::Range(1, 256))
        ->capture_default_str();
    cmd->add_flag("--json", opt->json, "Write the result as one JSON document instead of text");
    cmd->callback([opt, &exitStatus] { exitStatus = RunConvert(*opt); });
}
