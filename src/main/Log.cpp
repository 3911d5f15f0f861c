#include "main/Log.h"

#include <cstdio>

namespace {

const char* const kDefaultLogPath = "/Applications/GRAPHISOFT/punktwolke_addon/pcd_debug.log";
const char* LOG_PATH = kDefaultLogPath;

}  // namespace

void Log(const char* message)
{
    FILE* f = std::fopen(LOG_PATH, "a");
    if (f == nullptr) {
        return;
    }
    std::fprintf(f, "%s\n", message);
    std::fclose(f);
}

void SetLogPath(const char* path)
{
    LOG_PATH = path != nullptr ? path : kDefaultLogPath;
}

const char* GetLogPath()
{
    return LOG_PATH;
}
