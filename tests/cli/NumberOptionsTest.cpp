// Every number option of every command, given text that is no usable number:
// the command refuses it as wrong usage (exit 2). Text that is a number after
// all ("0x10", " 7") is taken or refused, but no command dies of a
// signal, as `preview --floor nan` once did inside the renderer.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "import/GspcWriter.h"
#include "support/E57Files.h"
#include "support/PunktwolkeRun.h"

namespace {

struct NumberOption {
    std::vector<std::string> command;   // the command with its files
    std::string option;
};

}  // namespace

TEST(NumberOptions, TextThatIsNoUsableNumberIsRefusedAndNeverCrashesACommand)
{
    const std::string dir = pwtest::ScratchDir("numbers");
    const std::string e57 = dir + "/line.e57", gspc = dir + "/room.gspc";
    pwtest::WriteLineScans(e57, {3}, {1, 1}, {1, 4}, {1, -1}, e57::FieldEncoding::Float);
    {
        GspcWriter w;
        ASSERT_TRUE(w.Open(gspc.c_str()));
        for (int i = 0; i < 50; ++i)
            w.Write(float(i % 5), float(i / 5) * 0.3f, float(i % 3), 90, 90, 90);
        ASSERT_TRUE(w.Close());
    }
    const std::vector<NumberOption> options = {
        {{"convert", e57, "-o", dir + "/c.gspc"}, "--density"},
        {{"convert", e57, "-o", dir + "/c.gspc"}, "--threads"},
        {{"import", e57, "--xml-only"}, "--density"},
        {{"import", e57, "--xml-only"}, "--threads"},
        {{"synth", dir + "/s.e57", "--scans", "1"}, "--points"},
        {{"synth", dir + "/s.e57", "--points", "100"}, "--scans"},
        {{"synth", dir + "/s.e57", "--points", "100"}, "--seed"},
        {{"preview", gspc, "-o", dir + "/p.png", "--size", "16x12"}, "--size"},
        {{"preview", gspc, "-o", dir + "/p.png", "--size", "16x12"}, "--floor"},
        {{"preview", gspc, "-o", dir + "/p.png", "--size", "16x12"}, "--cut"},
        {{"preview", gspc, "-o", dir + "/p.png", "--size", "16x12", "--view", "section"}, "--at"},
    };
    const std::vector<std::string> notNumbers = {"nan", "-inf", "1e400", "", "1,5", "99999999999999999999"};
    const std::vector<std::string> numbersAfterAll = {"0x10", " 7"};
    pwtest::RunOptions inDir;
    inDir.cwd = dir;
    for (const NumberOption& o : options) {
        for (const std::string& value : notNumbers) {
            std::vector<std::string> args = o.command;
            args.push_back(o.option);
            args.push_back(value);
            const pwtest::RunResult r = pwtest::RunProgram(pwtest::BinaryPath(), args, inDir);
            EXPECT_EQ(r.exitCode, 2) << args[0] << " " << o.option << " '" << value << "': " << r.err;
            EXPECT_FALSE(r.err.empty());
        }
        for (const std::string& value : numbersAfterAll) {
            std::vector<std::string> args = o.command;
            args.push_back(o.option);
            args.push_back(value);
            const pwtest::RunResult r = pwtest::RunProgram(pwtest::BinaryPath(), args, inDir);
            EXPECT_TRUE(r.exitCode >= 0 && r.exitCode <= 2)
                << args[0] << " " << o.option << " '" << value << "' ended with " << r.exitCode << ": " << r.err;
        }
    }
}
