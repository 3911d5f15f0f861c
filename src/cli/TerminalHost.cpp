#include "cli/TerminalHost.h"

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace {

class NoRegistration : public host::AddOnRegistration {
public:
    std::string GetIndString(int32_t, int32_t) override { return ""; }
    host::ErrCode RegisterMenu(int16_t, int16_t, int32_t, int32_t) override { return host::NoError; }
    host::ErrCode InstallMenuHandler(int16_t, host::MenuCommandProc) override { return host::NoError; }
    host::ErrCode RegisterModelessWindow(int32_t, host::PaletteControlCallBackProc, uint32_t,
                                         const host::Guid&) override
    {
        return host::NoError;
    }
    host::ErrCode UnregisterModelessWindow(int32_t) override { return host::NoError; }
};

// Answers every open-file request with the file from the command line.
class GivenFile : public host::OpenFileDialog {
public:
    explicit GivenFile(std::filesystem::path file) : file_(std::move(file)) {}
    bool GetOpenFile(const std::string&, const std::string&, const std::string&,
                     std::filesystem::path& chosen) override
    {
        chosen = file_;
        return true;
    }

private:
    std::filesystem::path file_;
};

class StderrAlert : public host::AlertDialog {
public:
    int16_t Alert(int16_t, const std::string& title, const std::string& largeText, const std::string& smallText,
                  const std::string&, const std::string&, const std::string&) override
    {
        std::fprintf(stderr, "%s: %s %s\n", title.c_str(), largeText.c_str(), smallText.c_str());
        return 1;
    }
};

class TerminalReport : public host::ReportWindow {
public:
    void WriteReport(const std::string& text, bool withAlert) override
    {
        if (withAlert || printReports) {
            std::FILE* stream = withAlert ? stderr : stdout;
            std::fprintf(stream, "%s\n", text.c_str());
            std::fflush(stream);
        }
        if (withAlert) {
            ++alerts;
            lastAlert = text;
        }
    }
    bool printReports = true;
    int alerts = 0;
    std::string lastAlert;
};

// A project without libraries: the list is empty and setting it changes nothing.
class NoLibraries : public host::LibraryList {
public:
    host::ErrCode GetLibraries(std::vector<host::LibraryInfo>& libraries, int32_t*) override
    {
        libraries.clear();
        return host::NoError;
    }
    host::ErrCode SetLibraries(const std::vector<host::LibraryInfo>&) override { return host::NoError; }
    host::ErrCode ReloadLibraries() override { return host::NoError; }
};

class NoLibParts : public host::LibParts {
public:
    host::ErrCode GetNum(int32_t& count) override
    {
        count = 0;
        return host::NoError;
    }
    host::ErrCode Get(host::LibPart&) override { return kBadIndex; }
    host::ErrCode GetParams(int32_t, double&, double&, int32_t&, host::AddParHandle&) override { return kBadIndex; }
    host::ErrCode DisposeAddParHdl(host::AddParHandle& addPars) override
    {
        addPars.reset();
        return host::NoError;
    }
    host::ErrCode OpenParameters(int32_t) override { return kBadIndex; }
    host::ErrCode GetParameters(double&, double&, host::AddParHandle&) override { return kBadIndex; }
    host::ErrCode CloseParameters() override { return host::NoError; }

private:
    static constexpr host::ErrCode kBadIndex = -1;
};

class NoElements : public host::Elements {
public:
    host::ErrCode GetDefaults(host::Element&, host::ElementMemo&) override { return kNoModel; }
    host::ErrCode Create(host::Element&, host::ElementMemo&) override { return kNoModel; }
    host::ErrCode GetElemList(int32_t, std::vector<host::Guid>& guids) override
    {
        guids.clear();
        return host::NoError;
    }
    host::ErrCode Get(host::Element&) override { return kNoModel; }
    host::ErrCode GetMemo(const host::Guid&, host::ElementMemo&, uint64_t) override { return kNoModel; }
    host::ErrCode ChangeMemo(const host::Guid&, uint64_t, const host::ElementMemo&) override { return kNoModel; }
    host::ErrCode Delete(const std::vector<host::Guid>&) override { return kNoModel; }
    host::ErrCode DisposeElemMemoHdls(host::ElementMemo& memo) override
    {
        memo.params.reset();
        return host::NoError;
    }

private:
    static constexpr host::ErrCode kNoModel = -1;
};

class DirectCommand : public host::UndoableCommand {
public:
    host::ErrCode CallUndoableCommand(const std::string&, const std::function<host::ErrCode()>& command) override
    {
        return command();
    }
};

class OneStory : public host::Stories {
public:
    host::ErrCode GetStorySettings(host::StoryInfo& info) override
    {
        info = host::StoryInfo{};
        return host::NoError;
    }
};

}  // namespace

struct TerminalHost::Parts {
    Parts(std::filesystem::path file, bool drawProgress) : dialog(std::move(file)), progress(drawProgress) {}

    NoRegistration registration;
    GivenFile dialog;
    StderrAlert alert;
    TerminalReport report;
    TerminalProgress progress;
    NoLibraries libraries;
    NoLibParts libParts;
    NoElements elements;
    DirectCommand undo;
    OneStory stories;
};

TerminalHost::TerminalHost(std::filesystem::path chosenFile, bool drawProgress, bool printReports)
    : parts_(std::make_unique<Parts>(std::move(chosenFile), drawProgress)),
      host_(std::make_unique<host::Host>(host::Host{parts_->registration, parts_->dialog, parts_->alert,
                                                    parts_->report, parts_->progress, parts_->libraries,
                                                    parts_->libParts, parts_->elements, parts_->undo,
                                                    parts_->stories}))
{
    parts_->report.printReports = printReports;
}

TerminalHost::~TerminalHost() = default;

int TerminalHost::AlertCount() const
{
    return parts_->report.alerts;
}

const std::string& TerminalHost::LastAlert() const
{
    return parts_->report.lastAlert;
}
