#pragma once
// Conversions between the host's records and the portable types of
// src/host/HostTypes.h. Every crossing of the boundary goes through here:
//   text:       GS::UniString <-> UTF-8 std::string (the add-on's own text;
//               8-bit text in the host's default set is ArchicadDefaultCharset's)
//   locations:  IO::Location  <-> std::filesystem::path (POSIX form, UTF-8)
//   ids:        API_Guid / GS::Guid <-> host::Guid (field by field)
//   parameters: API_AddParType** <-> host::AddParHandle
//   libraries:  API_LibraryInfo <-> host::LibraryInfo
//   elements:   API_Element <-> host::Element (the fields the add-on uses)
#include <cstddef>
#include <filesystem>
#include <string>

#include "host/HostTypes.h"

// The kit after the C++ and system headers (see ArchicadAdapters.h).
#include "ACAPinc.h"       // API_AddParType, API_LibraryInfo, API_Element, ACAPI_DisposeAddParHdl
#include "API_Guid.hpp"    // APIGuid2GSGuid
#include "Location.hpp"    // IO::Location
#include "UniString.hpp"   // GS::UniString

namespace archicad {

GS::UniString ToArchicad(const std::string& utf8);
std::string ToPortable(const GS::UniString& text);

IO::Location ToArchicad(const std::filesystem::path& path);
std::filesystem::path ToPortable(const IO::Location& location);

API_Guid ToArchicad(const host::Guid& guid);
host::Guid ToPortable(const API_Guid& guid);
GS::Guid ToGsGuid(const host::Guid& guid);

// Zero-terminated UTF-16 text of a fixed host array, unit by unit.
template <size_t N>
void CopyUniText(const GS::uchar_t (&from)[N], host::UniBuffer<N>& to)
{
    for (size_t i = 0; i < N; ++i) {
        to[i] = static_cast<host::UniChar>(from[i]);
    }
}
template <size_t N>
void CopyUniText(const host::UniBuffer<N>& from, GS::uchar_t (&to)[N])
{
    for (size_t i = 0; i < N; ++i) {
        to[i] = static_cast<GS::uchar_t>(from[i]);
    }
}

// Parameter lists. A list read from the host keeps the host handle it came
// from (in the shared pointer's deleter, which disposes it when the last
// reference goes). Writing back patches that handle in place, so every field
// the portable list does not carry (flags, descriptions, arrays) stays as
// the host gave it.

// Takes ownership of `handle` (may be null).
host::AddParHandle ToPortable(API_AddParType** handle);

// Gives up the host handle behind `params` to the caller, who disposes it;
// null when `params` was not read from the host or was given up before.
API_AddParType** ReleaseArchicad(host::AddParHandle& params);

// A handle the binding built for a list that the add-on made itself;
// disposed when the holder goes.
class FreshAddParHandle {
public:
    FreshAddParHandle() = default;
    FreshAddParHandle(const FreshAddParHandle&) = delete;
    FreshAddParHandle& operator=(const FreshAddParHandle&) = delete;
    ~FreshAddParHandle();
    API_AddParType** handle = nullptr;
};

// The host handle for `params`, for a memo handed to the host: the handle the
// list was read from with the list's values written into it, or, for a list
// without one (or of another length), a new handle that `fresh` owns. Null for
// a null list.
API_AddParType** ToArchicad(const host::AddParHandle& params, FreshAddParHandle& fresh);

host::LibraryInfo ToPortable(const API_LibraryInfo& info);
API_LibraryInfo ToArchicad(const host::LibraryInfo& info);
bool SameLibrary(const host::LibraryInfo& a, const host::LibraryInfo& b);

// Element records: only the fields of host::Element are read or written;
// ToArchicad leaves every other field of `to` as it was.
void ToPortable(const API_Element& from, host::Element& to);
void ToArchicad(const host::Element& from, API_Element& to);

}  // namespace archicad
