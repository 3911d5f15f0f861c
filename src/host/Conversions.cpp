#include "host/Conversions.h"

namespace host {

std::string DoublePercent(const std::string& text)
{
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        out += c;
        if (c == '%') {
            out += '%';
        }
    }
    return out;
}

GuidFields ToGuidFields(const Guid& guid)
{
    const auto& b = guid.bytes;
    GuidFields f;
    f.data1 = uint32_t(b[0]) | uint32_t(b[1]) << 8 | uint32_t(b[2]) << 16 | uint32_t(b[3]) << 24;
    f.data2 = static_cast<uint16_t>(b[4] | b[5] << 8);
    f.data3 = static_cast<uint16_t>(b[6] | b[7] << 8);
    for (size_t i = 0; i < 8; ++i) {
        f.data4[i] = b[8 + i];
    }
    return f;
}

Guid FromGuidFields(const GuidFields& f)
{
    Guid guid;
    auto& b = guid.bytes;
    for (size_t i = 0; i < 4; ++i) {
        b[i] = static_cast<uint8_t>(f.data1 >> (8 * i));
    }
    b[4] = static_cast<uint8_t>(f.data2);
    b[5] = static_cast<uint8_t>(f.data2 >> 8);
    b[6] = static_cast<uint8_t>(f.data3);
    b[7] = static_cast<uint8_t>(f.data3 >> 8);
    for (size_t i = 0; i < 8; ++i) {
        b[8 + i] = f.data4[i];
    }
    return guid;
}

bool ParseGuid(const std::string& text, Guid& guid)
{
    if (text.size() != 36) {
        return false;
    }
    uint8_t inTextOrder[16] = {};
    size_t n = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (c != '-') {
                return false;
            }
            continue;
        }
        int v = 0;
        if (c >= '0' && c <= '9') {
            v = c - '0';
        } else if (c >= 'A' && c <= 'F') {
            v = c - 'A' + 10;
        } else if (c >= 'a' && c <= 'f') {
            v = c - 'a' + 10;
        } else {
            return false;
        }
        inTextOrder[n / 2] = static_cast<uint8_t>(n % 2 == 0 ? v << 4 : (inTextOrder[n / 2] | v));
        ++n;
    }
    GuidFields f;
    f.data1 = uint32_t(inTextOrder[0]) << 24 | uint32_t(inTextOrder[1]) << 16 | uint32_t(inTextOrder[2]) << 8 |
              inTextOrder[3];
    f.data2 = static_cast<uint16_t>(inTextOrder[4] << 8 | inTextOrder[5]);
    f.data3 = static_cast<uint16_t>(inTextOrder[6] << 8 | inTextOrder[7]);
    for (size_t i = 0; i < 8; ++i) {
        f.data4[i] = inTextOrder[8 + i];
    }
    guid = FromGuidFields(f);
    return true;
}

}  // namespace host
