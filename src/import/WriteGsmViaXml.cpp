#include "import/WriteGsmViaXml.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "import/LibPartXml.h"
#include "main/Log.h"

#if !defined(__APPLE__) && !(defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 36)))
#include <random>
#endif

extern char** environ;

// Paths and log lines are cut at their fixed buffer sizes on purpose.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wformat-truncation"
#endif

const char* LP_XMLCONVERTER =
    "/Applications/GRAPHISOFT/Archicad 26/Archicad 26.app/Contents/MacOS/LP_XMLConverter.app/Contents/MacOS/LP_XMLConverter";

namespace {

// One word from the system's self-seeding cryptographic generator.
uint32_t RandomWord()
{
#if defined(__APPLE__) || (defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 36)))
    return arc4random();
#else
    static std::random_device device;
    return static_cast<uint32_t>(device());
#endif
}

}  // namespace

void GenGUID(char* buffer)
{
    const uint32_t r0 = RandomWord();
    uint32_t r1 = RandomWord();
    uint32_t r2 = RandomWord();
    const uint32_t r3 = RandomWord();
    r1 = (r1 & 0xFFFF0FFFu) | 0x4000u;        // version 4
    r2 = (r2 & 0x3FFFFFFFu) | 0x80000000u;    // RFC 4122 variant
    std::snprintf(buffer, 37, "%08X-%04X-%04X-%04X-%04X%08X", static_cast<unsigned>(r0),
                  static_cast<unsigned>(r1 >> 16), static_cast<unsigned>(r1 & 0xFFFFu),
                  static_cast<unsigned>(r2 >> 16), static_cast<unsigned>(r2 & 0xFFFFu),
                  static_cast<unsigned>(r3));
}

bool WriteGsmViaXml(const char* gspcFileName, const char* partName, const char* outputFolder,
                    float sizeX, float sizeY, float sizeZ,
                    float offsetX, float offsetY, float offsetZ,
                    int densityPercent, const char* e57Path,
                    long long totalPoints, long long reducedPoints)
{
    char guid[37];
    GenGUID(guid);

    char xmlPath[1024];
    std::snprintf(xmlPath, sizeof xmlPath, "/tmp/pw_gsm_%s.xml", partName);
    std::FILE* xml = std::fopen(xmlPath, "w");
    if (xml == nullptr) {
        return false;
    }
    WriteLibPartXml(xml, guid, gspcFileName, sizeX, sizeY, sizeZ, offsetX, offsetY, offsetZ,
                    densityPercent, e57Path, totalPoints, reducedPoints);
    std::fclose(xml);

    char gsmPath[1024];
    std::snprintf(gsmPath, sizeof gsmPath, "%s/%s.gsm", outputFolder, partName);
    char outputPath[256];
    std::snprintf(outputPath, sizeof outputPath, "/tmp/pw_lpc_%s.txt", partName);

    // The converter's standard output and standard error both go into one file.
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, outputPath, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);

    char* argv[] = {const_cast<char*>(LP_XMLCONVERTER), const_cast<char*>("xml2libpart"), xmlPath, gsmPath,
                    nullptr};
    pid_t pid = 0;
    const int spawnResult = posix_spawn(&pid, LP_XMLCONVERTER, &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);

    char line[256];
    bool ok = false;
    if (spawnResult != 0) {
        std::snprintf(line, sizeof line, "posix_spawn fehlgeschlagen: %d", spawnResult);
        Log(line);
    } else {
        int status = 0;
        pid_t waited;
        do {
            waited = waitpid(pid, &status, 0);
        } while (waited < 0 && errno == EINTR);
        // A child that did not end normally (signal) counts as exit code -1.
        const int exitCode = (waited < 0 || (status & 0x7F) != 0) ? -1 : (status >> 8) & 0xFF;
        ok = exitCode == 0;

        std::snprintf(line, sizeof line, "LP_XMLConverter exit=%d xml=%s gsm=%s", exitCode, xmlPath, gsmPath);
        Log(line);

        std::FILE* output = std::fopen(outputPath, "r");
        if (output != nullptr) {
            char piece[512];
            while (std::fgets(piece, sizeof piece, output) != nullptr) {
                const size_t length = std::strlen(piece);
                if (length > 0 && piece[length - 1] == '\n') {
                    piece[length - 1] = '\0';
                }
                Log(piece);
            }
            std::fclose(output);
        }
    }

    std::remove(outputPath);
    if (ok) {
        std::remove(xmlPath);   // a failed conversion keeps its XML for inspection
    }
    return ok;
}
