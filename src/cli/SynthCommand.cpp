// punktwolke synth: writes a synthetic scan of a small building as an E57 file,
// for demonstrations and benchmarks.
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>

#include "cli/Commands.h"
#include "synth/SyntheticScan.h"

namespace {

// A seed in decimal digits that fits 64 bits: the option parser alone would
// take "" as 0 and wrap "-1" or a longer number silently to another seed.
std::string CheckSeed(const std::string& text)
{
    const std::string wrong = "expected a whole number from 0 to 18446744073709551615, got '" + text + "'";
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos)
        return wrong;
    errno = 0;
    std::strtoull(text.c_str(), nullptr, 10);
    return errno == ERANGE ? wrong : "";
}

struct SynthCommandOptions {
    std::string output;
    uint64_t points = 2000000;
    int scans = 4;
    uint64_t seed = 1;
};

int RunSynth(const SynthCommandOptions& opt)
{
    synth::SynthOptions options;
    options.points = opt.points;
    options.scans = opt.scans;
    options.seed = opt.seed;
    try {
        const synth::SynthResult result = synth::WriteSyntheticScan(opt.output, options);
        struct stat st {};
        const long long bytes = ::stat(opt.output.c_str(), &st) == 0 ? static_cast<long long>(st.st_size) : -1;
        std::printf("wrote %s: %llu points in %d scans (seed %llu), %lld bytes\n", opt.output.c_str(),
                    static_cast<unsigned long long>(result.points), opt.scans,
                    static_cast<unsigned long long>(opt.seed), bytes);
        return 0;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "punktwolke synth: %s\n", e.what());
        return 1;
    }
}

}  // namespace

void AddSynthCommand(CLI::App& app, int& exitStatus)
{
    auto opt = std::make_shared<SynthCommandOptions>();
    auto* cmd = app.add_subcommand("synth", "Write a synthetic E57 scan of a small building");
    cmd->add_option("output", opt->output, "E57 file to write")->required();
    cmd->add_option("--points", opt->points, "Number of points over all scans (default 2000000)")
        ->check(CLI::Range(uint64_t(0), uint64_t(100000000000ull)));
    cmd->add_option("--scans", opt->scans, "Number of scanner stations, one scan each (default 4)")
        ->check(CLI::Range(1, 1000));
    cmd->add_option("--seed", opt->seed, "Seed of the generator; the same seed gives the same file (default 1)")
        ->check(CLI::Validator([](std::string& value) { return CheckSeed(value); }, "SEED"));
    cmd->callback([opt, &exitStatus] { exitStatus = RunSynth(*opt); });
}
