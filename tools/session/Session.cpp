#include "tools/session/Session.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <unistd.h>

#include "e57/Writer.h"
#include "host/sim/SimulatedHost.h"
#include "host/sim/SimulatedPaletteView.h"
#include "import/WriteGsmViaXml.h"
#include "main/EntryPoints.h"
#include "main/Log.h"
#include "palette/PunktwolkenPalette.h"

namespace fs = std::filesystem;

namespace session {

namespace {

// --- small text helpers -------------------------------------------------------

std::string Trim(const std::string& s)
{
    const size_t b = s.find_first_not_of(" \t\r\n");
    if (b == std::string::npos) {
        return std::string();
    }
    const size_t e = s.find_last_not_of(" \t\r\n");
    return s.substr(b, e - b + 1);
}

std::vector<std::string> Words(const std::string& s)
{
    std::istringstream in(s);
    std::vector<std::string> words;
    for (std::string w; in >> w;) {
        words.push_back(w);
    }
    return words;
}

// The text after the first `n` words.
std::string RestAfterWords(const std::string& s, size_t n)
{
    size_t pos = 0;
    for (size_t i = 0; i < n; ++i) {
        pos = s.find_first_not_of(" \t", pos);
        if (pos == std::string::npos) {
            return std::string();
        }
        pos = s.find_first_of(" \t", pos);
        if (pos == std::string::npos) {
            return std::string();
        }
    }
    return Trim(s.substr(pos));
}

void ReplaceAll(std::string& s, const std::string& from, const std::string& to)
{
    if (from.empty()) {
        return;
    }
    for (size_t pos = s.find(from); pos != std::string::npos; pos = s.find(from, pos + to.size())) {
        s.replace(pos, from.size(), to);
    }
}

bool ParseInt(const std::string& text, long min, long max, long& value)
{
    if (text.empty()) {
        return false;
    }
    char* end = nullptr;
    const long v = std::strtol(text.c_str(), &end, 10);
    if (end == nullptr || *end != '\0' || v < min || v > max) {
        return false;
    }
    value = v;
    return true;
}

// The text with every byte that is not part of valid UTF-8 shown as \xNN.
std::string Printable(const std::string& text)
{
    std::string out;
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const size_t n = text.size();
    for (size_t i = 0; i < n;) {
        const unsigned char c = p[i];
        size_t len = c < 0x80 ? 1 : (c & 0xE0) == 0xC0 ? 2 : (c & 0xF0) == 0xE0 ? 3 : (c & 0xF8) == 0xF0 ? 4 : 0;
        bool valid = len != 0 && i + len <= n && !(len == 2 && c < 0xC2);
        for (size_t k = 1; valid && k < len; ++k) {
            valid = (p[i + k] & 0xC0) == 0x80;
        }
        if (valid) {
            out.append(text, i, len);
            i += len;
        } else {
            char esc[8];
            std::snprintf(esc, sizeof esc, "\\x%02X", c);
            out += esc;
            ++i;
        }
    }
    return out;
}

std::string FormatNumber(double v)
{
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.10g", v);
    return buf;
}

// --- the palette's items as the transcript and the script name them ----------

struct ItemName {
    PaletteItem id;
    const char* name;       // in the transcript and in `click` / `set`
    const char* member;     // in the click trace of the debug log
};

constexpr ItemName kItems[] = {
    {PaletteItem::Label1, "label1", "label1"},
    {PaletteItem::ImportButton, "import", "importButton"},
    {PaletteItem::ImportDensityEdit, "import-density", "importDensityEdit"},
    {PaletteItem::Label4, "label4", "label4"},
    {PaletteItem::DeleteButton, "delete", "deleteButton"},
    {PaletteItem::CloudList, "list", "cloudList"},
    {PaletteItem::ReimportButton, "reimport", "reimportButton"},
    {PaletteItem::EntryDensityEdit, "entry-density", "entryDensityEdit"},
    {PaletteItem::Label9, "label9", "label9"},
};

std::optional<PaletteItem> ItemByName(const std::string& name)
{
    for (const ItemName& item : kItems) {
        if (name == item.name) {
            return item.id;
        }
    }
    return std::nullopt;
}

// --- a small synthetic scan ---------------------------------------------------

void WriteSyntheticE57(const fs::path& path, size_t points, size_t scans)
{
    e57::Writer writer(path.string());
    for (size_t s = 0; s < scans; ++s) {
        std::vector<double> x(points), y(points), z(points);
        for (size_t i = 0; i < points; ++i) {
            const double t = static_cast<double>(i) / static_cast<double>(std::max<size_t>(1, points));
            x[i] = 2.0 * std::cos(12.0 * t) + static_cast<double>(s);
            y[i] = 2.0 * std::sin(12.0 * t);
            z[i] = 3.0 * t;
        }
        e57::ScanHeader header;
        header.guid = "{scan-" + std::to_string(s) + "}";
        header.prototype = e57::CartesianFields(e57::FieldEncoding::Double);
        writer.BeginScan(header);
        if (points > 0) {
            writer.WriteColumns(points, {{x.data(), nullptr}, {y.data(), nullptr}, {z.data(), nullptr}});
        }
        writer.EndScan();
    }
    writer.Close();
}

// --- the runner ---------------------------------------------------------------

class Runner {
public:
    Runner(std::ostream& out, const Options& options);
    ~Runner();
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    int Run(std::istream& script);

private:
    bool Execute(const std::string& line);
    void Start();
    void Finish();
    void Error(const std::string& message) { out_ << "  error: " << message << "\n"; }

