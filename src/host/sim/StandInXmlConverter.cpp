#include "host/sim/StandInXmlConverter.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <set>

#include <pugixml.hpp>

#include "host/sim/SimText.h"

namespace sim {

namespace {

// Sections the converter must find, in this order.
const char* const kRequiredSections[] = {"Ancestry", "CalledMacros", "Script_3D", "Script_2D",
                                         "Script_1D", "Script_UI",   "Script_VL", "ParamSection"};
// Sections of the format that may stand between them; their content is not looked at.
const char* const kOptionalSections[] = {"Script_PR", "Script_FWM", "Script_BWM", "Comment",  "Keywords",
                                         "Copyright", "MigrationTable", "Picture", "GDLPict", "Author",
                                         "License"};

struct FlagName {
    const char* name;
    uint16_t bit;
};
const FlagName kFlags[] = {{"ParFlg_Child", kParFlgChild},     {"ParFlg_BoldName", kParFlgBoldName},
                           {"ParFlg_Unique", kParFlgUnique},   {"ParFlg_SHidden", kParFlgSHidden},
                           {"ParFlg_Open", kParFlgOpen},       {"ParFlg_Disabled", kParFlgDisabled},
                           {"ParFlg_Hidden", kParFlgHidden}};

class Checker {
public:
    explicit Checker(std::vector<std::string>& errors) : errors_(errors) {}

    void Error(const std::string& message) { errors_.push_back(message); }
    bool Ok() const { return errors_.empty(); }

    void CheckSymbol(const pugi::xml_node& symbol, StandInLibPart& part);

private:
    void CheckBool(const pugi::xml_node& node, const char* attr);
    void CheckInteger(const pugi::xml_node& node, const char* attr, bool unsigned32);
    void CheckSectionAttributes(const pugi::xml_node& section);
    void CheckNoText(const pugi::xml_node& node);
    void CheckAncestry(const pugi::xml_node& section);
    void CheckCalledMacros(const pugi::xml_node& section);
    std::string ScriptText(const pugi::xml_node& section);
    void CheckScriptStrings(const std::string& where, const std::string& script);
    void FindPointCloud(const std::string& script, StandInLibPart& part);
    void CheckParamSection(const pugi::xml_node& section, StandInLibPart& part);
    void CheckParameter(const pugi::xml_node& node, StandInLibPart& part, std::set<std::string>& names);

    std::vector<std::string>& errors_;
};

bool IsBlank(const char* text)
{
    for (const char* p = text; *p != '\0'; ++p) {
        if (!std::isspace(static_cast<unsigned char>(*p))) {
            return false;
        }
    }
    return true;
}

std::string Trim(const std::string& s)
{
    size_t b = 0;
    size_t e = s.size();
    while (b < e && std::isspace(static_cast<unsigned char>(s[b]))) {
        ++b;
    }
    while (e > b && std::isspace(static_cast<unsigned char>(s[e - 1]))) {
        --e;
    }
    return s.substr(b, e - b);
}

std::string Lower(std::string s)
{
    for (char& c : s) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return s;
}

bool ParseInteger(const std::string& text, long long& value)
{
    const std::string t = Trim(text);
    if (t.empty()) {
        return false;
    }
    errno = 0;
    char* end = nullptr;
    value = std::strtoll(t.c_str(), &end, 10);
    return errno == 0 && end == t.c_str() + t.size();
}

bool ParseReal(const std::string& text, double& value)
{
    const std::string t = Trim(text);
    if (t.empty()) {
        return false;
    }
    errno = 0;
    char* end = nullptr;
    value = std::strtod(t.c_str(), &end);
    return errno == 0 && end == t.c_str() + t.size() && std::isfinite(value);
}

bool IsGdlName(const std::string& name)
{
    if (name.empty() || !(std::isalpha(static_cast<unsigned char>(name[0])) || name[0] == '_' || name[0] == '~')) {
        return false;
    }
    for (char c : name) {
        if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '~')) {
            return false;
        }
    }
    return true;
}

bool HasElementChild(const pugi::xml_node& node)
{
    for (const auto& child : node.children()) {
        if (child.type() == pugi::node_element) {
            return true;
        }
    }
    return false;
}

// The one CDATA section of `node`; false when the content is anything else.
bool SingleCdata(const pugi::xml_node& node, std::string& text)
{
    int cdata = 0;
    for (const auto& child : node.children()) {
        if (child.type() == pugi::node_cdata) {
            ++cdata;
            text = child.value();
        } else if (child.type() == pugi::node_pcdata && IsBlank(child.value())) {
            continue;
        } else if (child.type() != pugi::node_comment) {
            return false;
        }
    }
    return cdata == 1;
}

