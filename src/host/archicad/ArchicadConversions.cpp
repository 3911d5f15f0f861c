#include "host/archicad/ArchicadConversions.h"

#include <cstring>
#include <memory>
#include <tuple>
#include <vector>

#include "host/Conversions.h"
#include "host/archicad/ArchicadAdapters.h"

namespace archicad {

static_assert(sizeof(API_Guid) == sizeof(host::Guid::bytes), "API_Guid is 16 bytes");
static_assert(sizeof(GS::uchar_t) == sizeof(host::UniChar), "host text is UTF-16");
static_assert(sizeof(API_AddParType::name) == sizeof(host::AddPar::name), "parameter names are 32 bytes");
static_assert(sizeof(API_AddParType::value.uStr) / sizeof(GS::uchar_t) ==
                  std::tuple_size<decltype(host::AddPar::uStr)>::value,
              "string parameter values are 256 units");

// --- text and locations ------------------------------------------------------

GS::UniString ToArchicad(const std::string& utf8)
{
    return GS::UniString(utf8.c_str(), CC_UTF8);
}

std::string ToPortable(const GS::UniString& text)
{
    return std::string(text.ToCStr(CC_UTF8).Get());
}

IO::Location ToArchicad(const std::filesystem::path& path)
{
    return IO::Location(ToArchicad(path.string()));
}

std::filesystem::path ToPortable(const IO::Location& location)
{
    GS::UniString path;
    location.ToPath(&path);
    return std::filesystem::path(ToPortable(path));
}

// --- identifiers -------------------------------------------------------------

API_Guid ToArchicad(const host::Guid& guid)
{
    const host::GuidFields fields = host::ToGuidFields(guid);
    API_Guid result;
    result.time_low = fields.data1;
    result.time_mid = fields.data2;
    result.time_hi_and_version = fields.data3;
    result.clock_seq_hi_and_reserved = fields.data4[0];
    result.clock_seq_low = fields.data4[1];
    for (size_t i = 0; i < 6; ++i) {
        result.node[i] = fields.data4[2 + i];
    }
    return result;
}

host::Guid ToPortable(const API_Guid& guid)
{
    host::GuidFields fields;
    fields.data1 = guid.time_low;
    fields.data2 = guid.time_mid;
    fields.data3 = guid.time_hi_and_version;
    fields.data4[0] = guid.clock_seq_hi_and_reserved;
    fields.data4[1] = guid.clock_seq_low;
    for (size_t i = 0; i < 6; ++i) {
        fields.data4[2 + i] = guid.node[i];
    }
    return host::FromGuidFields(fields);
}

GS::Guid ToGsGuid(const host::Guid& guid)
{
    const API_Guid apiGuid = ToArchicad(guid);
    return APIGuid2GSGuid(apiGuid);
}

// --- parameter lists ---------------------------------------------------------

namespace {

// Deleter of a list read from the host: disposes the host handle with it.
struct HostParamsDeleter {
    API_AddParType** handle = nullptr;

