#pragma once
// Text helpers of the simulated host: UTF-8 <-> UTF-16, host text buffers,
// GUID text and building parameter records.
#include <cstdint>
#include <string>
#include <vector>

#include "host/HostTypes.h"

namespace sim {

// UTF-8 to UTF-16; invalid bytes become U+FFFD.
std::u16string Utf8ToUtf16(const std::string& utf8);
// UTF-16 to UTF-8; unpaired surrogates become U+FFFD.
std::string Utf16ToUtf8(const std::u16string& utf16);

// Copies `text` into a zero-terminated host buffer, cut to capacity - 1 units.
template <size_t N>
void SetUni(host::UniBuffer<N>& buffer, const std::u16string& text)
{
    buffer.fill(0);
    const size_t n = text.size() < N - 1 ? text.size() : N - 1;
    for (size_t i = 0; i < n; ++i) {
        buffer[i] = text[i];
    }
}

// The text of a zero-terminated host buffer.
template <size_t N>
std::u16string GetUni(const host::UniBuffer<N>& buffer)
{
    std::u16string out;
    for (size_t i = 0; i < N && buffer[i] != 0; ++i) {
        out.push_back(buffer[i]);
    }
    return out;
}

// "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX", upper case.
std::string GuidToString(const host::Guid& guid);
// Parses the 36-character form (either case); false when malformed.
bool GuidFromString(const std::string& text, host::Guid& guid);
bool IsGuidText(const std::string& text);

// Parameter records as the host hands them out. Names longer than 31 characters are cut.
host::AddPar MakePar(int32_t typeID, const std::string& name, double real, const std::u16string& text = u"");
host::AddPar IntPar(const std::string& name, double value);
host::AddPar LengthPar(const std::string& name, double value);
host::AddPar RealPar(const std::string& name, double value);
host::AddPar BoolPar(const std::string& name, bool value);
host::AddPar StringPar(const std::string& name, const std::u16string& value);
host::AddPar TitlePar(const std::string& name);

std::string ParName(const host::AddPar& par);
// Display form of a value: numbers with %.10g, strings as UTF-8 in double quotes, titles as "-".
std::string ParValueText(const host::AddPar& par);
// Finds a parameter by name (case-sensitive); null when absent.
const host::AddPar* FindPar(const std::vector<host::AddPar>& params, const std::string& name);
host::AddPar* FindPar(std::vector<host::AddPar>& params, const std::string& name);

}  // namespace sim
