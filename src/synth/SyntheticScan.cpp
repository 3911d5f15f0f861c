#include "synth/SyntheticScan.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "e57/E57Exception.h"
#include "e57/Writer.h"

namespace synth {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kHeight = 3.0;   // storey height
constexpr double kLength = 16.0;  // footprint along X
constexpr double kWidth = 10.0;   // footprint along Y
constexpr size_t kBlock = 65536;

// xoshiro256** seeded through splitmix64: fast and identical on every platform.
class Random {
public:
    explicit Random(uint64_t seed)
    {
        for (uint64_t& s : s_) {
            seed += 0x9E3779B97F4A7C15ull;
            uint64_t z = seed;
            z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
            z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
            s = z ^ (z >> 31);
        }
    }
    uint64_t Next()
    {
        const uint64_t result = Rotl(s_[1] * 5, 7) * 9;
        const uint64_t t = s_[1] << 17;
        s_[2] ^= s_[0];
        s_[3] ^= s_[1];
        s_[1] ^= s_[2];
        s_[0] ^= s_[3];
        s_[2] ^= t;
        s_[3] = Rotl(s_[3], 45);
        return result;
    }
    // Uniform in [0, 1).
    double Uniform() { return double(Next() >> 11) * (1.0 / 9007199254740992.0); }
    // Roughly normal, mean 0, standard deviation 1 (sum of four uniforms).
    double Gauss()
    {
        const uint64_t r = Next();
        const double sum = double(r & 0xFFFF) + double((r >> 16) & 0xFFFF) + double((r >> 32) & 0xFFFF) +
                           double(r >> 48);
        return (sum / 65535.0 - 2.0) * 1.7320508075688772;
    }

private:
    static uint64_t Rotl(uint64_t x, int k) { return (x << k) | (x >> (64 - k)); }
    uint64_t s_[4];
};

struct Vec {
    double x, y, z;
};

// A planar rectangle o + a*u + b*v (a, b in [0, 1)) with its surface colour.
struct Rect {
    Vec o, u, v;
    double red, green, blue;  // 0..1
    double reflectance;
};

struct Opening {
    double from, to;      // along the wall
    double bottom, top;   // height
};

void AddRect(std::vector<Rect>& rects, Vec o, Vec u, Vec v, const double (&rgb)[3], double reflectance)
{
    rects.push_back({o, u, v, rgb[0], rgb[1], rgb[2], reflectance});
}

// A vertical wall from (x0, y0) to (x1, y1), minus its openings (sorted,
// non-overlapping, given as distances along the wall).
void AddWall(std::vector<Rect>& rects, double x0, double y0, double x1, double y1, std::vector<Opening> openings)
{
    static const double kWallColour[3] = {0.86, 0.84, 0.80};
    const double length = std::hypot(x1 - x0, y1 - y0);
    const Vec dir = {(x1 - x0) / length, (y1 - y0) / length, 0};
    auto piece = [&](double from, double to, double bottom, double top) {
        if (to <= from || top <= bottom)
            return;
        AddRect(rects, {x0 + dir.x * from, y0 + dir.y * from, bottom}, {dir.x * (to - from), dir.y * (to - from), 0},
                {0, 0, top - bottom}, kWallColour, 0.8);
    };
    double at = 0;
    for (const Opening& o : openings) {
        piece(at, o.from, 0, kHeight);
        piece(o.from, o.to, 0, o.bottom);
        piece(o.from, o.to, o.top, kHeight);
        at = o.to;
    }
    piece(at, length, 0, kHeight);
}

// The visible faces of an axis-aligned box standing on the floor.
void AddBox(std::vector<Rect>& rects, double x0, double y0, double x1, double y1, double height,
            const double (&rgb)[3], double reflectance, bool top)
{
    const double dx = x1 - x0, dy = y1 - y0;
    AddRect(rects, {x0, y0, 0}, {dx, 0, 0}, {0, 0, height}, rgb, reflectance);
    AddRect(rects, {x0, y1, 0}, {dx, 0, 0}, {0, 0, height}, rgb, reflectance);
    AddRect(rects, {x0, y0, 0}, {0, dy, 0}, {0, 0, height}, rgb, reflectance);
    AddRect(rects, {x1, y0, 0}, {0, dy, 0}, {0, 0, height}, rgb, reflectance);
    if (top)
        AddRect(rects, {x0, y0, height}, {dx, 0, 0}, {0, dy, 0}, rgb, reflectance);
}

std::vector<Rect> Building()
{
    std::vector<Rect> r;
    static const double kFloor[3] = {0.55, 0.50, 0.45};
    static const double kCeiling[3] = {0.95, 0.95, 0.93};
    static const double kConcrete[3] = {0.62, 0.62, 0.60};
    static const double kWood[3] = {0.60, 0.42, 0.25};
    static const double kBlue[3] = {0.20, 0.35, 0.70};
    static const double kRed[3] = {0.75, 0.20, 0.18};
    static const double kSheet[3] = {0.90, 0.88, 0.70};
    AddRect(r, {0, 0, 0}, {kLength, 0, 0}, {0, kWidth, 0}, kFloor, 0.5);
    AddRect(r, {0, 0, kHeight}, {kLength, 0, 0}, {0, kWidth, 0}, kCeiling, 0.9);
    const Opening door = {0, 0, 0, 2.1};
    AddWall(r, 0, 0, kLength, 0, {{3, 5, 1, 2.2}, {7, 8, door.bottom, door.top}, {10, 12, 1, 2.2}});
    AddWall(r, 0, kWidth, kLength, kWidth, {{2, 4, 1, 2.2}, {8, 10, 1, 2.2}, {12, 14, 1, 2.2}});
    AddWall(r, 0, 0, 0, kWidth, {{4, 5, 0, 2.1}});
    AddWall(r, kLength, 0, kLength, kWidth, {{3, 6, 0.9, 2.3}});
    AddWall(r, 9, 6, 9, kWidth, {{1, 2, 0, 2.1}});  // interior walls with doors: a room in the north-east
    AddWall(r, 9, 6, kLength, 6, {{2.5, 3.5, 0, 2.1}});
    AddBox(r, 3.8, 4.8, 4.2, 5.2, kHeight, kConcrete, 0.6, false);   // columns
    AddBox(r, 11.8, 4.8, 12.2, 5.2, kHeight, kConcrete, 0.6, false);
    AddBox(r, 2.0, 7.0, 3.6, 7.8, 0.75, kWood, 0.5, true);           // table with four chairs
    for (const double x : {2.25, 2.9})
        for (const double y0 : {6.45, 7.95})
            AddBox(r, x, y0, x + 0.45, y0 + 0.45, 0.45, kWood, 0.5, true);
    AddBox(r, 13.0, 8.5, 15.0, 9.5, 1.8, kBlue, 0.4, true);          // cabinet
    AddBox(r, 10.0, 8.0, 11.6, 10.0, 0.5, kSheet, 0.7, true);        // bed
    AddBox(r, 6.0, 1.5, 7.0, 2.5, 1.0, kRed, 0.45, true);            // crate
    AddBox(r, 5.0, 9.0, 7.4, 9.9, 0.8, kBlue, 0.4, true);            // sofa
    AddBox(r, 12.4, 0.0, 15.6, 0.6, 0.9, kConcrete, 0.6, true);      // kitchen counter
    return r;
}

double Area(const Rect& r)
{
    const Vec c = {r.u.y * r.v.z - r.u.z * r.v.y, r.u.z * r.v.x - r.u.x * r.v.z, r.u.x * r.v.y - r.u.y * r.v.x};
    return std::sqrt(c.x * c.x + c.y * c.y + c.z * c.z);
}

struct Station {
    Vec position;
    double angle;  // rotation about Z, radians
};

Station StationFor(int index, Random& rng)
{
    static const Vec kFixed[4] = {{4.5, 3.0, 1.5}, {12.0, 3.5, 1.5}, {5.5, 8.0, 1.4}, {13.0, 6.5, 1.6}};
    Station s;
    if (index < 4)
        s.position = kFixed[index];
    else
        s.position = {1.0 + rng.Uniform() * (kLength - 2.0), 1.0 + rng.Uniform() * (kWidth - 2.0),
                      1.3 + rng.Uniform() * 0.4};
    s.angle = index == 0 ? 0.0 : rng.Uniform() * 2.0 * kPi - kPi;
    return s;
}

std::string GuidFor(uint64_t seed, uint64_t salt)
{
    Random r(seed * 0x100000001B3ull + salt);
    const uint64_t a = r.Next(), b = r.Next();
    char buf[64];
    std::snprintf(buf, sizeof buf, "{%08X-%04X-%04X-%04X-%012llX}", unsigned(a >> 32), unsigned((a >> 16) & 0xFFFF),
                  unsigned(0x4000 | (a & 0x0FFF)), unsigned(0x8000 | (b >> 50)),
                  static_cast<unsigned long long>(b & 0xFFFFFFFFFFFFull));
    return buf;
}

// Per-scan sample buffers, allocated once.
struct Block {
    std::vector<double> x, y, z, intensity;
    std::vector<int64_t> red, green, blue, colorInvalid, cartesianInvalid, intensityRaw;
    explicit Block(size_t n)
        : x(n), y(n), z(n), intensity(n), red(n), green(n), blue(n), colorInvalid(n), cartesianInvalid(n),
          intensityRaw(n)
    {
    }
};

}  // namespace

