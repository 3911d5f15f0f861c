// punktwolke info: what an E57 file holds, scan by scan.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>

#include <nlohmann/json.hpp>

#include "cli/CliSupport.h"
#include "cli/Commands.h"
#include "cli/CoordinateRange.h"
#include "e57/Reader.h"

namespace {

struct InfoOptions {
    std::string input;
    bool json = false;
};

const char* EncodingName(e57::FieldEncoding e)
{
    switch (e) {
    case e57::FieldEncoding::Integer: return "integer";
    case e57::FieldEncoding::ScaledInteger: return "scaled integer";
    case e57::FieldEncoding::Float: return "float";
    case e57::FieldEncoding::Double: return "double";
    case e57::FieldEncoding::String: return "string";
    }
    return "unknown";
}

bool HasColour(const e57::Data3D& s)
{
    return s.pointFields.colorRedField && s.pointFields.colorGreenField && s.pointFields.colorBlueField;
}

std::string FieldText(const e57::FieldDescription& f)
{
    char buf[256];
    switch (f.encoding) {
    case e57::FieldEncoding::Integer:
        std::snprintf(buf, sizeof buf, "%s: integer, %u bit(s), %lld..%lld", f.name.c_str(), f.bitWidth,
                      static_cast<long long>(f.minimum), static_cast<long long>(f.maximum));
        break;
    case e57::FieldEncoding::ScaledInteger:
        std::snprintf(buf, sizeof buf, "%s: scaled integer, %u bit(s), %lld..%lld, scale %.17g, offset %.17g",
                      f.name.c_str(), f.bitWidth, static_cast<long long>(f.minimum),
                      static_cast<long long>(f.maximum), f.scale, f.offset);
        break;
    default:
        std::snprintf(buf, sizeof buf, "%s: %s, %u bit(s)", f.name.c_str(), EncodingName(f.encoding), f.bitWidth);
        break;
    }
    return buf;
}

nlohmann::json FieldJson(const e57::FieldDescription& f)
{
    nlohmann::json j{{"name", f.name}, {"encoding", EncodingName(f.encoding)}, {"bitWidth", f.bitWidth}};
    if (f.encoding == e57::FieldEncoding::Integer || f.encoding == e57::FieldEncoding::ScaledInteger) {
        j["minimum"] = f.minimum;
        j["maximum"] = f.maximum;
    }
    if (f.encoding == e57::FieldEncoding::ScaledInteger) {
        j["scale"] = f.scale;
        j["offset"] = f.offset;
    }
    return j;
}

nlohmann::json ScanJson(int64_t index, const e57::Data3D& s)
{
    nlohmann::json j;
    j["index"] = index;
    j["name"] = s.name;
    j["guid"] = s.guid;
    j["description"] = s.description;
    j["pointCount"] = s.pointCount;
    j["hasColour"] = HasColour(s);
    nlohmann::json fields = nlohmann::json::array();
    for (const auto& f : s.prototype)
        fields.push_back(FieldJson(f));
    j["fields"] = fields;
    if (HasColour(s)) {
        const auto& c = s.colorLimits;
        j["colourLimits"] = {{"red", {c.colorRedMinimum, c.colorRedMaximum}},
                             {"green", {c.colorGreenMinimum, c.colorGreenMaximum}},
                             {"blue", {c.colorBlueMinimum, c.colorBlueMaximum}}};
    } else {
        j["colourLimits"] = nullptr;
    }
    const auto& p = s.pose;
    j["pose"] = {{"rotation", {{"w", p.rotation.w}, {"x", p.rotation.x}, {"y", p.rotation.y}, {"z", p.rotation.z}}},
                 {"translation", {{"x", p.translation.x}, {"y", p.translation.y}, {"z", p.translation.z}}}};
    if (s.hasCartesianBounds) {
        const auto& b = s.cartesianBounds;
        j["bounds"] = {{"x", {b.xMinimum, b.xMaximum}}, {"y", {b.yMinimum, b.yMaximum}}, {"z", {b.zMinimum, b.zMaximum}}};
    } else {
        j["bounds"] = nullptr;
    }
    return j;
}

void PrintScan(int64_t index, const e57::Data3D& s)
{
    std::printf("scan %lld: %s\n", static_cast<long long>(index), s.name.empty() ? "(no name)" : s.name.c_str());
    std::printf("  guid: %s\n", s.guid.c_str());
    if (!s.description.empty())
        std::printf("  description: %s\n", s.description.c_str());
    std::printf("  points: %lld\n", static_cast<long long>(s.pointCount));
    std::printf("  fields:\n");
    for (const auto& f : s.prototype)
        std::printf("    %s\n", FieldText(f).c_str());
    if (HasColour(s)) {
        const auto& c = s.colorLimits;
        std::printf("  colour limits: red %g..%g, green %g..%g, blue %g..%g\n", c.colorRedMinimum,
                    c.colorRedMaximum, c.colorGreenMinimum, c.colorGreenMaximum, c.colorBlueMinimum,
                    c.colorBlueMaximum);
    } else {
        std::printf("  colour: none\n");
    }
    const auto& p = s.pose;
    std::printf("  pose: rotation (w %.17g, x %.17g, y %.17g, z %.17g), translation (%.17g, %.17g, %.17g)\n",
                p.rotation.w, p.rotation.x, p.rotation.y, p.rotation.z, p.translation.x, p.translation.y,
                p.translation.z);
    if (s.hasCartesianBounds) {
        const auto& b = s.cartesianBounds;
        std::printf("  bounds: x %.17g..%.17g, y %.17g..%.17g, z %.17g..%.17g\n", b.xMinimum, b.xMaximum,
                    b.yMinimum, b.yMaximum, b.zMinimum, b.zMaximum);
    } else {
        std::printf("  bounds: none\n");
    }
}

int RunInfo(const InfoOptions& opt)
{
    try {
        e57::ReaderOptions readerOptions;
        readerOptions.checksumPolicy = 100;
        e57::Reader reader(opt.input, readerOptions);
        if (!reader.IsOpen()) {
            PrintFailure("E57-Datei konnte nicht geöffnet werden.", opt.input + ": cannot open as a regular file");
            return 1;
        }
        const int64_t scanCount = reader.GetData3DCount();
        const uint64_t badPages = reader.VerifyAllPages();

        nlohmann::json doc;
        if (opt.json) {
            doc["file"] = opt.input;
            doc["scanCount"] = scanCount;
            doc["checksumsGood"] = badPages == 0;
            doc["badPages"] = badPages;
            doc["scans"] = nlohmann::json::array();
        } else {
            std::printf("file: %s\n", opt.input.c_str());
            std::printf("scans: %lld\n", static_cast<long long>(scanCount));
            if (badPages == 0)
                std::printf("checksums: all pages good\n");
            else
                std::printf("checksums: %llu bad pages\n", static_cast<unsigned long long>(badPages));
        }
        double largestCoordinate = 0;
        for (int64_t i = 0; i < scanCount; ++i) {
            e57::Data3D scan;
            if (!reader.ReadData3D(i, scan)) {
                if (!opt.json)
                    std::printf("scan %lld: header cannot be read\n", static_cast<long long>(i));
                continue;
            }
            if (opt.json)
                doc["scans"].push_back(ScanJson(i, scan));
            else
                PrintScan(i, scan);
            largestCoordinate = std::max(largestCoordinate, LargestPosedCoordinate(scan));
        }
        reader.Close();
        WarnIfFarFromOrigin(largestCoordinate);
        if (opt.json) {
            // Texts from the file need not be valid UTF-8: replace what is not.
            const std::string text = doc.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
            std::printf("%s\n", text.c_str());
        }
        if (badPages != 0) {
            std::fprintf(stderr, "punktwolke info: %llu pages of %s have a bad checksum\n",
                         static_cast<unsigned long long>(badPages), opt.input.c_str());
            return 1;
        }
        return 0;
    } catch (const std::exception& e) {
        PrintFailure("E57-Datei konnte nicht geöffnet werden.", e.what());
        return 1;
    }
}

}  // namespace

void AddInfoCommand(CLI::App& app, int& exitStatus)
{
    auto opt = std::make_shared<InfoOptions>();
    auto* cmd = app.add_subcommand("info", "Show the scans of an E57 file: points, fields, pose, bounds, checksums");
    cmd->add_option("file", opt->input, "E57 file to inspect")->required();
    cmd->add_flag("--json", opt->json, "Write one JSON document instead of text");
    cmd->callback([opt, &exitStatus] { exitStatus = RunInfo(*opt); });
}
