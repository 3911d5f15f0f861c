#include "host/sim/StandInLibPartFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace sim {

namespace {

struct TypeName {
    int32_t id;
    const char* name;
};

// Host parameter type codes (API_AddParID) under their library part XML names.
constexpr TypeName kTypes[] = {
    {1, "Integer"},   {2, "Length"},    {3, "Angle"},      {4, "RealNum"},     {5, "LightSwitch"},
    {6, "ColorRGB"},  {7, "Intensity"}, {8, "LineType"},   {9, "Material"},    {10, "FillPattern"},
    {11, "PenColor"}, {12, "String"},   {13, "Boolean"},   {14, "Separator"},  {15, "Title"},
    {16, "BuildingMaterial"},           {17, "Profile"},
};

std::string Quote(const std::string& s)
{
    std::string out = "\"";
    for (char c : s) {
        switch (c) {
        case '\\': out += "\\\\"; break;
        case '"': out += "\\\""; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default: out.push_back(c);
        }
    }
    out.push_back('"');
    return out;
}

std::string Number(double v)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", v);
    return text;
}

// Reads the tokens of one line: bare words and quoted strings.
class LineReader {
public:
    explicit LineReader(const std::string& line) : line_(line) {}

    bool Word(std::string& out)
    {
        SkipBlank();
        if (pos_ >= line_.size() || line_[pos_] == '"') {
            return false;
        }
        const size_t start = pos_;
        while (pos_ < line_.size() && line_[pos_] != ' ') {
            ++pos_;
        }
        out = line_.substr(start, pos_ - start);
        return true;
    }

    bool Quoted(std::string& out)
    {
        SkipBlank();
        if (pos_ >= line_.size() || line_[pos_] != '"') {
            return false;
        }
        ++pos_;
        out.clear();
        while (pos_ < line_.size()) {
            const char c = line_[pos_++];
            if (c == '"') {
                return true;
            }
            if (c != '\\') {
                out.push_back(c);
                continue;
            }
            if (pos_ >= line_.size()) {
                return false;
            }
            const char e = line_[pos_++];
            switch (e) {
            case '\\': out.push_back('\\'); break;
            case '"': out.push_back('"'); break;
            case 'n': out.push_back('\n'); break;
            case 'r': out.push_back('\r'); break;
            case 't': out.push_back('\t'); break;
            default: return false;
            }
        }
        return false;
    }

    bool AtEnd()
    {
        SkipBlank();
        return pos_ >= line_.size();
    }

private:
    void SkipBlank()
    {
        while (pos_ < line_.size() && line_[pos_] == ' ') {
            ++pos_;
        }
    }

    const std::string& line_;
    size_t pos_ = 0;
};

bool ParseNumber(const std::string& text, double& out)
{
    if (text.empty()) {
        return false;
    }
    errno = 0;
    char* end = nullptr;
    out = std::strtod(text.c_str(), &end);
    return errno == 0 && end == text.c_str() + text.size();
}

bool ParseParam(LineReader& r, StandInParam& p, std::string& error)
{
    std::string type;
    std::string flags;
    if (!r.Word(type) || !r.Word(p.name) || !r.Word(flags)) {
        error = "incomplete param record";
        return false;
    }
    p.typeID = StandInTypeFromName(type);
    if (p.typeID == 0) {
        error = "unknown parameter type " + type;
        return false;
    }
    if (p.name.empty() || p.name.size() > 31) {
        error = "bad parameter name " + p.name;
        return false;
    }
    double f = 0;
    if (!ParseNumber(flags, f) || f < 0 || f > 0xFFFF || f != static_cast<double>(static_cast<int>(f))) {
        error = "bad flags of " + p.name;
        return false;
    }
    p.flags = static_cast<uint16_t>(f);
    std::string value;
    if (p.typeID == 12) {
        if (!r.Quoted(p.text)) {
            error = "bad string value of " + p.name;
            return false;
        }
    } else if (!StandInTypeHasValue(p.typeID)) {
        if (!r.Word(value) || value != "-") {
            error = "value given for " + p.name;
            return false;
        }
    } else if (!r.Word(value) || !ParseNumber(value, p.number)) {
        error = "bad value of " + p.name;
        return false;
    }
    if (!r.Quoted(p.description) || !r.AtEnd()) {
        error = "bad description of " + p.name;
        return false;
    }
    return true;
}

}  // namespace

