#pragma once
// Shared set-up of the placed-object command tests: a scratch folder that
// holds an E57 file and the point cloud's output folder beside it, a captured
// debug log, and a simulated host with the point cloud's library part loaded.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "host/sim/SimulatedHost.h"
#include "main/Log.h"
#include "palette/PointCloudEntry.h"
#include "support/E57Files.h"
#include "support/TestSupport.h"

namespace objtest {

namespace fs = std::filesystem;

using pwtest::ReadLines;
inline std::string ReadAll(const fs::path& path) { return pwtest::Slurp(path); }

// One E57 scan per entry of `scanSizes`, without colour or pose; point i of a
// scan lies at (i + 1, 2 (i + 1), -(i + 1)), so the bounds of any written
// subset are never all zero.
inline void WriteE57(const fs::path& file, const std::vector<size_t>& scanSizes)
{
    pwtest::WriteLineScans(file.string(), scanSizes, {1, 1}, {2, 2}, {-1, -1});
}

// The six header bounds of a point file as stored (min X, max X, ...).
inline std::vector<float> HeaderBounds(const std::string& bytes)
{
    std::vector<float> bounds(6, 0.0f);
    if (bytes.size() >= 32) {
        for (size_t i = 0; i < 6; ++i) {
            std::memcpy(&bounds[i], bytes.data() + 8 + 4 * i, 4);
        }
    }
    return bounds;
}

class ObjectsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string pattern = "/tmp/pw_objects_XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir_ = pattern;
        logPath_ = (dir_ / "debug.log").string();
        SetLogPath(logPath_.c_str());

        entry_.name = "Scan";
        entry_.e57Path = (dir_ / "Scan.e57").string();
        entry_.folder = (dir_ / "Scan").string();
        entry_.gspcFileName = "Scan_data.gspc";
        entry_.densityPercent = 10;
        entry_.libIdx = h_.LibParts().AddLibPart(u"Scan", PartParams(10, 100));
        fs::create_directory(entry_.folder);
    }

    void TearDown() override
    {
        SetLogPath(nullptr);
        std::error_code ec;
        fs::remove_all(dir_, ec);
        // Whatever a command did, it must leave no host handle behind and
        // must not have misused the host.
        EXPECT_EQ(h_.Handles().Outstanding(), 0u);
        EXPECT_TRUE(h_.Calls().Problems().empty()) << h_.Calls().Problems().front();
    }

    // The parameters the generated library part carries, in its order.
    static std::vector<host::AddPar> PartParams(double density, double reduced)
    {
        return {sim::LengthPar("A", 2.0),           sim::LengthPar("B", 3.0),
                sim::StringPar("sE57Path", u"/x.e57"), sim::IntPar("iDensityPercent", density),
                sim::IntPar("iTotalPoints", 1000),    sim::IntPar("iReducedPoints", reduced)};
    }

    // An instance of `libIdx` on story 0 with the part's parameters.
    host::Guid Place(int32_t libIdx, const std::vector<host::AddPar>& params)
    {
        return h_.Elements().AddObject(libIdx, 0, params);
    }

    double ParOf(const host::Guid& guid, const std::string& name)
    {
        const sim::SimObject* obj = h_.Elements().Find(guid);
        if (obj == nullptr) {
            ADD_FAILURE() << "no such element";
            return -1.0;
        }
        const host::AddPar* par = sim::FindPar(obj->params, name);
        if (par == nullptr) {
            ADD_FAILURE() << "no parameter " << name;
            return -1.0;
        }
        return par->real;
    }

    std::vector<std::string> LogLines() const { return ReadLines(logPath_); }
    fs::path GspcPath() const { return fs::path(entry_.folder) / entry_.gspcFileName; }
    fs::path GsmPath() const { return fs::path(entry_.folder) / (entry_.name + ".gsm"); }

    sim::SimulatedHost h_;
    fs::path dir_;
    std::string logPath_;
    PointCloudEntry entry_;
};

}  // namespace objtest