SynthResult WriteSyntheticScan(const std::string& path, const SynthOptions& options)
{
    if (options.scans < 1 || options.scans > 1000)
        throw e57::E57Exception("the number of scans must be between 1 and 1000");

    const std::vector<Rect> rects = Building();
    std::vector<double> cumulative;
    double total = 0;
    for (const Rect& r : rects) {
        total += Area(r);
        cumulative.push_back(total);
    }

    e57::WriterOptions writerOptions;
    writerOptions.guid = GuidFor(options.seed, 0);
    e57::Writer writer(path, writerOptions);
    Block block(kBlock);
    SynthResult result;
    Random stationRng(options.seed ^ 0x53544154494F4Eull);

    for (int scan = 0; scan < options.scans; ++scan) {
        const uint64_t count = options.points / uint64_t(options.scans) +
                               (uint64_t(scan) < options.points % uint64_t(options.scans) ? 1 : 0);
        const Station station = StationFor(scan, stationRng);
        const int kind = scan % 4;
        Random rng(options.seed * 0x9E3779B97F4A7C15ull + uint64_t(scan) * 0xD1B54A32D192ED03ull + 1);

        e57::ScanHeader h;
        h.guid = GuidFor(options.seed, uint64_t(scan) + 1);
        char name[64];
        std::snprintf(name, sizeof name, "Station %d", scan + 1);
        h.name = name;
        h.description = "synthetic scan of a small building";
        if (scan > 0) {
            h.hasPose = true;
            h.pose.rotation = {std::cos(station.angle / 2), 0.0, 0.0, std::sin(station.angle / 2)};
            h.pose.translation = {station.position.x, station.position.y, station.position.z};
        }
        const bool colour = kind != 3;
        const bool colour16 = kind == 1;
        const bool colourInvalid = kind == 0 || kind == 1;
        switch (kind) {
        case 0: h.prototype = e57::CartesianFields(e57::FieldEncoding::Float); break;
        case 1: h.prototype = e57::CartesianFields(e57::FieldEncoding::Double); break;
        case 2: h.prototype = e57::CartesianFields(e57::FieldEncoding::ScaledInteger, 0.0005, 100000); break;
        default: h.prototype = e57::CartesianFields(e57::FieldEncoding::Float); break;
        }
        if (kind == 1)
            h.prototype.push_back(e57::WriterField::Integer("cartesianInvalidState", 0, 2));
        if (colour)
            e57::AddColorFields(h, colour16 ? 65535 : 255, colourInvalid);
        if (kind == 0) {
            h.prototype.push_back(e57::WriterField::Integer("intensity", 0, 2047));
            h.hasIntensityLimits = true;
            h.intensityLimits = {0, 2047};
        } else if (kind == 3) {
            h.prototype.push_back(e57::WriterField::FloatWithLimits("intensity", e57::FieldEncoding::Float, 0, 1));
            h.hasIntensityLimits = true;
            h.intensityLimits = {0, 1};
        }

        // Columns in prototype order.
        std::vector<e57::FieldValues> columns;
        for (const e57::WriterField& f : h.prototype) {
            if (f.name == "cartesianX") columns.push_back({block.x.data(), nullptr});
            else if (f.name == "cartesianY") columns.push_back({block.y.data(), nullptr});
            else if (f.name == "cartesianZ") columns.push_back({block.z.data(), nullptr});
            else if (f.name == "cartesianInvalidState") columns.push_back({nullptr, block.cartesianInvalid.data()});
            else if (f.name == "colorRed") columns.push_back({nullptr, block.red.data()});
            else if (f.name == "colorGreen") columns.push_back({nullptr, block.green.data()});
            else if (f.name == "colorBlue") columns.push_back({nullptr, block.blue.data()});
            else if (f.name == "isColorInvalid") columns.push_back({nullptr, block.colorInvalid.data()});
            else if (f.name == "intensity" && f.encoding == e57::FieldEncoding::Integer)
                columns.push_back({nullptr, block.intensityRaw.data()});
            else columns.push_back({block.intensity.data(), nullptr});
        }

        // World -> scanner: p_local = R(-angle) * (p - t).
        const double c = std::cos(station.angle), s = std::sin(station.angle);
        const Vec t = scan > 0 ? station.position : Vec{0, 0, 0};
        const double tint = 0.85 + 0.3 * rng.Uniform();  // exposure of this station
        const double colourMax = colour16 ? 65535.0 : 255.0;
        writer.BeginScan(h);
        for (uint64_t done = 0; done < count;) {
            const size_t n = size_t(std::min<uint64_t>(kBlock, count - done));
            for (size_t i = 0; i < n; ++i) {
                const double pick = rng.Uniform() * total;
                const size_t k = size_t(std::upper_bound(cumulative.begin(), cumulative.end(), pick) - cumulative.begin());
                const Rect& r = rects[std::min(k, rects.size() - 1)];
                const double a = rng.Uniform(), b = rng.Uniform();
                const double wx = r.o.x + a * r.u.x + b * r.v.x + 0.002 * rng.Gauss();
                const double wy = r.o.y + a * r.u.y + b * r.v.y + 0.002 * rng.Gauss();
                const double wz = r.o.z + a * r.u.z + b * r.v.z + 0.002 * rng.Gauss();
                const double dx = wx - station.position.x, dy = wy - station.position.y,
                             dz = wz - station.position.z;
                const double lx = wx - t.x, ly = wy - t.y;
                block.x[i] = c * lx + s * ly;
                block.y[i] = -s * lx + c * ly;
                block.z[i] = wz - t.z;
                block.cartesianInvalid[i] = 0;
                const double distance = std::sqrt(dx * dx + dy * dy + dz * dz);
                const double shade = std::max(0.0, std::min(1.0, tint * (1.0 - 0.02 * distance) + 0.03 * rng.Gauss()));
                block.red[i] = int64_t(std::min(1.0, r.red * shade) * colourMax + 0.5);
                block.green[i] = int64_t(std::min(1.0, r.green * shade) * colourMax + 0.5);
                block.blue[i] = int64_t(std::min(1.0, r.blue * shade) * colourMax + 0.5);
                block.colorInvalid[i] = 0;
                if (colourInvalid && (rng.Next() & 63) == 0) {  // about 1.6 % without colour
                    block.colorInvalid[i] = 1;
                    block.red[i] = block.green[i] = block.blue[i] = 0;
                }
                const double intensity = std::max(0.0, std::min(1.0, r.reflectance * (1.0 - 0.03 * distance)));
                block.intensity[i] = intensity;
                block.intensityRaw[i] = int64_t(intensity * 2047.0 + 0.5);
            }
            writer.WriteColumns(n, columns);
            done += n;
        }
        writer.EndScan();
        result.pointsPerScan.push_back(count);
        result.points += count;
    }
    writer.Close();
    return result;
}

bool EnsureSyntheticScan(const std::string& path, const SynthOptions& options)
{
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0)
        return false;
    const std::string temp = path + ".tmp" + std::to_string(::getpid());
    try {
        WriteSyntheticScan(temp, options);
    } catch (...) {
        std::remove(temp.c_str());
        throw;
    }
    if (std::rename(temp.c_str(), path.c_str()) != 0) {
        const std::string reason = std::strerror(errno);
        std::remove(temp.c_str());
        throw e57::E57Exception("cannot rename " + temp + " to " + path + ": " + reason);
    }
    return true;
}

}  // namespace synth
