// Every program says the one version set in CMake, in the same form.
#include <gtest/gtest.h>

#include <regex>
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
    EXPECT_TRUE(std::regex_match(std::string(PW_VERSION), std::regex("[0-9]+\\.[0-9]+\\.[0-9]+"))) << PW_VERSION;
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
