// Scenario tests: each tests/main/sessions/NAME.session script is run by the
// session driver, and its transcript must equal NAME.transcript. Paths of the
// session's temporary folder appear as $TMP in both.
//
// After an intended change of behaviour, regenerate the expected transcripts
// with PW_UPDATE_TRANSCRIPTS=1 and review the difference before committing.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/PunktwolkeRun.h"

namespace fs = std::filesystem;

namespace {

const fs::path kSessions = fs::path(PW_SOURCE_DIR) / "tests" / "main" / "sessions";

std::vector<std::string> SessionNames()
{
    std::vector<std::string> names;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(kSessions, ec)) {
        if (entry.path().extension() == ".session") {
            names.push_back(entry.path().stem().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

// The first line where the two texts differ, for the failure message.
std::string FirstDifference(const std::string& expected, const std::string& actual)
{
    std::istringstream e(expected), a(actual);
    std::string le, la;
    for (int line = 1;; ++line) {
        const bool he = static_cast<bool>(std::getline(e, le));
        const bool ha = static_cast<bool>(std::getline(a, la));
        if (!he && !ha) {
            return "no line differs";
        }
        if (!he || !ha || le != la) {
            return "line " + std::to_string(line) + ":\n  expected: " + (he ? le : "<end>") +
                   "\n  actual:   " + (ha ? la : "<end>");
        }
    }
}

class SessionScenario : public ::testing::TestWithParam<std::string> {};

TEST_P(SessionScenario, TranscriptMatches)
{
#if !defined(PW_SESSION_DRIVER) || !defined(PW_LPXMLCONVERTER)
    GTEST_SKIP() << "the session driver or the stand-in converter is not built";
#else
    const fs::path script = kSessions / (GetParam() + ".session");
    const fs::path expectedFile = kSessions / (GetParam() + ".transcript");
    const pwtest::RunResult run =
        pwtest::RunProgram(PW_SESSION_DRIVER, {"--converter", PW_LPXMLCONVERTER, script.string()});
    const std::string& actual = run.out;
    EXPECT_EQ(run.exitCode, 0) << "the driver reports a line it could not carry out";

    if (std::getenv("PW_UPDATE_TRANSCRIPTS") != nullptr) {
        std::ofstream(expectedFile, std::ios::binary) << actual;
        GTEST_SKIP() << "wrote " << expectedFile;
    }
    ASSERT_TRUE(fs::exists(expectedFile)) << "no expected transcript " << expectedFile;
    const std::string expected = pwtest::Slurp(expectedFile);
    if (expected != actual) {
        const fs::path actualFile = fs::path(PW_BINARY_DIR) / (GetParam() + ".actual.transcript");
        std::ofstream(actualFile, std::ios::binary) << actual;
        ADD_FAILURE() << "transcript differs from " << expectedFile << " (actual written to " << actualFile
                      << "), first at " << FirstDifference(expected, actual);
    }
#endif
}

INSTANTIATE_TEST_SUITE_P(Scripts, SessionScenario, ::testing::ValuesIn(SessionNames()),
                         [](const ::testing::TestParamInfo<std::string>& param) { return param.param; });

TEST(SessionDriver, RejectsUnknownCommandsAndGoesOn)
{
#if !defined(PW_SESSION_DRIVER) || !defined(PW_LPXMLCONVERTER)
    GTEST_SKIP() << "the session driver or the stand-in converter is not built";
#else
    pwtest::TempDir dir;
    const auto script = dir.Write("bad.session", "fly away\nclick import\nmenu 32500 1\n");
    const pwtest::RunResult run =
        pwtest::RunProgram(PW_SESSION_DRIVER, {"--converter", PW_LPXMLCONVERTER, script.string()});
    const std::string& out = run.out;
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(out.find("error: unknown or malformed command: fly away\n  (line 1 not carried out)"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("error: the palette has not been opened yet\n  (line 2 not carried out)"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("MenuHandler: Show+Refresh done."), std::string::npos) << out;
#endif
}

}  // namespace
