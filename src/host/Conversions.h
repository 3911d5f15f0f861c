#pragma once
// The portable halves of conversions the binding makes at the host boundary.
#include <cstdint>
#include <string>

#include "host/HostTypes.h"

namespace host {

// The host's report call reads its text as a printf format: every '%' of a
// plain text is doubled so that it reaches the report as it is.
std::string DoublePercent(const std::string& text);

// The fields of a GUID as the host's records hold them (API_Guid): a 32-bit,
// two 16-bit fields and eight bytes. host::Guid keeps the same 16 bytes in the
// host's in-memory order on a little-endian machine (the first three fields
// little-endian), so the two convert without depending on this machine's order.
struct GuidFields {
    uint32_t data1 = 0;
    uint16_t data2 = 0;
    uint16_t data3 = 0;
    uint8_t data4[8] = {};
};
GuidFields ToGuidFields(const Guid& guid);
Guid FromGuidFields(const GuidFields& fields);

// "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX" (hex digits, either case) as a Guid;
// false for any other text.
bool ParseGuid(const std::string& text, Guid& guid);

}  // namespace host
