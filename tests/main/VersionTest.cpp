// Every program says the one version set in CMake, in the same form.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/PunktwolkeRun.h"

namespace {

TEST(Version, EveryProgramSaysTheProjectVersion)
{
#if !defined(PW_SESSION_DRIVER) || !defined(PW_LPXMLCONVERTER)
    GTEST_SKIP() << "the session driver or the stand-in converter is not built";
#else
    // X.Y.Z: digits in three dot-separated groups.
    const std::string version = PW_VERSION;
    int dots = 0;
    bool digitBefore = false, wellFormed = true;
    for (char c : version) {
        if (c == '.') {
            wellFormed = wellFormed && digitBefore;
            ++dots;
            digitBefore = false;
        } else {
            wellFormed = wellFormed && c >= '0' && c <= '9';
            digitBefore = true;
        }
    }
    EXPECT_TRUE(wellFormed && digitBefore && dots == 2) << version;
    const std::vector<std::pair<std::string, std::string>> programs = {
        {PW_PUNKTWOLKE, "punktwolke"},
        {PW_SESSION_DRIVER, "punktwolke-session"},
        {PW_LPXMLCONVERTER, "pw-lpxmlconverter"},
    };
    for (const auto& [path, name] : programs) {
        const pwtest::RunResult r = pwtest::RunProgram(path, {"--version"});
        EXPECT_EQ(r.exitCode, 0) << name;
        EXPECT_EQ(r.out, name + " " PW_VERSION "\n");
        EXPECT_EQ(r.err, "") << name;
    }
#endif
}

}  // namespace
