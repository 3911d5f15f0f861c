#pragma once
// The library part file that the stand-in converter writes and the simulated
// host loads in place of the host's binary .gsm. It is UTF-8 text, one record
// per line, fields separated by single blanks:
//
//   PWLIBPART 1
//   mainguid 8F1C0A2B-0D3E-4F50-9A6B-7C8D9E0F1A2B
//   pointcloud "Scan_data.gspc"          (the file named in the 3D script; "" when none)
//   param <Type> <Name> <flags> <value> <description>
//   ...
//   end
//
// <Type> is the parameter type name of the library part XML (Length, Integer,
// String, ...), <Name> an ASCII identifier, <flags> the decimal sum of the host's
// parameter flag bits, <value> a number written with %.17g, a quoted string for
// String parameters, or "-" for types without a value (Title, Separator), and
// <description> a quoted string. Quoted strings escape backslash, double quote,
// line feed, carriage return and tab with a backslash (\\ \" \n \r \t).
// The library part's name is not stored: it is the file name without ".gsm".
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace sim {

// Host parameter flag bits (API_ParFlg_*).
constexpr uint16_t kParFlgChild = 0x01;
constexpr uint16_t kParFlgBoldName = 0x02;
constexpr uint16_t kParFlgFixed = 0x04;
constexpr uint16_t kParFlgUnique = 0x08;
constexpr uint16_t kParFlgSHidden = 0x10;
constexpr uint16_t kParFlgOpen = 0x20;
constexpr uint16_t kParFlgDisabled = 0x40;
constexpr uint16_t kParFlgHidden = 0x80;

struct StandInParam {
    std::string name;          // ASCII, at most 31 characters
    int32_t typeID = 0;        // host parameter type code (host::AddParTypeId and the others)
    uint16_t flags = 0;        // kParFlg* bits
    double number = 0.0;       // value of numeric and boolean types
    std::string text;          // value of String parameters, UTF-8, without GDL quotes
    std::string description;   // UTF-8, without GDL quotes
};

struct StandInLibPart {
    std::string mainGuid;
    std::string pointCloudFile;  // UTF-8, without GDL quotes
    std::vector<StandInParam> params;
};

// Parameter type names of the library part XML and their host type codes;
// 0 for an unknown name, nullptr for an unknown code.
int32_t StandInTypeFromName(const std::string& name);
const char* StandInTypeName(int32_t typeID);
bool StandInTypeHasValue(int32_t typeID);    // false for Title and Separator
bool StandInTypeIsInteger(int32_t typeID);   // Integer and the attribute index types
bool StandInTypeIsBoolean(int32_t typeID);   // Boolean and LightSwitch

std::string FormatStandInLibPart(const StandInLibPart& part);
bool ParseStandInLibPart(const std::string& text, StandInLibPart& part, std::string& error);

bool WriteStandInLibPart(const std::filesystem::path& file, const StandInLibPart& part, std::string& error);
bool ReadStandInLibPart(const std::filesystem::path& file, StandInLibPart& part, std::string& error);

}  // namespace sim