void Checker::CheckBool(const pugi::xml_node& node, const char* attr)
{
    const pugi::xml_attribute a = node.attribute(attr);
    const std::string v = a.value();
    if (!a) {
        Error(std::string(node.name()) + ": attribute " + attr + " missing");
    } else if (v != "true" && v != "false") {
        Error(std::string(node.name()) + ": attribute " + attr + " is not true or false: " + v);
    }
}

void Checker::CheckInteger(const pugi::xml_node& node, const char* attr, bool unsigned32)
{
    const pugi::xml_attribute a = node.attribute(attr);
    long long v = 0;
    if (!a) {
        Error(std::string(node.name()) + ": attribute " + attr + " missing");
    } else if (!ParseInteger(a.value(), v) || (unsigned32 && (v < 0 || v > 0xFFFFFFFFLL))) {
        Error(std::string(node.name()) + ": attribute " + attr + " is not a valid number: " + a.value());
    }
}

void Checker::CheckSectionAttributes(const pugi::xml_node& section)
{
    CheckInteger(section, "SectVersion", false);
    CheckInteger(section, "SectionFlags", false);
    CheckInteger(section, "SubIdent", false);
}

void Checker::CheckNoText(const pugi::xml_node& node)
{
    for (const auto& child : node.children()) {
        if ((child.type() == pugi::node_pcdata && !IsBlank(child.value())) || child.type() == pugi::node_cdata) {
            Error(std::string(node.name()) + ": unexpected text");
            return;
        }
    }
}

void Checker::CheckAncestry(const pugi::xml_node& section)
{
    CheckBool(section, "Template");
    CheckNoText(section);
    for (const auto& child : section.children()) {
        if (child.type() != pugi::node_element) {
            continue;
        }
        if (std::strcmp(child.name(), "MainGUID") != 0) {
            Error(std::string("Ancestry: unexpected element ") + child.name());
        } else if (!IsGuidText(Trim(child.text().get()))) {
            Error(std::string("Ancestry: not a GUID: ") + child.text().get());
        }
    }
}

void Checker::CheckCalledMacros(const pugi::xml_node& section)
{
    CheckNoText(section);
    for (const auto& child : section.children()) {
        if (child.type() != pugi::node_element) {
            continue;
        }
        if (std::strcmp(child.name(), "Macro") != 0 || !child.child("MName") || !child.child("MainGUID")) {
            Error(std::string("CalledMacros: unexpected element ") + child.name());
        }
    }
}

std::string Checker::ScriptText(const pugi::xml_node& section)
{
    std::string text;
    bool any = false;
    for (const auto& child : section.children()) {
        if (child.type() == pugi::node_pcdata && IsBlank(child.value())) {
            continue;
        }
        any = true;
    }
    if (any && !SingleCdata(section, text)) {
        Error(std::string(section.name()) + ": the script is not one CDATA section");
    }
    return text;
}

// GDL strings ("...", '...', `...`) must end on the line they start; "!" outside a string starts a comment.
void Checker::CheckScriptStrings(const std::string& where, const std::string& script)
{
    int lineNo = 1;
    char open = 0;
    bool comment = false;
    for (char c : script) {
        if (c == '\n') {
            if (open != 0) {
                Error(where + " line " + std::to_string(lineNo) + ": unterminated string");
            }
            open = 0;
            comment = false;
            ++lineNo;
        } else if (comment) {
            continue;
        } else if (open != 0) {
            if (c == open) {
                open = 0;
            }
        } else if (c == '"' || c == '\'' || c == '`') {
            open = c;
        } else if (c == '!') {
            comment = true;
        }
    }
    if (open != 0) {
        Error(where + " line " + std::to_string(lineNo) + ": unterminated string");
    }
}

void Checker::FindPointCloud(const std::string& script, StandInLibPart& part)
{
    size_t start = 0;
    int lineNo = 0;
    while (start <= script.size()) {
        size_t end = script.find('\n', start);
        if (end == std::string::npos) {
            end = script.size();
        }
        ++lineNo;
        const std::string line = Trim(script.substr(start, end - start));
        start = end + 1;
        const std::string keyword = "pointcloud";
        if (Lower(line.substr(0, keyword.size())) != keyword ||
            (line.size() > keyword.size() && !std::isspace(static_cast<unsigned char>(line[keyword.size()])) &&
             line[keyword.size()] != '"' && line[keyword.size()] != '\'')) {
            continue;
        }
        const std::string where = "Script_3D line " + std::to_string(lineNo) + ": POINTCLOUD";
        const std::string rest = Trim(line.substr(keyword.size()));
        std::string file;
        const size_t close = rest.empty() ? std::string::npos : rest.find(rest[0], 1);
        if ((rest.empty() || (rest[0] != '"' && rest[0] != '\'')) || close == std::string::npos) {
            Error(where + " needs one quoted file name: " + rest);
            continue;
        }
        file = rest.substr(1, close - 1);
        const std::string tail = Trim(rest.substr(close + 1));
        if (!tail.empty() && tail[0] != '!') {
            Error(where + " has text after the file name: " + tail);
        } else if (file.empty()) {
            Error(where + " file name is empty");
        } else if (!part.pointCloudFile.empty()) {
            Error(where + " appears twice");
        } else {
            part.pointCloudFile = file;
        }
    }
}

