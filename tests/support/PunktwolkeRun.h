#pragma once
// Runs a built program (the punktwolke tool, the session driver) and captures
// its exit status, stdout and stderr.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/TestSupport.h"

extern char** environ;

namespace pwtest {

struct RunResult {
    int exitCode = -1;   // -1 when the process did not exit normally
    std::string out;
    std::string err;
};

struct RunOptions {
    std::string cwd;                // empty: the test's own folder
    bool pendingSigint = false;     // start with a Ctrl-C already waiting
};

inline std::string BinaryPath()
{
    return std::string(PW_PUNKTWOLKE);
}

inline std::string ScratchDir(const std::string& name)
{
    const std::string dir = ::testing::TempDir() + "pwcli_" + std::to_string(getpid()) + "_" + name;
    mkdir(dir.c_str(), 0755);
    return dir;
}

inline RunResult RunProgram(const std::string& program, const std::vector<std::string>& args,
                            const RunOptions& options = RunOptions())
{
    static int serial = 0;
    const std::string base = ::testing::TempDir() + "pwcli_" + std::to_string(getpid()) + "_" + std::to_string(++serial);
    const std::string outPath = base + ".out", errPath = base + ".err";

    std::vector<std::string> argv{program};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> cargv;
    for (auto& a : argv)
        cargv.push_back(a.data());
    cargv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (!options.cwd.empty())
        posix_spawn_file_actions_addchdir_np(&actions, options.cwd.c_str());
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    if (options.pendingSigint) {
        // Blocked in the child until the tool installs its handler and unblocks it.
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGINT);
        posix_spawnattr_setsigmask(&attr, &set);
        posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGMASK);
    }
    RunResult r;
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, argv[0].c_str(), &actions, &attr, cargv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    if (rc != 0) {
        r.err = "spawn failed";
        return r;
    }
    if (options.pendingSigint)
        kill(pid, SIGINT);
    int status = 0;
    waitpid(pid, &status, 0);
    if (WIFEXITED(status))
        r.exitCode = WEXITSTATUS(status);
    r.out = Slurp(outPath);
    r.err = Slurp(errPath);
    std::remove(outPath.c_str());
    std::remove(errPath.c_str());
    return r;
}

inline RunResult RunPunktwolke(const std::vector<std::string>& args, const RunOptions& options = RunOptions())
{
    return RunProgram(BinaryPath(), args, options);
}

inline size_t LineCount(const std::string& text)
{
    size_t n = 0;
    for (char c : text)
        n += c == '\n';
    return n;
}

}  // namespace pwtest
