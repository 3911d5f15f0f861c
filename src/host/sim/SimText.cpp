#include "host/sim/SimText.h"

#include <cctype>
#include <cstdio>
#include <cstring>

#include "host/sim/StandInLibPartFile.h"

namespace sim {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf8(std::string& out, char32_t cp)
{
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

int HexValue(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

}  // namespace

std::u16string Utf8ToUtf16(const std::string& utf8)
{
    std::u16string out;
    size_t i = 0;
    const size_t n = utf8.size();
    while (i < n) {
        const auto c = static_cast<unsigned char>(utf8[i]);
        char32_t cp = kReplacement;
        size_t len = 1;
        if (c < 0x80) {
            cp = c;
        } else if ((c & 0xE0) == 0xC0) {
            len = 2;
        } else if ((c & 0xF0) == 0xE0) {
            len = 3;
        } else if ((c & 0xF8) == 0xF0) {
            len = 4;
        }
        if (len > 1) {
            bool ok = i + len <= n;
            char32_t v = c & (0x7F >> len);
            for (size_t k = 1; ok && k < len; ++k) {
                const auto cc = static_cast<unsigned char>(utf8[i + k]);
                if ((cc & 0xC0) != 0x80) {
                    ok = false;
                } else {
                    v = (v << 6) | (cc & 0x3F);
                }
            }
            const bool overlong = (len == 2 && v < 0x80) || (len == 3 && v < 0x800) || (len == 4 && v < 0x10000);
            if (ok && !overlong && v <= 0x10FFFF && !(v >= 0xD800 && v <= 0xDFFF)) {
                cp = v;
            } else {
                len = 1;
            }
        }
        if (cp >= 0x10000) {
            const char32_t v = cp - 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (v >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (v & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(cp));
        }
        i += len;
    }
    return out;
}

std::string Utf16ToUtf8(const std::u16string& utf16)
{
    std::string out;
    for (size_t i = 0; i < utf16.size(); ++i) {
        char32_t cp = utf16[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < utf16.size() && utf16[i + 1] >= 0xDC00 &&
            utf16[i + 1] <= 0xDFFF) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (utf16[i + 1] - 0xDC00);
            ++i;
        } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            cp = kReplacement;
        }
        AppendUtf8(out, cp);
    }
    return out;
}

std::string GuidToString(const host::Guid& guid)
{
    char text[40];
    const auto& b = guid.bytes;
    std::snprintf(text, sizeof text,
                  "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", b[0], b[1], b[2], b[3],
                  b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13], b[14], b[15]);
    return text;
}

bool IsGuidText(const std::string& text)
{
    if (text.size() != 36) {
        return false;
    }
    for (size_t i = 0; i < 36; ++i) {
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        if (dash ? text[i] != '-' : HexValue(text[i]) < 0) {
            return false;
        }
    }
    return true;
}

bool GuidFromString(const std::string& text, host::Guid& guid)
{
    if (!IsGuidText(text)) {
        return false;
    }
    size_t k = 0;
    for (size_t i = 0; i < 36; i += (i == 8 || i == 13 || i == 18 || i == 23) ? 1 : 2) {
        if (text[i] == '-') {
            continue;
        }
        guid.bytes[k++] = static_cast<uint8_t>(HexValue(text[i]) * 16 + HexValue(text[i + 1]));
    }
    return k == 16;
}

host::AddPar MakePar(int32_t typeID, const std::string& name, double real, const std::u16string& text)
{
    host::AddPar par;
    par.typeID = typeID;
    std::strncpy(par.name.data(), name.c_str(), par.name.size() - 1);
    par.real = real;
    SetUni(par.uStr, text);
    return par;
}

host::AddPar IntPar(const std::string& name, double value) { return MakePar(host::APIParT_Integer, name, value); }
host::AddPar LengthPar(const std::string& name, double value) { return MakePar(host::APIParT_Length, name, value); }
host::AddPar RealPar(const std::string& name, double value) { return MakePar(host::APIParT_RealNum, name, value); }
host::AddPar BoolPar(const std::string& name, bool value)
{
    return MakePar(host::APIParT_Boolean, name, value ? 1.0 : 0.0);
}
host::AddPar StringPar(const std::string& name, const std::u16string& value)
{
    return MakePar(host::APIParT_CString, name, 0.0, value);
}
host::AddPar TitlePar(const std::string& name) { return MakePar(host::APIParT_Title, name, 0.0); }

std::string ParName(const host::AddPar& par)
{
    return std::string(par.name.data(), strnlen(par.name.data(), par.name.size()));
}

std::string ParValueText(const host::AddPar& par)
{
    if (par.typeID == host::APIParT_CString) {
        return "\"" + Utf16ToUtf8(GetUni(par.uStr)) + "\"";
    }
    if (!StandInTypeHasValue(par.typeID)) {
        return "-";
    }
    char text[64];
    std::snprintf(text, sizeof text, "%.10g", par.real);
    return text;
}

const host::AddPar* FindPar(const std::vector<host::AddPar>& params, const std::string& name)
{
    for (const auto& p : params) {
        if (ParName(p) == name) {
            return &p;
        }
    }
    return nullptr;
}

host::AddPar* FindPar(std::vector<host::AddPar>& params, const std::string& name)
{
    for (auto& p : params) {
        if (ParName(p) == name) {
            return &p;
        }
    }
    return nullptr;
}

}  // namespace sim
