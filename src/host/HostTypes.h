#pragma once
// Data that crosses the boundary to the host, in the host's own forms where
// the add-on depends on them: UTF-16 text in fixed, zero-terminated arrays,
// numeric parameter values as doubles, integer result codes (0 = success).
#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace host {

using ErrCode = int32_t;
constexpr ErrCode NoError = 0;

// Four ASCII characters read as a big-endian 32-bit number ('RLIB' = 0x524C4942).
constexpr uint32_t FourCC(const char (&s)[5])
{
    return (uint32_t(uint8_t(s[0])) << 24) | (uint32_t(uint8_t(s[1])) << 16) |
           (uint32_t(uint8_t(s[2])) << 8) | uint32_t(uint8_t(s[3]));
}

// 16-byte element / palette identifier (API_Guid, GS::Guid share this layout).
struct Guid {
    std::array<uint8_t, 16> bytes{};
    bool operator==(const Guid& o) const { return bytes == o.bytes; }
    bool operator!=(const Guid& o) const { return !(*this == o); }
};

// GS::uchar_t text of the host: UTF-16 code units, zero-terminated in a fixed array.
using UniChar = char16_t;
template <size_t N>
using UniBuffer = std::array<UniChar, N>;

// Host parameter type codes (API_AddParID) the add-on looks at.
enum AddParTypeId : int32_t {
    APIParT_Integer = 1,
    APIParT_Length = 2,
    APIParT_RealNum = 4,
    APIParT_CString = 12,
    APIParT_Boolean = 13,
    APIParT_Title = 15,
};

// One additional parameter of a library part or placed object (API_AddParType).
struct AddPar {
    int32_t typeID = 0;
    std::array<char, 32> name{};      // ASCII, zero-terminated
    double real = 0.0;                // value.real
    UniBuffer<256> uStr{};            // value.uStr, for string parameters
};

// A host handle of parameters (API_AddParType**). Null = no handle. Handles
// are released with DisposeAddParHdl / DisposeElemMemoHdls.
using AddParHandle = std::shared_ptr<std::vector<AddPar>>;

// The parts of API_LibPart that the add-on reads.
struct LibPart {
    int32_t index = 0;                // input: 1-based library part index
    UniBuffer<256> docu_UName{};      // output: document name
};

// One entry of the project's library list (API_LibraryInfo).
struct LibraryInfo {
    std::filesystem::path location;
    std::string name;
    int32_t libraryType = 0;          // 1 = local library; 3 = built-in (never written back)
    bool available = false;
    bool readOnly = false;
    std::string twServerUrl;
    std::string urlWebLibrary;
};

// Element type code of objects (API_ObjectID).
constexpr int32_t API_ObjectID = 6;
// Memo mask selecting the additional parameters (the host's APIMemoMask_AddPars,
// which its headers define as a macro, hence the different name here).
constexpr uint64_t kMemoMaskAddPars = 4;

// The parts of API_Element (an object element) that the add-on reads or sets.
struct Element {
    int32_t typeID = 0;               // header.type.typeID
    Guid guid;                        // header.guid
    int16_t floorInd = 0;             // header.floorInd
    int32_t libInd = 0;               // object.libInd
    double posX = 0.0, posY = 0.0;    // object.pos
    double level = 0.0;               // object.level
    double angle = 0.0;               // object.angle
    double xRatio = 0.0, yRatio = 0.0;// object.xRatio / yRatio
};

// API_ElementMemo: of it the add-on uses only the parameter handle.
struct ElementMemo {
    AddParHandle params;
};

}  // namespace host
