#include "host/DefaultCharset.h"

#include <cstdint>

namespace host {

namespace {

const DefaultCharset* g_charset = nullptr;

void AppendUtf8(char32_t c, std::string& out)
{
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// The code point of the UTF-8 sequence at `i` (advanced past it); a byte
// that starts no well-formed sequence yields U+FFFD and advances by one.
char32_t NextCodePoint(const std::string& s, size_t& i)
{
    const auto byte = [&s](size_t k) { return static_cast<uint8_t>(s[k]); };
    const uint8_t lead = byte(i);
    size_t length = 0;
    char32_t c = 0;
    if (lead < 0x80) {
        ++i;
        return lead;
    } else if ((lead & 0xE0) == 0xC0) {
        length = 2;
        c = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3;
        c = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4;
        c = lead & 0x07;
    }
    if (length == 0 || i + length > s.size()) {
        ++i;
        return 0xFFFD;
    }
    for (size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80) {
            ++i;
            return 0xFFFD;
        }
        c = (c << 6) | (byte(i + k) & 0x3F);
    }
    i += length;
    return c;
}

}  // namespace

std::string CodePageCharset::ToUtf8(const std::string& text) const
{
    std::string out;
    for (const char ch : text) {
        const auto byte = static_cast<uint8_t>(ch);
        AppendUtf8(byte < 0x80 ? char32_t(byte) : upperHalf_[byte - 0x80], out);
    }
    return out;
}

std::string CodePageCharset::FromUtf8(const std::string& utf8) const
{
    std::string out;
    for (size_t i = 0; i < utf8.size();) {
        const char32_t c = NextCodePoint(utf8, i);
        if (c < 0x80) {
            out += static_cast<char>(c);
            continue;
        }
        char mapped = '?';
        for (size_t k = 0; k < upperHalf_.size(); ++k) {
            if (upperHalf_[k] == c) {
                mapped = static_cast<char>(0x80 + k);
                break;
            }
        }
        out += mapped;
    }
    return out;
}

const DefaultCharset& CurrentDefaultCharset()
{
    static const Utf8DefaultCharset utf8;
    return g_charset != nullptr ? *g_charset : utf8;
}

void SetDefaultCharset(const DefaultCharset* charset)
{
    g_charset = charset;
}

}  // namespace host