    // What changed since the last action; `everything` prints all sections.
    void PrintChanges(bool everything);
    void PrintSection(const std::string& text, std::string& last, bool everything);
    std::string PaletteText();
    std::string LibrariesText();
    std::string ObjectsText();
    void PrintNewLogLines();

    std::string Expand(std::string s) const;      // $TMP -> work folder
    std::string Normalise(std::string s) const;   // work folder -> $TMP, item addresses -> names

    std::ostream& out_;
    Options options_;
    sim::SimulatedHost host_;
    fs::path work_;
    std::string logPath_;
    std::string converter_;
    bool ok_ = true;

    std::streamoff logOffset_ = 0;
    size_t reportSeen_ = 0, alertSeen_ = 0, fileRequestsSeen_ = 0, undoStepsSeen_ = 0;
    size_t processCallsSeen_ = 0;
    std::deque<std::optional<std::string>> fileAnswers_;   // what the script queued, for the transcript
    std::string lastPalette_, lastLibraries_, lastObjects_;
};

Runner::Runner(std::ostream& out, const Options& options) : out_(out), options_(options)
{
    std::string pattern = (fs::temp_directory_path() / "pw-session-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("cannot create a temporary folder");
    }
    work_ = fs::canonical(pattern);
    logPath_ = (work_ / "pcd_debug.log").string();
    SetLogPath(logPath_.c_str());
    converter_ = options.converter.string();
    LP_XMLCONVERTER = converter_.c_str();

    if (!options.resourceFile.empty()) {
        for (const auto& [key, text] : ReadGrcStrings(options.resourceFile)) {
            host_.Registration().SetString(key.first, key.second, text);
        }
    }
    host_.BindAsCurrent();
    sim::SimulatedPaletteView::InstallFactory();
}

Runner::~Runner()
{
    SetLogPath(nullptr);
    host::SetCurrentHost(nullptr);
    if (!options_.keepWorkDir) {
        std::error_code ec;
        fs::remove_all(work_, ec);
    }
}

std::string Runner::Expand(std::string s) const
{
    ReplaceAll(s, "$TMP", work_.string());
    return s;
}

std::string Runner::Normalise(std::string s) const
{
    ReplaceAll(s, work_.string(), "$TMP");
    if (PunktwolkenPalette* palette = PunktwolkenPalette::Existing()) {
        for (const ItemName& item : kItems) {
            char address[32];
            std::snprintf(address, sizeof address, "%p", static_cast<const void*>(&palette->Item(item.id)));
            ReplaceAll(s, address, std::string("&") + item.member);
        }
    }
    return s;
}

int Runner::Run(std::istream& script)
{
    Start();
    int lineNumber = 0;
    for (std::string raw; std::getline(script, raw);) {
        ++lineNumber;
        const std::string line = Trim(raw);
        if (line.empty()) {
            continue;
        }
        if (line[0] == '#') {
            out_ << line << "\n";
            continue;
        }
        out_ << "> " << line << "\n";
        bool done = false;
        try {
            done = Execute(line);
        } catch (const std::exception& e) {
            Error(std::string("exception: ") + e.what());
        }
        if (!done) {
            out_ << "  (line " << lineNumber << " not carried out)\n";
            ok_ = false;
        }
        PrintChanges(false);
    }
    Finish();
    return ok_ ? 0 : 1;
}

void Runner::Start()
{
    out_ << "> start\n";
    frame::EnvirParams envir;
    const int32_t type = frame::CheckEnvironment(envir);
    out_ << "  CheckEnvironment -> " << type << ": \"" << envir.addOnName << "\", \"" << envir.addOnDescription
         << "\"\n";
    out_ << "  RegisterInterface -> " << frame::RegisterInterface() << "\n";
    for (const sim::MenuRegistration& menu : host_.Registration().Menus()) {
        out_ << "  menu registered: " << menu.menuStrResID << " prompt " << menu.promptStrResID << " position "
             << menu.menuPosCode << " flags " << menu.menuFlags << "\n";
    }
    out_ << "  Initialize -> " << frame::Initialize() << "\n";
    for (const auto& [id, window] : host_.Registration().Windows()) {
        out_ << "  palette registered: reference " << id << " flags " << window.controlFlags << "\n";
    }
    PrintChanges(false);
}

void Runner::Finish()
{
    out_ << "> end\n";
    out_ << "  FreeData -> " << frame::FreeData() << "\n";
    out_ << "  registered palettes: " << host_.Registration().Windows().size() << "\n";
    PrintChanges(false);
    const std::vector<std::string>& problems = host_.Calls().Problems();
    for (const std::string& p : problems) {
        out_ << "  host noticed: " << Normalise(p) << "\n";
    }
    if (host_.Handles().Outstanding() != 0) {
        out_ << "  host handles not released: " << host_.Handles().Outstanding() << "\n";
    }
}

bool Runner::Execute(const std::string& line)
{
    const std::vector<std::string> w = Words(line);
    const std::string& cmd = w[0];
    PunktwolkenPalette* palette = PunktwolkenPalette::Existing();
    auto view = [&]() -> sim::SimulatedPaletteView* {
        return palette != nullptr ? &sim::SimulatedPaletteView::Of(*palette) : nullptr;
    };
    auto needPalette = [&]() {
        if (palette == nullptr) {
            Error("the palette has not been opened yet");
            return false;
        }
        return true;
    };
    long a = 0, b = 0;

    if (cmd == "menu" && w.size() == 3 && ParseInt(w[1], -32768, 32767, a) && ParseInt(w[2], -32768, 32767, b)) {
        const auto resID = static_cast<int16_t>(a);
        const auto itemIndex = static_cast<int16_t>(b);
        if (host_.Registration().MenuHandlers().count(resID) != 0) {
            host_.Registration().InvokeMenu(resID, itemIndex);
        } else {
            // The add-on installed no handler for this menu; call its handler as if the host did.
            out_ << "  (no handler installed for menu " << resID << "; calling the add-on's handler directly)\n";
            out_ << "  handler -> " << frame::MenuCommandHandler(host::MenuParams{resID, itemIndex}) << "\n";
        }
        return true;
    }
    if (cmd == "palette-message" && w.size() == 2 && ParseInt(w[1], -2147483647L - 1, 2147483647L, a)) {
        bool visible = false;
        const intptr_t param = a == 7 ? reinterpret_cast<intptr_t>(&visible) : 0;
        const host::ErrCode err = host_.Registration().SendPaletteMessage(frame::kPaletteRefId, static_cast<int32_t>(a), param);
        out_ << "  callback -> " << err << "\n";
        if (a == 7) {
            out_ << "  answer: " << (visible ? "visible" : "not visible") << "\n";
        }
        return true;
    }
    if (cmd == "set" && w.size() == 3) {
        const std::optional<PaletteItem> item = ItemByName(w[1]);
        if (!item || (*item != PaletteItem::ImportDensityEdit && *item != PaletteItem::EntryDensityEdit) ||
            !ParseInt(w[2], -2147483647L - 1, 2147483647L, a)) {
            Error("use: set import-density|entry-density NUMBER");
            return false;
        }
        if (!needPalette()) {
            return false;
        }
        if (!view()->UserTypeValue(*item, static_cast<int32_t>(a))) {
            out_ << "  (ignored: " << w[1] << " does not take input now)\n";
        }
        return true;
    }
    if (cmd == "click" && w.size() == 2) {
        const std::optional<PaletteItem> item = ItemByName(w[1]);
        if (!item) {
            Error("use: click import|reimport|delete");
            return false;
        }
        if (!needPalette()) {
            return false;
        }
        if (!view()->UserClick(*item)) {
            out_ << "  (ignored: " << w[1] << " does not take clicks now)\n";
        }
        return true;
    }
    if (cmd == "select" && w.size() == 2 && ParseInt(w[1], 0, 32767, a)) {
        if (!needPalette()) {
            return false;
        }
        if (!view()->UserSelectRow(static_cast<int16_t>(a))) {
            out_ << "  (ignored: row " << a << " cannot be selected now)\n";
        }
        return true;
    }
    if (cmd == "resize" && w.size() == 3 && ParseInt(w[1], -32768, 32767, a) && ParseInt(w[2], -32768, 32767, b)) {
        if (!needPalette()) {
            return false;
        }
        if (!view()->UserResize(static_cast<int16_t>(a), static_cast<int16_t>(b))) {
            out_ << "  (ignored: the palette is hidden)\n";
        }
        return true;
    }
    if (cmd == "close" && w.size() == 1) {
        if (!needPalette()) {
            return false;
        }
        if (!view()->UserCloseBox()) {
            out_ << "  (ignored: the palette is hidden)\n";
        }
        return true;
    }
    if (cmd == "choose-file" && w.size() >= 2) {
        const std::string rest = RestAfterWords(line, 1);
        if (rest == "cancel") {
            host_.OpenFileDialog().QueueCancel();
            fileAnswers_.emplace_back(std::nullopt);
        } else {
            host_.OpenFileDialog().QueueFile(Expand(rest));
            fileAnswers_.emplace_back(rest);
        }
        return true;
    }
    if (cmd == "answer-alert" && w.size() == 2 && ParseInt(w[1], 0, 3, a)) {
        host_.AlertDialog().QueueAnswer(static_cast<int16_t>(a));
        return true;
    }
    if (cmd == "cancel-progress-at" && w.size() == 2 && ParseInt(w[1], 0, 1000000000L, a)) {
        // Counted from now: the a-th question "cancelled?" of the process window and later ones say yes.
        host_.ProcessWindow().CancelFromCall(a == 0 ? 0 : host_.ProcessWindow().CancelQueries() + static_cast<int>(a));
        return true;
    }
    if (cmd == "undo" && w.size() == 1) {
        const std::vector<std::string> steps = host_.Undo().StepTexts();
        if (host_.Undo().Undo()) {
            out_ << "  undone: " << steps.back() << "\n";
            undoStepsSeen_ = steps.size() - 1;
        } else {
            out_ << "  nothing to undo\n";
        }
        return true;
    }
    if (cmd == "show" && w.size() == 1) {
        PrintChanges(true);
        return true;
    }
    if (cmd == "make-e57" && (w.size() == 3 || w.size() == 4) && ParseInt(w[2], 0, 100000000L, a) &&
        (w.size() == 3 || ParseInt(w[3], 0, 1000, b))) {
        const fs::path path = Expand(w[1]);
        WriteSyntheticE57(path, static_cast<size_t>(a), w.size() == 4 ? static_cast<size_t>(b) : 1);
        out_ << "  written: " << Normalise(path.string()) << "\n";
        return true;
    }
    if (cmd == "library-part" && w.size() >= 4 && ParseInt(w[2], -1000000, 1000000, a)) {
        const std::string e57Path = Expand(RestAfterWords(line, 3));
        host_.LibParts().AddLibPart(sim::Utf8ToUtf16(w[1]),
                                    {sim::StringPar("sE57Path", sim::Utf8ToUtf16(e57Path)),
                                     sim::IntPar("iDensityPercent", static_cast<double>(a))});
        return true;
    }
    if (cmd == "reload-libraries" && w.size() == 1) {
        out_ << "  reload -> " << host_.LibraryList().ReloadLibraries() << "\n";
        return true;
    }
    if (cmd == "reload-on-set" && w.size() == 2 && (w[1] == "on" || w[1] == "off")) {
        host_.LibraryList().SetReloadOnSet(w[1] == "on");
        return true;
    }
    if (cmd == "active-story" && w.size() == 2 && ParseInt(w[1], -32768, 32767, a)) {
        host_.Stories().SetActiveStory(static_cast<int16_t>(a));
        return true;
    }
    if (cmd == "remove" && w.size() >= 2) {
        std::error_code ec;
        const auto n = fs::remove_all(Expand(RestAfterWords(line, 1)), ec);
        out_ << "  removed " << (ec ? 0 : n) << " file(s)\n";
        return true;
    }
    if (cmd == "files" && w.size() >= 2) {
        const fs::path root = Expand(RestAfterWords(line, 1));
        std::vector<std::string> names;
        std::error_code ec;
        for (fs::recursive_directory_iterator it(root, ec), end; !ec && it != end; it.increment(ec)) {
            if (it->path() == logPath_) {
                continue;
            }
            std::string name = fs::relative(it->path(), root).string();
            if (it->is_directory()) {
                name += "/";
            } else if (it->path().extension() == ".gspc") {
                // Point files are the same on every run; library parts hold the session's paths.
                name += "  (" + std::to_string(it->file_size()) + " bytes)";
            }
            names.push_back(name);
        }
        std::sort(names.begin(), names.end());
        out_ << "  files in " << Normalise(root.string()) << ": " << (names.empty() ? std::string("none") : std::to_string(names.size())) << "\n";
        for (const std::string& n : names) {
            out_ << "    " << Normalise(n) << "\n";
        }
        return true;
    }
    Error("unknown or malformed command: " + line);
    return false;
}

// --- what the person sees -------------------------------------------------------

std::string Runner::PaletteText()
{
    PunktwolkenPalette* palette = PunktwolkenPalette::Existing();
    if (palette == nullptr) {
        return "palette: not opened yet\n";
    }
    const sim::SimulatedPaletteView& v = sim::SimulatedPaletteView::Of(*palette);
    std::ostringstream s;
    s << "palette: " << (v.IsVisible() ? "shown" : "hidden") << ", " << v.ClientWidth() << " x " << v.ClientHeight()
      << "\n";
    const std::vector<std::string> rows = v.RowTexts();
    if (rows.empty()) {
        s << "  list: empty\n";
    }
    for (size_t i = 0; i < rows.size(); ++i) {
        s << "  " << (v.SelectedRow() == static_cast<int16_t>(i + 1) ? "*" : " ") << " " << (i + 1) << "  "
          << Printable(rows[i]) << "\n";
    }
    s << "  import density " << v.GetEditValue(PaletteItem::ImportDensityEdit) << ", entry density "
      << v.GetEditValue(PaletteItem::EntryDensityEdit) << "\n";
    std::string disabled;
    for (const ItemName& item : kItems) {
        if (!v.State(item.id).enabled) {
            disabled += std::string(" ") + item.name;
        }
    }
    s << "  disabled:" << (disabled.empty() ? " none" : disabled) << "\n";
    const sim::Rect& del = v.State(PaletteItem::DeleteButton).rect;
    const sim::Rect& list = v.State(PaletteItem::CloudList).rect;
    const sim::Rect& re = v.State(PaletteItem::ReimportButton).rect;
    const auto tab = v.TabFieldBounds(1);
    s << "  layout: delete at " << del.x << "," << del.y << "; list " << list.width << " x " << list.height
      << ", column " << tab.first << ".." << tab.second << "; footer at y " << re.y << "\n";
    return s.str();
}

std::string Runner::LibrariesText()
{
    std::ostringstream s;
    const auto& libraries = host_.LibraryList().Libraries();
    s << "libraries: " << (libraries.empty() ? std::string("none") : std::to_string(libraries.size())) << "\n";
    for (const host::LibraryInfo& lib : libraries) {
        s << "  " << (lib.libraryType == 3 ? "built-in " : lib.libraryType == 1 ? "local " : "other ")
          << Normalise(lib.location.string()) << "\n";
    }
    const auto& parts = host_.LibParts().Parts();
    s << "library parts: " << (parts.empty() ? std::string("none") : std::to_string(parts.size())) << "\n";
    for (size_t i = 0; i < parts.size(); ++i) {
        s << "  " << (i + 1) << " " << sim::Utf16ToUtf8(parts[i].name);
        if (const host::AddPar* d = sim::FindPar(parts[i].params, "iDensityPercent")) {
            s << " (" << FormatNumber(d->real) << "%)";
        }
        s << "\n";
    }
    return s.str();
}

std::string Runner::ObjectsText()
{
    std::ostringstream s;
    const auto& objects = host_.Elements().Objects();
    s << "objects: " << (objects.empty() ? std::string("none") : std::to_string(objects.size())) << "\n";
    for (const sim::SimObject& o : objects) {
        const sim::SimLibPart* part = host_.LibParts().Part(o.element.libInd);
        s << "  " << sim::GuidToString(o.element.guid) << " story " << o.element.floorInd << ", part "
          << o.element.libInd << " " << (part != nullptr ? sim::Utf16ToUtf8(part->name) : std::string("(none)"))
          << ", at " << FormatNumber(o.element.posX) << "," << FormatNumber(o.element.posY) << " level "
          << FormatNumber(o.element.level) << "\n";
        std::string params;
        for (const host::AddPar& p : o.params) {
            const std::string name = sim::ParName(p);
            if (name == "sE57Path" || name == "iDensityPercent" || name == "iTotalPoints" ||
                name == "iReducedPoints") {
                params += " " + name + "=" + sim::ParValueText(p);
            }
        }
        if (!params.empty()) {
            s << "   " << Normalise(params) << "\n";
        }
    }
    const std::vector<std::string> steps = host_.Undo().StepTexts();
    s << "undo steps: " << (steps.empty() ? std::string("none") : std::to_string(steps.size())) << "\n";
    for (const std::string& step : steps) {
        s << "  " << step << "\n";
    }
    return s.str();
}

void Runner::PrintSection(const std::string& text, std::string& last, bool everything)
{
    if (everything || text != last) {
        std::istringstream in(text);
        for (std::string l; std::getline(in, l);) {
            out_ << "  " << l << "\n";
        }
        last = text;
    }
}

void Runner::PrintNewLogLines()
{
    std::ifstream in(logPath_, std::ios::binary);
    if (!in) {
        return;
    }
    in.seekg(logOffset_);
    for (std::string l; std::getline(in, l);) {
        out_ << "  log: " << Printable(Normalise(l)) << "\n";
    }
    in.clear();
    in.seekg(0, std::ios::end);
    logOffset_ = in.tellg();
}

void Runner::PrintChanges(bool everything)
{
    // Dialogs the add-on showed.
    const auto& requests = host_.OpenFileDialog().Requests();
    for (; fileRequestsSeen_ < requests.size(); ++fileRequestsSeen_) {
        const sim::OpenFileRequest& r = requests[fileRequestsSeen_];
        std::string answer = "cancel";
        if (!fileAnswers_.empty()) {
            answer = fileAnswers_.front() ? *fileAnswers_.front() : "cancel";
            fileAnswers_.pop_front();
        }
        out_ << "  file dialog \"" << r.title << "\" (" << r.typeText << ", *." << r.extension << "): " << answer
             << "\n";
    }
    const auto& alerts = host_.AlertDialog().Shown();
    for (; alertSeen_ < alerts.size(); ++alertSeen_) {
        const sim::AlertShown& al = alerts[alertSeen_];
        out_ << "  alert \"" << al.title << "\": " << al.largeText << " / " << al.smallText << " [" << al.button1
             << "|" << al.button2 << (al.button3.empty() ? "" : "|" + al.button3) << "] -> " << al.answer << "\n";
    }
    // The process window, in short.
    const auto& calls = host_.ProcessWindow().Calls();
    std::string progress;
    for (; processCallsSeen_ < calls.size(); ++processCallsSeen_) {
        const std::string& c = calls[processCallsSeen_];
        if (c.rfind("IPWD", 0) == 0 || c.rfind("SPRP", 0) == 0 || c.rfind("CPWD", 0) == 0) {
            progress += (progress.empty() ? "" : ", ") + c;
        }
    }
    if (!progress.empty()) {
        out_ << "  progress window: " << progress << "\n";
    }
    const auto& lines = host_.ReportWindow().Lines();
    for (; reportSeen_ < lines.size(); ++reportSeen_) {
        out_ << "  report" << (lines[reportSeen_].withAlert ? " (alert)" : "") << ": "
             << Normalise(lines[reportSeen_].text) << "\n";
    }
    PrintNewLogLines();
    PrintSection(PaletteText(), lastPalette_, everything);
    PrintSection(LibrariesText(), lastLibraries_, everything);
    PrintSection(ObjectsText(), lastObjects_, everything);
}

}  // namespace

std::map<std::pair<int, int>, std::string> ReadGrcStrings(const fs::path& grcFile)
{
    std::ifstream in(grcFile, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read " + grcFile.string());
    }
    std::map<std::pair<int, int>, std::string> strings;
    int resID = 0;
    int index = 0;
    bool inList = false;
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("\xEF\xBB\xBF", 0) == 0) {
            line.erase(0, 3);
        }
        const std::string t = Trim(line);
        if (!inList) {
            if (t.rfind("'STR#'", 0) == 0) {
                resID = std::atoi(t.c_str() + 6);
                index = 0;
                inList = true;
            }
            continue;
        }
        if (t.rfind("}", 0) == 0) {
            inList = false;
            continue;
        }
        const size_t open = t.find('"', t.rfind("*/") == std::string::npos ? 0 : t.rfind("*/"));
        const size_t close = t.rfind('"');
        if (open == std::string::npos || close == open) {
            continue;
        }
        strings[{resID, ++index}] = t.substr(open + 1, close - open - 1);
    }
    return strings;
}

int RunSession(std::istream& script, std::ostream& out, const Options& options)
{
    Runner runner(out, options);
    return runner.Run(script);
}

}  // namespace session
