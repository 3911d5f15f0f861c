// Writes small seed inputs for the fuzz targets with the project's own
// writers: E57 files of several layouts (encodings, colour, poses, small
// packets with index and empty packets, several scans, no points), their XML
// sections on their own, and point files.
//   make_seeds OUTDIR [E57FILE...]
//     -> OUTDIR/e57/*.e57, OUTDIR/xml/*.xml, OUTDIR/gspc/*.gspc; the XML of each
//        further E57FILE is added to OUTDIR/xml as well; OUTDIR/preview/*.bin
//        are point files behind the preview target's settings block.
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "e57/Writer.h"
#include "import/GspcWriter.h"

namespace {

using Column = std::function<double(size_t)>;

struct Scan {
    e57::ScanHeader header;
    std::vector<Column> columns;  // one per prototype field: value of record i
    size_t records = 0;
};

void WriteE57(const std::string& path, const std::vector<Scan>& scans, const e57::WriterOptions& options = {})
{
    e57::Writer writer(path, options);
    for (const Scan& s : scans) {
        writer.BeginScan(s.header);
        std::vector<std::vector<double>> values(s.columns.size(), std::vector<double>(s.records));
        std::vector<e57::FieldValues> cols;
        for (size_t c = 0; c < s.columns.size(); ++c) {
            for (size_t i = 0; i < s.records; ++i)
                values[c][i] = s.columns[c](i);
            cols.push_back({values[c].data(), nullptr});
        }
        if (s.records != 0)
            writer.WriteColumns(s.records, cols);
        writer.EndScan();
    }
    writer.Close();
}

std::vector<uint8_t> Slurp(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

uint64_t U64(const std::vector<uint8_t>& b, size_t at)
{
    uint64_t v = 0;
    for (int i = 7; i >= 0; --i)
        v = (v << 8) | b[at + i];
    return v;
}

// The XML section of a written file, checksum bytes removed.
std::string XmlOf(const std::vector<uint8_t>& file)
{
    std::string logical;
    for (size_t p = 0; p + 1024 <= file.size(); p += 1024)
        logical.append(reinterpret_cast<const char*>(file.data() + p), 1020);
    const uint64_t offset = U64(file, 24);
    const uint64_t start = offset / 1024 * 1020 + offset % 1024;
    return start < logical.size() ? logical.substr(start, U64(file, 32)) : std::string();
}

Scan Cartesian(e57::FieldEncoding encoding, size_t records, const char* guid)
{
    Scan s;
    s.header.guid = guid;
    s.header.prototype = e57::CartesianFields(encoding);
    s.records = records;
    s.columns = {[](size_t i) { return std::sin(0.1 * double(i)) * 3.0; },
                 [](size_t i) { return std::cos(0.1 * double(i)) * 2.0; }, [](size_t i) { return 0.01 * double(i); }};
    return s;
}

void AddColour(Scan& s, int64_t maximum, bool invalidFlag)
{
    for (e57::WriterField& f : e57::ColorFields(maximum))
        s.header.prototype.push_back(f);
    s.header.hasColorLimits = true;
    s.header.colorLimits = {0.0, double(maximum), 0.0, double(maximum), 0.0, double(maximum)};
    const double m = double(maximum);
    s.columns.push_back([m](size_t i) { return std::fmod(double(i) * 7.0, m + 1); });
    s.columns.push_back([m](size_t i) { return std::fmod(double(i) * 13.0, m + 1); });
    s.columns.push_back([m](size_t i) { return std::fmod(double(i) * 29.0, m + 1); });
    if (invalidFlag) {
        s.header.prototype.push_back(e57::WriterField::Integer("isColorInvalid", 0, 1));
        s.columns.push_back([](size_t i) { return double(i % 5 == 0); });
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: make_seeds OUTDIR [E57FILE...]\n");
        return 2;
    }
    const std::string out = argv[1];
    for (const char* sub : {"", "/e57", "/xml", "/gspc", "/preview"})
        mkdir((out + sub).c_str(), 0755);
    std::vector<std::string> e57Files;
    auto e57 = [&](const std::string& name) {
        e57Files.push_back(out + "/e57/" + name + ".e57");
        return e57Files.back();
    };

    try {
        {  // float coordinates, 8-bit colour with invalid flags, a pose
            Scan s = Cartesian(e57::FieldEncoding::Float, 60, "{float-colour}");
            AddColour(s, 255, true);
            s.header.hasPose = true;
            s.header.pose.rotation = {0.7071067811865476, 0.0, 0.0, 0.7071067811865476};
            s.header.pose.translation = {10.0, -5.0, 1.5};
            s.header.name = "Raum 1";
            WriteE57(e57("float_colour_pose"), {s});
        }
        {  // scaled integers in small packets with index and empty packets, two scans
            e57::WriterOptions o;
            o.maxPacketBytes = 128;
            o.writeIndexPacket = true;
            o.writeEmptyPackets = true;
            Scan a = Cartesian(e57::FieldEncoding::ScaledInteger, 200, "{scaled-a}");
            a.header.prototype.push_back(e57::WriterField::Integer("intensity", 0, 4095));
            a.columns.push_back([](size_t i) { return double(i * 37 % 4096); });
            a.header.hasIntensityLimits = true;
            a.header.intensityLimits = {0.0, 4095.0};
            Scan b = Cartesian(e57::FieldEncoding::Double, 40, "{double-b}");
            AddColour(b, 65535, false);
            WriteE57(e57("scaled_packets_two_scans"), {a, b}, o);
        }
        {  // a scan without points between two with points
            Scan a = Cartesian(e57::FieldEncoding::Double, 10, "{a}");
            Scan empty = Cartesian(e57::FieldEncoding::Double, 0, "{empty}");
            Scan c = Cartesian(e57::FieldEncoding::Float, 10, "{c}");
            WriteE57(e57("with_empty_scan"), {a, empty, c});
        }
        {  // spherical coordinates only
            Scan s;
            s.header.guid = "{spherical}";
            s.header.prototype = e57::SphericalFields(e57::FieldEncoding::Float);
            s.records = 50;
            s.columns = {[](size_t i) { return 1.0 + 0.1 * double(i); }, [](size_t i) { return 0.05 * double(i); },
                         [](size_t i) { return 0.01 * double(i) - 0.2; }};
            WriteE57(e57("spherical_only"), {s});
        }
        {  // intensity only, no coordinates at all
            Scan s;
            s.header.guid = "{intensity-only}";
            s.header.prototype = {e57::WriterField::Integer("intensity", 0, 255)};
            s.records = 30;
            s.columns = {[](size_t i) { return double(i); }};
            WriteE57(e57("intensity_only"), {s});
        }
        {  // an extension field, constant (0-bit) fields and an odd bit width
            e57::WriterOptions o;
            o.namespaces = {{"nor", "http://www.libe57.org/E57_EXT_surface_normals.txt"}};
            Scan s = Cartesian(e57::FieldEncoding::ScaledInteger, 80, "{normals}");
            s.header.prototype.push_back(e57::WriterField::Float("nor:normalX"));
            s.columns.push_back([](size_t i) { return double(i % 3) - 1.0; });
            s.header.prototype.push_back(e57::WriterField::Integer("returnIndex", 0, 0));
            s.columns.push_back([](size_t) { return 0.0; });
            s.header.prototype.push_back(e57::WriterField::Integer("rowIndex", -3, 1000));
            s.columns.push_back([](size_t i) { return double(i) - 3.0; });
            s.header.prototype.push_back(e57::WriterField::Integer("cartesianInvalidState", 0, 2));
            s.columns.push_back([](size_t i) { return double(i % 3); });
            WriteE57(e57("extension_and_zero_bits"), {s}, o);
        }
        {  // no scans at all
            WriteE57(e57("no_scans"), {});
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "make_seeds: %s\n", e.what());
        return 1;
    }

    for (int i = 2; i < argc; ++i)
        e57Files.push_back(argv[i]);
    for (const std::string& path : e57Files) {
        const std::vector<uint8_t> bytes = Slurp(path);
        if (bytes.size() < 1024 || bytes.size() % 1024 != 0)
            continue;  // not a whole E57 file: no XML to take
        const std::string name = path.substr(path.rfind('/') + 1);
        std::ofstream(out + "/xml/" + name.substr(0, name.size() - 4) + ".xml", std::ios::binary)
            << XmlOf(bytes);
    }

    for (int points : {0, 1, 40}) {
        GspcWriter w;
        const std::string path = out + "/gspc/points_" + std::to_string(points) + ".gspc";
        if (!w.Open(path.c_str()))
            return 1;
        for (int i = 0; i < points; ++i)
            w.Write(float(i), float(i) * 0.5f, -float(i), static_cast<unsigned char>(i), 200, 255);
        w.Close();
    }

    // A room of 4 x 3 x 2.5 m on a 25 cm grid (floor, ceiling, four walls,
    // coloured by surface), behind settings for every view and colour rule.
    const std::string room = out + "/gspc/room.gspc";
    {
        GspcWriter w;
        if (!w.Open(room.c_str()))
            return 1;
        const double step = 0.25;
        for (int i = 0; i <= 16; ++i)
            for (int j = 0; j <= 12; ++j) {
                const float x = float(i * step), y = float(j * step);
                w.Write(x, y, 0.0f, 120, 90, 60);
                w.Write(x, y, 2.5f, 230, 230, 230);
            }
        for (int k = 0; k <= 10; ++k) {
            const float z = float(k * step);
            for (int i = 0; i <= 16; ++i) {
                w.Write(float(i * step), 0.0f, z, 200, 60, 60);
                w.Write(float(i * step), 3.0f, z, 200, 60, 60);
            }
            for (int j = 0; j <= 12; ++j) {
                w.Write(0.0f, float(j * step), z, 60, 60, 200);
                w.Write(4.0f, float(j * step), z, 60, 60, 200);
            }
        }
        if (!w.Close())
            return 1;
    }
    const std::vector<uint8_t> roomBytes = Slurp(room);
    for (int view = 0; view < 7; ++view) {
        // 160 x 120 pixels, floor 0 and cut 1.1 m when given, plane at 1.5 m.
        std::vector<uint8_t> seed(28, 0);
        seed[0] = static_cast<uint8_t>(view | ((view % 4) << 3) | (view == 1 ? 0xC0 : 0));
        seed[1] = 159;
        seed[2] = 119;
        seed[12] = 10;
        seed[20] = 15;
        seed.insert(seed.end(), roomBytes.begin(), roomBytes.end());
        std::ofstream(out + "/preview/room_view" + std::to_string(view) + ".bin", std::ios::binary)
            .write(reinterpret_cast<const char*>(seed.data()), std::streamsize(seed.size()));
    }
    return 0;
}
