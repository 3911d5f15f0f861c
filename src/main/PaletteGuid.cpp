#include <cstddef>
#include <cstdint>

#include "main/EntryPoints.h"

namespace {

constexpr char kPaletteGuidText[] = "C7D4E5F6-1A2B-3C4D-8E9F-0A1B2C3D4E5F";

int HexDigit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return c - 'a' + 10;
}

// The identifier in the host's in-memory layout of a GUID on a little-endian
// machine: a 32-bit, two 16-bit fields (each little-endian), then eight bytes
// in text order. API_Guid and GS::Guid share this layout.
host::Guid ParseGuid(const char* text)
{
    uint8_t inTextOrder[16] = {};
    size_t n = 0;
    for (const char* p = text; *p != '\0' && n < 32; ++p) {
        if (*p == '-') continue;
        const int v = HexDigit(*p);
        inTextOrder[n / 2] = static_cast<uint8_t>(n % 2 == 0 ? v << 4 : (inTextOrder[n / 2] | v));
        ++n;
    }
    static constexpr int kOrder[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    host::Guid guid;
    for (size_t i = 0; i < 16; ++i) {
        guid.bytes[i] = inTextOrder[kOrder[i]];
    }
    return guid;
}

}  // namespace

const host::Guid& PaletteGuid()
{
    static const host::Guid guid = ParseGuid(kPaletteGuidText);
    return guid;
}
