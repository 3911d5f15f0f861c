#pragma once
// The host interfaces of src/host/ bound to Archicad: one adapter per
// interface, each method one call of the add-on API, the dialog library or
// the resource library (renamed calls through ArchicadApi.h).
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/AddOnRegistration.h"
#include "host/AlertDialog.h"
#include "host/DefaultCharset.h"
#include "host/Elements.h"
#include "host/LibParts.h"
#include "host/LibraryList.h"
#include "host/OpenFileDialog.h"
#include "host/ProcessWindow.h"
#include "host/ReportWindow.h"
#include "host/Stories.h"
#include "host/UndoableCommand.h"

// The kit after the C++ and system headers: its GSRoot defines macros over
// C library names (getcwd) that a later system header would trip over.
#include "ACAPinc.h"   // API_LibraryInfo, API_Element, GS::Array

namespace archicad {

class ArchicadRegistration final : public host::AddOnRegistration {
public:
    ArchicadRegistration();
    ~ArchicadRegistration() override;
    ArchicadRegistration(const ArchicadRegistration&) = delete;
    ArchicadRegistration& operator=(const ArchicadRegistration&) = delete;

    std::string GetIndString(int32_t resID, int32_t index) override;
    host::ErrCode RegisterMenu(int16_t menuStrResID, int16_t promptStrResID, int32_t menuPosCode,
                               int32_t menuFlags) override;
    host::ErrCode InstallMenuHandler(int16_t menuStrResID, host::MenuCommandProc handler) override;
    host::ErrCode RegisterModelessWindow(int32_t referenceID, host::PaletteControlCallBackProc callback,
                                         uint32_t controlFlags, const host::Guid& paletteGuid) override;
    host::ErrCode UnregisterModelessWindow(int32_t referenceID) override;

    // The portable handlers behind the C procedures the host calls; these
    // reach them through the registration that exists (none after FreeData).
    static ArchicadRegistration* Current();
    std::map<short, host::MenuCommandProc> menuHandlers;
    std::map<Int32, host::PaletteControlCallBackProc> paletteCallbacks;
};

class ArchicadOpenFileDialog final : public host::OpenFileDialog {
public:
    bool GetOpenFile(const std::string& title, const std::string& typeText, const std::string& extension,
                     std::filesystem::path& chosen) override;
};

class ArchicadAlertDialog final : public host::AlertDialog {
public:
    int16_t Alert(int16_t alertType, const std::string& title, const std::string& largeText,
                  const std::string& smallText, const std::string& button1, const std::string& button2,
                  const std::string& button3) override;
};

class ArchicadReportWindow final : public host::ReportWindow {
public:
    void WriteReport(const std::string& text, bool withAlert) override;
};

class ArchicadProcessWindow final : public host::ProcessWindow {
public:
    host::ErrCode Open(const std::string& title, int32_t phaseCount) override;
    host::ErrCode NextPhase(const std::string& title, int32_t maxValue) override;
    host::ErrCode SetValue(int32_t value) override;
    host::ErrCode IsCanceled(bool& canceled) override;
    host::ErrCode Close() override;
};

class ArchicadLibraryList final : public host::LibraryList {
public:
    host::ErrCode GetLibraries(std::vector<host::LibraryInfo>& libraries, int32_t* embeddedLibraryIndex) override;
    host::ErrCode SetLibraries(const std::vector<host::LibraryInfo>& libraries) override;
    host::ErrCode ReloadLibraries() override;

private:
    // The records of the last read, so that entries written back unchanged
    // reach the host exactly as it gave them.
    GS::Array<API_LibraryInfo> m_lastRead;
    std::vector<host::LibraryInfo> m_lastReadPortable;
};

class ArchicadLibParts final : public host::LibParts {
public:
    host::ErrCode GetNum(int32_t& count) override;
    host::ErrCode Get(host::LibPart& libPart) override;
    host::ErrCode GetParams(int32_t libInd, double& a, double& b, int32_t& addParNum,
                            host::AddParHandle& addPars) override;
    host::ErrCode DisposeAddParHdl(host::AddParHandle& addPars) override;
    host::ErrCode OpenParameters(int32_t libInd) override;
    host::ErrCode GetParameters(double& a, double& b, host::AddParHandle& params) override;
    host::ErrCode CloseParameters() override;
};

class ArchicadElements final : public host::Elements {
public:
    ArchicadElements();
    host::ErrCode GetDefaults(host::Element& element, host::ElementMemo& memo) override;
    host::ErrCode Create(host::Element& element, host::ElementMemo& memo) override;
    host::ErrCode GetElemList(int32_t typeID, std::vector<host::Guid>& guids) override;
    host::ErrCode Get(host::Element& element) override;
    host::ErrCode GetMemo(const host::Guid& guid, host::ElementMemo& memo, uint64_t mask) override;
    host::ErrCode ChangeMemo(const host::Guid& guid, uint64_t mask, const host::ElementMemo& memo) override;
    host::ErrCode Delete(const std::vector<host::Guid>& guids) override;
    host::ErrCode DisposeElemMemoHdls(host::ElementMemo& memo) override;

private:
    // The tool defaults of the last successful GetDefaults: Create starts from
    // them, so that every field the portable record does not carry (pens,
    // layer, attributes...) is the tool's.
    API_Element m_defaults;
    bool m_haveDefaults = false;
};

class ArchicadUndoableCommand final : public host::UndoableCommand {
public:
    host::ErrCode CallUndoableCommand(const std::string& undoText,
                                      const std::function<host::ErrCode()>& command) override;
};

class ArchicadStories final : public host::Stories {
public:
    host::ErrCode GetStorySettings(host::StoryInfo& info) override;
};

// The host string's default character code (GS::UniString's CC_Default).
class ArchicadDefaultCharset final : public host::DefaultCharset {
public:
    std::string ToUtf8(const std::string& text) const override;
    std::string FromUtf8(const std::string& utf8) const override;
};

}  // namespace archicad