void Checker::CheckParameter(const pugi::xml_node& node, StandInLibPart& part, std::set<std::string>& names)
{
    StandInParam p;
    p.typeID = StandInTypeFromName(node.name());
    const std::string type = node.name();
    if (p.typeID == 0) {
        Error("Parameters: unknown parameter type " + type);
        return;
    }
    p.name = node.attribute("Name").value();
    const std::string where = "parameter " + (p.name.empty() ? type : p.name);
    if (!node.attribute("Name")) {
        Error(type + ": attribute Name missing");
        return;
    }
    if (!IsGdlName(p.name) || p.name.size() > 31) {
        Error(where + ": not a valid parameter name");
    }
    if (!names.insert(Lower(p.name)).second) {
        Error(where + ": declared twice");
    }
    CheckNoText(node);

    // Children in the order Description, Fix, Flags, Value; each at most once.
    const char* const order[] = {"Description", "Fix", "Flags", "Value"};
    int last = -1;
    bool haveDescription = false;
    bool haveValue = false;
    for (const auto& child : node.children()) {
        if (child.type() != pugi::node_element) {
            continue;
        }
        int pos = -1;
        for (int i = 0; i < 4; ++i) {
            if (std::strcmp(child.name(), order[i]) == 0) {
                pos = i;
            }
        }
        if (pos < 0) {
            Error(where + ": unsupported element " + child.name());
            continue;
        }
        if (pos <= last) {
            Error(where + ": element " + child.name() + " out of order or repeated");
            continue;
        }
        last = pos;
        if (pos == 0) {
            haveDescription = true;
            std::string text;
            if (!SingleCdata(child, text) || !ParseGdlStringLiteral(text, p.description)) {
                Error(where + ": Description is not one quoted GDL string in CDATA");
            }
        } else if (pos == 1) {
            if (child.first_child()) {
                Error(where + ": Fix must be empty");
            }
            p.flags |= kParFlgFixed;
        } else if (pos == 2) {
            CheckNoText(child);
            for (const auto& flag : child.children()) {
                if (flag.type() != pugi::node_element) {
                    continue;
                }
                bool known = false;
                for (const auto& f : kFlags) {
                    if (std::strcmp(flag.name(), f.name) == 0) {
                        p.flags |= f.bit;
                        known = true;
                    }
                }
                if (!known) {
                    Error(where + ": unknown flag " + flag.name());
                }
            }
        } else {
            haveValue = true;
            if (!StandInTypeHasValue(p.typeID)) {
                Error(where + ": a " + type + " parameter has no Value");
            } else if (p.typeID == 12) {
                std::string text;
                if (!SingleCdata(child, text) || !ParseGdlStringLiteral(text, p.text)) {
                    Error(where + ": String value is not one quoted GDL string in CDATA");
                }
            } else {
                const std::string text = child.text().get();
                long long integer = 0;
                if (HasElementChild(child)) {
                    Error(where + ": Value holds elements");
                } else if (StandInTypeIsBoolean(p.typeID)) {
                    if (!ParseInteger(text, integer) || (integer != 0 && integer != 1)) {
                        Error(where + ": Boolean value is not 0 or 1: " + text);
                    }
                    p.number = static_cast<double>(integer);
                } else if (StandInTypeIsInteger(p.typeID)) {
                    if (!ParseInteger(text, integer)) {
                        Error(where + ": not an integer: " + text);
                    }
                    p.number = static_cast<double>(integer);
                } else if (!ParseReal(text, p.number)) {
                    Error(where + ": not a number: " + text);
                }
            }
        }
    }
    if (!haveDescription) {
        Error(where + ": Description missing");
    }
    if (!haveValue && StandInTypeHasValue(p.typeID)) {
        Error(where + ": Value missing");
    }
    part.params.push_back(p);
}

void Checker::CheckParamSection(const pugi::xml_node& section, StandInLibPart& part)
{
    CheckNoText(section);
    bool header = false;
    bool parameters = false;
    for (const auto& child : section.children()) {
        if (child.type() != pugi::node_element) {
            continue;
        }
        const std::string name = child.name();
        if (name == "ParamSectHeader" && !header && !parameters) {
            header = true;
        } else if (name == "Parameters" && !parameters) {
            parameters = true;
            CheckNoText(child);
            std::set<std::string> names;
            for (const auto& par : child.children()) {
                if (par.type() == pugi::node_element) {
                    CheckParameter(par, part, names);
                }
            }
        } else {
            Error("ParamSection: unexpected element " + name);
        }
    }
    if (!header) {
        Error("ParamSection: ParamSectHeader missing");
    }
    if (!parameters) {
        Error("ParamSection: Parameters missing");
    }
}

