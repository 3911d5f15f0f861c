#pragma once
// The import command against the simulated host for the matrix: one call of
// DoImport on a given file, with the report line, the debug log and the
// source file's fingerprint before and after.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "MatrixSupport.h"
#include "host/sim/SimulatedHost.h"
#include "import/DoImport.h"
#include "import/WriteGsmViaXml.h"
#include "main/Log.h"

namespace matrix {

struct ImportOutcome {
    std::string result;          // DoImport's result: the base name or ""
    std::vector<sim::ReportLine> reports;
    std::vector<std::string> log;
    bool windowClosed = true;
    bool sourceUnchanged = true;
};

class ImportRunner {
public:
    explicit ImportRunner(const fs::path& dir) : dir_(dir)
    {
        logPath_ = (dir_ / "debug.log").string();
        saved_ = LP_XMLCONVERTER;
        UseConverter("#!/bin/sh\n: > \"$3\"\n");
    }
    ~ImportRunner()
    {
        LP_XMLCONVERTER = saved_;
        SetLogPath(nullptr);
    }
    ImportRunner(const ImportRunner&) = delete;
    ImportRunner& operator=(const ImportRunner&) = delete;

    // Installs `script` as the library part converter.
    void UseConverter(const std::string& script)
    {
        converter_ = (dir_ / "converter.sh").string();
        std::ofstream(converter_, std::ios::trunc) << script;
        chmod(converter_.c_str(), 0755);
        LP_XMLCONVERTER = converter_.c_str();
    }
    // Points the converter path somewhere else (missing, not executable).
    void UseConverterPath(const std::string& path)
    {
        converter_ = path;
        LP_XMLCONVERTER = converter_.c_str();
    }

    ImportOutcome Import(const fs::path& e57, int density = 100)
    {
        std::remove(logPath_.c_str());
        SetLogPath(logPath_.c_str());
        const std::string before = Sha256(e57);
        sim::SimulatedHost h;
        h.OpenFileDialog().QueueFile(e57);
        ImportOutcome o;
        o.result = DoImport(h.Bundle(), density);
        SetLogPath(nullptr);
        o.reports = h.ReportWindow().Lines();
        o.windowClosed = !h.ProcessWindow().IsOpen();
        o.sourceUnchanged = Sha256(e57) == before;
        std::ifstream in(logPath_);
        for (std::string line; std::getline(in, line);)
            o.log.push_back(line);
        return o;
    }

private:
    fs::path dir_;
    std::string logPath_;
    std::string converter_;
    const char* saved_;
};

}  // namespace matrix