int32_t StandInTypeFromName(const std::string& name)
{
    for (const auto& t : kTypes) {
        if (name == t.name) {
            return t.id;
        }
    }
    return 0;
}

const char* StandInTypeName(int32_t typeID)
{
    for (const auto& t : kTypes) {
        if (typeID == t.id) {
            return t.name;
        }
    }
    return nullptr;
}

bool StandInTypeHasValue(int32_t typeID) { return typeID != 14 && typeID != 15; }

bool StandInTypeIsInteger(int32_t typeID)
{
    return typeID == 1 || typeID == 8 || typeID == 9 || typeID == 10 || typeID == 11 || typeID == 16 ||
           typeID == 17;
}

bool StandInTypeIsBoolean(int32_t typeID) { return typeID == 13 || typeID == 5; }

std::string FormatStandInLibPart(const StandInLibPart& part)
{
    std::string out = "PWLIBPART 1\n";
    out += "mainguid " + part.mainGuid + "\n";
    out += "pointcloud " + Quote(part.pointCloudFile) + "\n";
    for (const auto& p : part.params) {
        const char* type = StandInTypeName(p.typeID);
        out += "param ";
        out += type != nullptr ? type : "?";
        out += " " + p.name + " " + std::to_string(p.flags) + " ";
        if (p.typeID == 12) {
            out += Quote(p.text);
        } else if (!StandInTypeHasValue(p.typeID)) {
            out += "-";
        } else {
            out += Number(p.number);
        }
        out += " " + Quote(p.description) + "\n";
    }
    out += "end\n";
    return out;
}

bool ParseStandInLibPart(const std::string& text, StandInLibPart& part, std::string& error)
{
    part = StandInLibPart{};
    std::istringstream in(text);
    std::string line;
    int lineNo = 0;
    bool ended = false;
    bool haveGuid = false;
    bool havePointCloud = false;
    while (std::getline(in, line)) {
        ++lineNo;
        const std::string where = "line " + std::to_string(lineNo) + ": ";
        if (ended) {
            error = where + "text after end";
            return false;
        }
        if (lineNo == 1) {
            if (line != "PWLIBPART 1") {
                error = "not a stand-in library part";
                return false;
            }
            continue;
        }
        LineReader r(line);
        std::string key;
        if (!r.Word(key)) {
            error = where + "empty record";
            return false;
        }
        if (key == "mainguid" && !haveGuid) {
            haveGuid = r.Word(part.mainGuid) && r.AtEnd();
            if (!haveGuid) {
                error = where + "bad mainguid";
                return false;
            }
        } else if (key == "pointcloud" && !havePointCloud) {
            havePointCloud = r.Quoted(part.pointCloudFile) && r.AtEnd();
            if (!havePointCloud) {
                error = where + "bad pointcloud";
                return false;
            }
        } else if (key == "param") {
            StandInParam p;
            if (!ParseParam(r, p, error)) {
                error = where + error;
                return false;
            }
            part.params.push_back(std::move(p));
        } else if (key == "end" && r.AtEnd()) {
            ended = true;
        } else {
            error = where + "unexpected record " + key;
            return false;
        }
    }
    if (!ended || !haveGuid || !havePointCloud) {
        error = "incomplete library part";
        return false;
    }
    return true;
}

bool WriteStandInLibPart(const std::filesystem::path& file, const StandInLibPart& part, std::string& error)
{
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    if (!out) {
        error = "cannot create " + file.string();
        return false;
    }
    out << FormatStandInLibPart(part);
    out.close();
    if (!out) {
        error = "cannot write " + file.string();
        return false;
    }
    return true;
}

bool ReadStandInLibPart(const std::filesystem::path& file, StandInLibPart& part, std::string& error)
{
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        error = "cannot open " + file.string();
        return false;
    }
    std::ostringstream text;
    text << in.rdbuf();
    return ParseStandInLibPart(text.str(), part, error);
}

}  // namespace sim
