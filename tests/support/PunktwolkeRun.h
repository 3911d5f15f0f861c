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
    bool pendingSigint = false;     // start with a Ctrl-C already pending
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

    RunResult r;
    pid_t pid = 0;
    if (options.pendingSigint) {
        // The Ctrl-C is made pending before the program starts: blocked and
        // raised in the child, it survives exec and arrives the moment the tool
        // installs its handler and unblocks it, however busy the machine is.
        const char* cwd = options.cwd.empty() ? nullptr : options.cwd.c_str();
        pid = fork();
        if (pid == 0) {
            sigset_t set;
            sigemptyset(&set);
            sigaddset(&set, SIGINT);
            sigprocmask(SIG_BLOCK, &set, nullptr);
            kill(getpid(), SIGINT);
            const int in = open("/dev/null", O_RDONLY);
            const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (in < 0 || out < 0 || err < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0 ||
                (cwd && chdir(cwd) != 0))
                _exit(127);
            execve(cargv[0], cargv.data(), environ);
            _exit(127);
        }
        if (pid < 0) {
            r.err = "fork failed";
            return r;
        }
    } else {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (!options.cwd.empty())
            posix_spawn_file_actions_addchdir_np(&actions, options.cwd.c_str());
        const int rc = posix_spawn(&pid, argv[0].c_str(), &actions, nullptr, cargv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (rc != 0) {
            r.err = "spawn failed";
            return r;
        }
    }
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