void Checker::CheckSymbol(const pugi::xml_node& symbol, StandInLibPart& part)
{
    const char* const known[] = {"IsArchivable", "IsPlaceable", "MainGUID", "MigrationValue",
                                 "Owner",        "Signature",   "Version"};
    for (const auto& a : symbol.attributes()) {
        bool isKnown = false;
        for (const char* k : known) {
            isKnown = isKnown || std::strcmp(a.name(), k) == 0;
        }
        if (!isKnown) {
            Error(std::string("Symbol: unknown attribute ") + a.name());
        }
    }
    CheckBool(symbol, "IsArchivable");
    CheckBool(symbol, "IsPlaceable");
    part.mainGuid = symbol.attribute("MainGUID").value();
    if (!symbol.attribute("MainGUID")) {
        Error("Symbol: attribute MainGUID missing");
    } else if (!IsGuidText(part.mainGuid)) {
        Error("Symbol: MainGUID is not a GUID: " + part.mainGuid);
    }
    if (std::string(symbol.attribute("MigrationValue").value()).empty()) {
        Error("Symbol: attribute MigrationValue missing");
    }
    CheckInteger(symbol, "Owner", true);
    CheckInteger(symbol, "Signature", true);
    CheckInteger(symbol, "Version", false);
    CheckNoText(symbol);

    size_t next = 0;   // index into kRequiredSections of the section expected next
    std::set<std::string> seen;
    for (const auto& section : symbol.children()) {
        if (section.type() != pugi::node_element) {
            continue;
        }
        const std::string name = section.name();
        if (!seen.insert(name).second) {
            Error("section " + name + " appears twice");
            continue;
        }
        bool optional = false;
        for (const char* o : kOptionalSections) {
            optional = optional || name == o;
        }
        if (optional) {
            continue;
        }
        size_t index = 0;
        while (index < std::size(kRequiredSections) && name != kRequiredSections[index]) {
            ++index;
        }
        if (index == std::size(kRequiredSections)) {
            Error("unknown section " + name);
            continue;
        }
        if (index < next) {
            Error("section " + name + " out of order");
            continue;
        }
        for (size_t skipped = next; skipped < index; ++skipped) {
            Error(std::string("section ") + kRequiredSections[skipped] + " missing before " + name);
        }
        next = index + 1;
        CheckSectionAttributes(section);
        if (name == "Ancestry") {
            CheckAncestry(section);
        } else if (name == "CalledMacros") {
            CheckCalledMacros(section);
        } else if (name == "ParamSection") {
            CheckParamSection(section, part);
        } else {
            const std::string script = ScriptText(section);
            CheckScriptStrings(name, script);
            if (name == "Script_3D") {
                FindPointCloud(script, part);
            }
        }
    }
    for (size_t missing = next; missing < std::size(kRequiredSections); ++missing) {
        Error(std::string("section ") + kRequiredSections[missing] + " missing");
    }
}

}  // namespace

bool ParseGdlStringLiteral(const std::string& text, std::string& contents)
{
    if (text.size() < 2) {
        return false;
    }
    const char quote = text.front();
    if ((quote != '"' && quote != '\'') || text.back() != quote) {
        return false;
    }
    contents = text.substr(1, text.size() - 2);
    return contents.find(quote) == std::string::npos && contents.find('\n') == std::string::npos;
}

bool ConvertLibPartXml(const std::string& xmlText, StandInLibPart& part, std::vector<std::string>& errors)
{
    part = StandInLibPart{};
    pugi::xml_document doc;
    const pugi::xml_parse_result parsed =
        doc.load_buffer(xmlText.data(), xmlText.size(), pugi::parse_default | pugi::parse_declaration,
                        pugi::encoding_utf8);
    if (!parsed) {
        errors.push_back("XML error at offset " + std::to_string(parsed.offset) + ": " + parsed.description());
        return false;
    }
    Checker checker(errors);
    pugi::xml_node root;
    int roots = 0;
    for (const auto& child : doc.children()) {
        if (child.type() == pugi::node_element) {
            root = child;
            ++roots;
        } else if ((child.type() == pugi::node_pcdata && !IsBlank(child.value())) ||
                   child.type() == pugi::node_cdata) {
            checker.Error("text outside the root element");
        }
    }
    if (roots != 1 || std::strcmp(root.name(), "Symbol") != 0) {
        checker.Error("the document's root element must be one Symbol");
        return false;
    }
    checker.CheckSymbol(root, part);
    return checker.Ok();
}

}  // namespace sim