    void operator()(std::vector<host::AddPar>* list) const
    {
        API_AddParType** h = handle;
        if (h != nullptr) {
            ACAPI_DisposeAddParHdl(&h);
        }
        delete list;
    }
};

size_t EntryCount(API_AddParType** handle)
{
    return static_cast<size_t>(BMGetHandleSize(reinterpret_cast<GSConstHandle>(handle))) / sizeof(API_AddParType);
}

host::AddPar ToPortable(const API_AddParType& from)
{
    host::AddPar to;
    to.typeID = static_cast<int32_t>(from.typeID);
    std::memcpy(to.name.data(), from.name, to.name.size());
    to.name.back() = '\0';
    if (from.typeMod == API_ParArray) {
        return to;   // array values stay in the host handle only
    }
    if (from.typeID == APIParT_CString) {
        CopyUniText(from.value.uStr, to.uStr);
    } else {
        to.real = from.value.real;
    }
    return to;
}

void WriteValue(const host::AddPar& from, API_AddParType& to)
{
    if (to.typeMod == API_ParArray) {
        return;
    }
    if (to.typeID == APIParT_CString) {
        CopyUniText(from.uStr, to.value.uStr);
    } else {
        to.value.real = from.real;
    }
}

}  // namespace

host::AddParHandle ToPortable(API_AddParType** handle)
{
    if (handle == nullptr) {
        return nullptr;
    }
    auto list = std::make_unique<std::vector<host::AddPar>>();
    const size_t count = EntryCount(handle);
    list->reserve(count);
    for (size_t i = 0; i < count; ++i) {
        list->push_back(ToPortable((*handle)[i]));
    }
    return host::AddParHandle(list.release(), HostParamsDeleter{handle});
}

API_AddParType** ReleaseArchicad(host::AddParHandle& params)
{
    HostParamsDeleter* deleter = std::get_deleter<HostParamsDeleter>(params);
    if (deleter == nullptr) {
        return nullptr;
    }
    API_AddParType** handle = deleter->handle;
    deleter->handle = nullptr;
    return handle;
}

FreshAddParHandle::~FreshAddParHandle()
{
    if (handle != nullptr) {
        ACAPI_DisposeAddParHdl(&handle);
    }
}

API_AddParType** ToArchicad(const host::AddParHandle& params, FreshAddParHandle& fresh)
{
    if (!params) {
        return nullptr;
    }
    const std::vector<host::AddPar>& list = *params;

    HostParamsDeleter* deleter = std::get_deleter<HostParamsDeleter>(params);
    if (deleter != nullptr && deleter->handle != nullptr && EntryCount(deleter->handle) == list.size()) {
        API_AddParType** handle = deleter->handle;
        for (size_t i = 0; i < list.size(); ++i) {
            WriteValue(list[i], (*handle)[i]);
        }
        return handle;
    }

    // A list the add-on built itself: simple parameters with name, type and value.
    fresh.handle = reinterpret_cast<API_AddParType**>(
        BMAllocateHandle(static_cast<GSSize>(list.size() * sizeof(API_AddParType)), ALLOCATE_CLEAR, 0));
    if (fresh.handle == nullptr) {
        return nullptr;
    }
    for (size_t i = 0; i < list.size(); ++i) {
        API_AddParType& to = (*fresh.handle)[i];
        to.typeID = static_cast<API_AddParID>(list[i].typeID);
        to.index = static_cast<short>(i);
        to.typeMod = API_ParSimple;
        std::memcpy(to.name, list[i].name.data(), sizeof to.name);
        to.name[sizeof to.name - 1] = '\0';
        WriteValue(list[i], to);
    }
    return fresh.handle;
}

// --- library list ------------------------------------------------------------

host::LibraryInfo ToPortable(const API_LibraryInfo& info)
{
    host::LibraryInfo result;
    result.location = ToPortable(info.location);
    result.name = ToPortable(info.name);
    result.libraryType = static_cast<int32_t>(info.libraryType);
    result.available = info.available;
    result.readOnly = info.readOnly;
    result.twServerUrl = ToPortable(info.twServerUrl);
    result.urlWebLibrary = ToPortable(info.urlWebLibrary);
    return result;
}

API_LibraryInfo ToArchicad(const host::LibraryInfo& info)
{
    API_LibraryInfo result {};
    result.location = ToArchicad(info.location);
    result.name = ToArchicad(info.name);
    result.libraryType = static_cast<API_LibraryTypeID>(info.libraryType);
    result.available = info.available;
    result.readOnly = info.readOnly;
    result.twServerUrl = ToArchicad(info.twServerUrl);
    result.urlWebLibrary = ToArchicad(info.urlWebLibrary);
    return result;
}

bool SameLibrary(const host::LibraryInfo& a, const host::LibraryInfo& b)
{
    return a.location == b.location && a.name == b.name && a.libraryType == b.libraryType &&
           a.available == b.available && a.readOnly == b.readOnly && a.twServerUrl == b.twServerUrl &&
           a.urlWebLibrary == b.urlWebLibrary;
}

// --- elements ----------------------------------------------------------------

void ToPortable(const API_Element& from, host::Element& to)
{
    to.typeID = static_cast<int32_t>(from.header.type.typeID);
    to.guid = ToPortable(from.header.guid);
    to.floorInd = from.header.floorInd;
    to.libInd = from.object.libInd;
    to.posX = from.object.pos.x;
    to.posY = from.object.pos.y;
    to.level = from.object.level;
    to.angle = from.object.angle;
    to.xRatio = from.object.xRatio;
    to.yRatio = from.object.yRatio;
}

void ToArchicad(const host::Element& from, API_Element& to)
{
    // Keep the variation and class of the type unless the type itself changes.
    if (to.header.type.typeID != static_cast<API_ElemTypeID>(from.typeID)) {
        to.header.type = API_ElemType(static_cast<API_ElemTypeID>(from.typeID));
    }
    to.header.guid = ToArchicad(from.guid);
    to.header.floorInd = from.floorInd;
    to.object.libInd = from.libInd;
    to.object.pos.x = from.posX;
    to.object.pos.y = from.posY;
    to.object.level = from.level;
    to.object.angle = from.angle;
    to.object.xRatio = from.xRatio;
    to.object.yRatio = from.yRatio;
}

}  // namespace archicad

// --- the host's default character set ----------------------------------------

namespace archicad {

// 8-bit text becomes a host string with the host's default character code
// (the constructor's default) and comes back through ToCStr's default.
std::string ArchicadDefaultCharset::ToUtf8(const std::string& text) const
{
    return ToPortable(GS::UniString(text.c_str()));
}

std::string ArchicadDefaultCharset::FromUtf8(const std::string& utf8) const
{
    return std::string(ToArchicad(utf8).ToCStr().Get());
}

}  // namespace archicad
