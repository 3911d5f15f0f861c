// Files made by the writer, read back through the reader: headers and every
// value must come back bit for bit.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "e57/E57Exception.h"
#include "e57/Reader.h"
#include "e57/Writer.h"

namespace {

std::string TempPath(const std::string& name)
{
    return ::testing::TempDir() + "pw_roundtrip_" + name + ".e57";
}

bool SameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// One field of a generated scan with the values written and expected back.
struct Column {
    e57::WriterField field;
    std::vector<int64_t> integers;  // Integer / ScaledInteger (raw)
    std::vector<double> doubles;    // Float / Double
    std::vector<double> expected;   // what a double buffer must receive
};

struct Scan {
    e57::ScanHeader header;
    uint64_t count = 0;
    std::vector<Column> columns;
};

class Generator {
public:
    explicit Generator(uint64_t seed) : rng_(seed) {}

    uint64_t Below(uint64_t n) { return n == 0 ? 0 : rng_() % n; }

    // An integer field of exactly `bits` bits whose limits stay inside [lo, hi].
    e57::WriterField IntegerField(const std::string& name, unsigned bits, bool scaled, int64_t lo = INT64_MIN,
                                  int64_t hi = INT64_MAX)
    {
        uint64_t range = bits == 0 ? 0 : (uint64_t(1) << (bits - 1)) + Below(uint64_t(1) << (bits - 1));
        range = std::min(range, uint64_t(hi) - uint64_t(lo));
        const uint64_t room = uint64_t(hi) - uint64_t(lo) - range;  // how far the minimum may move up
        const int64_t minimum = int64_t(uint64_t(lo) + (room == ~uint64_t(0) ? rng_() : Below(room + 1)));
        const int64_t maximum = int64_t(uint64_t(minimum) + range);
        if (!scaled)
            return e57::WriterField::Integer(name, minimum, maximum);
        static const double kScales[] = {0.001, 1e-5, 0.25, 3.7, 1e-9, 123.456};
        static const double kOffsets[] = {0.0, -1000.5, 1e6, 0.1};
        return e57::WriterField::ScaledInteger(name, minimum, maximum, kScales[Below(6)], kOffsets[Below(4)]);
    }

    Column Fill(const e57::WriterField& f, uint64_t count)
    {
        Column c;
        c.field = f;
        for (uint64_t r = 0; r < count; ++r) {
            if (f.encoding == e57::FieldEncoding::Float || f.encoding == e57::FieldEncoding::Double) {
                double v = (double(int64_t(rng_())) / 9.2e18) * std::pow(10.0, double(Below(12)) - 4);
                if (f.encoding == e57::FieldEncoding::Float)
                    v = double(float(v));
                c.doubles.push_back(v);
                c.expected.push_back(v);
                continue;
            }
            const uint64_t span = uint64_t(f.maximum) - uint64_t(f.minimum);
            uint64_t u = span == ~uint64_t(0) ? rng_() : Below(span + 1);
            if (r % 53 == 0)
                u = span;
            if (r % 59 == 0)
                u = 0;
            const int64_t raw = int64_t(uint64_t(f.minimum) + u);
            c.integers.push_back(raw);
            c.expected.push_back(f.encoding == e57::FieldEncoding::ScaledInteger
                                     ? double(raw) * f.scale + f.offset
                                     : double(raw));
        }
        return c;
    }

    Scan MakeScan(int index)
    {
        Scan s;
        static const uint64_t kCounts[] = {0, 1, 3, 1000, 17000, 70001};
        s.count = kCounts[Below(6)];
        e57::ScanHeader& h = s.header;
        h.guid = "{scan " + std::to_string(index) + " ]]> & <tag>}";
        h.name = index % 2 ? "Ébène ✓ " + std::to_string(index) : "";
        h.description = index % 3 ? "line one\nline two" : "";
        if (Below(3) != 0) {
            h.hasPose = true;
            double q[4] = {double(int64_t(rng_())), double(int64_t(rng_())), double(int64_t(rng_())),
                           double(int64_t(rng_()))};
            const double n = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
            h.pose.rotation = {q[0] / n, q[1] / n, q[2] / n, q[3] / n};
            h.pose.translation = {double(int64_t(rng_())) / 1e13, -0.1, 1e-300};
        }
        std::vector<e57::WriterField> fields;
        // Coordinates: all three with one encoding, as scanners write them.
        const int cartesian = int(Below(4));
        for (const char* n : {"cartesianX", "cartesianY", "cartesianZ"}) {
            if (cartesian == 0)
                fields.push_back(e57::WriterField::Float(n));
            else if (cartesian == 1)
                fields.push_back(e57::WriterField::Double(n));
            else
                fields.push_back(IntegerField(n, 1 + unsigned(Below(64)), cartesian == 3));
        }
        if (Below(2)) {
            const unsigned bits = unsigned(Below(17));
            for (const char* n : {"colorRed", "colorGreen", "colorBlue"})
                fields.push_back(IntegerField(n, bits, false, 0, 65535));
            fields.push_back(IntegerField("isColorInvalid", Below(2) ? 1 : 0, false, 0, 1));
            h.hasColorLimits = true;
            h.colorLimits = {0, 255, 1, 65535, 2.5, 7.25};
        }
        if (Below(2)) {
            fields.push_back(IntegerField("intensity", unsigned(Below(65)), Below(2) == 1));
            h.hasIntensityLimits = true;
            h.intensityLimits = {-666.6, 666};
        }
        if (Below(2))
            fields.push_back(IntegerField("cartesianInvalidState", unsigned(Below(3)), false, 0, 2));
        if (Below(2))
            fields.push_back(IntegerField("rowIndex", unsigned(Below(32)), false, 0, INT32_MAX));
        if (Below(2))
            fields.push_back(Below(2) ? e57::WriterField::Double("timeStamp") : e57::WriterField::Float("timeStamp"));
        // Fields the reader does not know, of any width, between the others.
        const int extras = int(Below(3));
        for (int i = 0; i < extras; ++i) {
            const auto at = fields.begin() + std::ptrdiff_t(Below(fields.size() + 1));
            fields.insert(at, IntegerField("extra" + std::to_string(i), unsigned(Below(65)), Below(2) == 1));
        }
        for (const e57::WriterField& f : fields) {
            h.prototype.push_back(f);
            s.columns.push_back(Fill(f, s.count));
        }
        return s;
    }

private:
    std::mt19937_64 rng_;
};

void WriteScans(const std::string& path, std::vector<Scan>& scans, const e57::WriterOptions& options,
                Generator& gen)
{
    e57::Writer w(path, options);
    for (Scan& s : scans) {
        w.BeginScan(s.header);
        for (uint64_t done = 0; done < s.count;) {
            const uint64_t n = std::min<uint64_t>(s.count - done, 1 + gen.Below(30000));
            std::vector<e57::FieldValues> cols;
            for (const Column& c : s.columns)
                cols.push_back(c.integers.empty() && !c.doubles.empty()
                                   ? e57::FieldValues{c.doubles.data() + done, nullptr}
                                   : e57::FieldValues{nullptr, c.integers.empty() ? nullptr : c.integers.data() + done});
            w.WriteColumns(size_t(n), cols);
            done += n;
        }
        w.EndScan();
    }
    w.Close();
}

const Column* Find(const Scan& s, const std::string& name)
{
    for (const Column& c : s.columns)
        if (c.field.name == name)
            return &c;
    return nullptr;
}

void CheckHeader(const Scan& s, const e57::Data3D& d)
{
    const e57::ScanHeader& h = s.header;
    EXPECT_EQ(d.guid, h.guid);
    EXPECT_EQ(d.name, h.name);
    EXPECT_EQ(d.description, h.description);
    EXPECT_EQ(uint64_t(d.pointCount), s.count);
    const e57::RigidBodyTransform identity;
    const e57::RigidBodyTransform& pose = h.hasPose ? h.pose : identity;
    const double got[] = {d.pose.rotation.w,    d.pose.rotation.x,    d.pose.rotation.y,   d.pose.rotation.z,
                          d.pose.translation.x, d.pose.translation.y, d.pose.translation.z};
    const double want[] = {pose.rotation.w,    pose.rotation.x,    pose.rotation.y,   pose.rotation.z,
                           pose.translation.x, pose.translation.y, pose.translation.z};
    for (int i = 0; i < 7; ++i)
        EXPECT_TRUE(SameBits(got[i], want[i])) << "pose value " << i;
    if (h.hasColorLimits) {
        EXPECT_EQ(d.colorLimits.colorGreenMaximum, 65535);
        EXPECT_EQ(d.colorLimits.colorBlueMinimum, 2.5);
        EXPECT_EQ(d.colorLimits.colorBlueMaximum, 7.25);
    }
    if (h.hasIntensityLimits) {
        EXPECT_EQ(d.intensityLimits.intensityMinimum, -666.6);
        EXPECT_EQ(d.intensityLimits.intensityMaximum, 666);
    }
    ASSERT_EQ(d.prototype.size(), s.columns.size());
    for (size_t i = 0; i < s.columns.size(); ++i) {
        const e57::WriterField& w = s.columns[i].field;
        const e57::FieldDescription& r = d.prototype[i];
        EXPECT_EQ(r.name, w.name);
        EXPECT_EQ(r.encoding, w.encoding);
        EXPECT_EQ(r.bitWidth, w.BitWidth()) << w.name;
        if (w.encoding == e57::FieldEncoding::Integer || w.encoding == e57::FieldEncoding::ScaledInteger) {
            EXPECT_EQ(r.minimum, w.minimum);
            EXPECT_EQ(r.maximum, w.maximum);
        }
        if (w.encoding == e57::FieldEncoding::ScaledInteger) {
            EXPECT_TRUE(SameBits(r.scale, w.scale));
            EXPECT_TRUE(SameBits(r.offset, w.offset));
        }
    }
    const Column* x = Find(s, "cartesianX");
    EXPECT_EQ(d.hasCartesianBounds, s.count > 0);
    if (d.hasCartesianBounds && x) {
        EXPECT_EQ(d.cartesianBounds.xMinimum, *std::min_element(x->expected.begin(), x->expected.end()));
        EXPECT_EQ(d.cartesianBounds.xMaximum, *std::max_element(x->expected.begin(), x->expected.end()));
    }
}

void CheckPoints(const e57::Reader& reader, int64_t index, const Scan& s, size_t block, size_t stride = 1, size_t phase = 0)
{
    std::vector<double> x(block), y(block), z(block), intensity(block), time(block);
    std::vector<uint16_t> red(block), green(block), blue(block);
    std::vector<int8_t> colorInvalid(block), cartesianInvalid(block);
    std::vector<int32_t> row(block);
    e57::Data3DPointsData_d b;
    b.cartesianX = x.data();
    b.cartesianY = y.data();
    b.cartesianZ = z.data();
    b.intensity = intensity.data();
    b.timeStamp = time.data();
    b.colorRed = red.data();
    b.colorGreen = green.data();
    b.colorBlue = blue.data();
    b.isColorInvalid = colorInvalid.data();
    b.cartesianInvalidState = cartesianInvalid.data();
    b.rowIndex = row.data();
    e57::CompressedVectorReader cv = reader.SetUpData3DPointsData(index, block, b);
    struct Target {
        const char* name;
        const double* d;
        const uint16_t* u16;
        const int8_t* i8;
        const int32_t* i32;
    };
    const Target targets[] = {{"cartesianX", x.data(), nullptr, nullptr, nullptr},
                              {"cartesianY", y.data(), nullptr, nullptr, nullptr},
                              {"cartesianZ", z.data(), nullptr, nullptr, nullptr},
                              {"intensity", intensity.data(), nullptr, nullptr, nullptr},
                              {"timeStamp", time.data(), nullptr, nullptr, nullptr},
                              {"colorRed", nullptr, red.data(), nullptr, nullptr},
                              {"colorGreen", nullptr, green.data(), nullptr, nullptr},
                              {"colorBlue", nullptr, blue.data(), nullptr, nullptr},
                              {"isColorInvalid", nullptr, nullptr, colorInvalid.data(), nullptr},
                              {"cartesianInvalidState", nullptr, nullptr, cartesianInvalid.data(), nullptr},
                              {"rowIndex", nullptr, nullptr, nullptr, row.data()}};
    uint64_t done = 0;
    int mismatches = 0;
    // Only records r with r % stride == phase are decoded, one after the other.
    for (unsigned n; (n = cv.read((phase + stride - done % stride) % stride, stride)) > 0; done += n) {
        ASSERT_LE(done + n, s.count);
        const size_t first = (phase + stride - done % stride) % stride;
        const size_t kept = first < n ? (n - 1 - first) / stride + 1 : 0;
        for (const Target& t : targets) {
            const Column* c = Find(s, t.name);
            if (!c)
                continue;
            for (unsigned i = 0; i < kept && mismatches < 5; ++i) {
                const double want = c->expected[done + first + i * stride];
                const double got = t.d ? t.d[i] : t.u16 ? double(t.u16[i]) : t.i8 ? double(t.i8[i]) : double(t.i32[i]);
                if (!SameBits(got, want)) {
                    ++mismatches;
                    ADD_FAILURE() << t.name << " record " << done + first + i * stride << ": got " << got << ", wrote " << want
                                  << " (" << c->field.BitWidth() << " bits, block " << block << ")";
                }
            }
        }
    }
    EXPECT_EQ(done, s.count);
    EXPECT_EQ(cv.read(), 0u);
}

}  // namespace

// Random prototypes (every bit width, random limits, scales and offsets, unknown
// fields in between), several scans per file, packets of several sizes.
TEST(WriterRoundTrip, RandomScansReadBackBitForBit)
{
    Generator gen(20261122);
    for (int round = 0; round < 10; ++round) {
        e57::WriterOptions options;
        options.maxPacketBytes = round % 3 == 0 ? 65536 : (round % 3 == 1 ? 4096 : 256);
        options.writeIndexPacket = round % 2 == 0;
        options.writeEmptyPackets = round % 4 == 1;
        options.unevenStreams = round % 5 >= 3;
        std::vector<Scan> scans;
        const int scanCount = 1 + int(gen.Below(4));
        for (int i = 0; i < scanCount; ++i)
            scans.push_back(gen.MakeScan(round * 10 + i));
        const std::string path = TempPath(std::to_string(round));
        WriteScans(path, scans, options, gen);

        e57::Reader reader(path, e57::ReaderOptions());
        ASSERT_TRUE(reader.IsOpen());
        EXPECT_EQ(reader.VerifyAllPages(), 0u);
        ASSERT_EQ(reader.GetData3DCount(), scanCount);
        for (int i = 0; i < scanCount; ++i) {
            SCOPED_TRACE("round " + std::to_string(round) + " scan " + std::to_string(i));
            e57::Data3D d;
            ASSERT_TRUE(reader.ReadData3D(i, d));
            CheckHeader(scans[size_t(i)], d);
            static const size_t kBlocks[] = {1, 7, 1000, 65536};
            CheckPoints(reader, i, scans[size_t(i)], kBlocks[gen.Below(4)]);
            // Every stride-th record alone, the others skipped undecoded.
            static const size_t kStrides[] = {2, 3, 10, 100};
            const size_t stride = kStrides[gen.Below(4)];
            CheckPoints(reader, i, scans[size_t(i)], kBlocks[gen.Below(4)], stride, size_t(gen.Below(stride)));
        }
        reader.Close();
        std::remove(path.c_str());
    }
}

// The standard-field entry point writes what WriteColumns would, converting
// 8/16-bit colours and flags from their buffer types.
TEST(WriterRoundTrip, WritePointsFromStandardBuffers)
{
    struct Points {
        std::vector<double> r, az, el;
        std::vector<uint16_t> red, green, blue;
        std::vector<int8_t> invalid;
        explicit Points(size_t n) : r(n), az(n), el(n), red(n), green(n), blue(n), invalid(n) {}
        e57::Data3DPointsData_d At(size_t i)
        {
            e57::Data3DPointsData_d b;
            b.sphericalRange = &r[i];
            b.sphericalAzimuth = &az[i];
            b.sphericalElevation = &el[i];
            b.colorRed = &red[i];
            b.colorGreen = &green[i];
            b.colorBlue = &blue[i];
            b.isColorInvalid = &invalid[i];
            return b;
        }
    };
    const std::string path = TempPath("standard");
    const size_t n = 70000;
    Points in(n), out(n);
    for (size_t i = 0; i < n; ++i) {
        in.r[i] = 0.5 + double(i) * 0.001;
        in.az[i] = -3.0 + double(i % 600) * 0.01;
        in.el[i] = -1.5 + double(i % 300) * 0.01;
        in.red[i] = uint16_t(i * 7);
        in.green[i] = uint16_t(65535 - i);
        in.blue[i] = uint16_t(i % 2 ? 65535 : 0);
        in.invalid[i] = int8_t(i % 11 == 0);
    }
    {
        e57::Writer w(path);
        e57::ScanHeader h;
        h.guid = "spherical";
        h.prototype = e57::SphericalFields(e57::FieldEncoding::Double);
        e57::AddColorFields(h, 65535, true);
        w.BeginScan(h);
        w.WritePoints(n / 2, in.At(0));
        w.WritePoints(n - n / 2, in.At(n / 2));
        e57::Data3DPointsData_d missing;
        EXPECT_THROW(w.WritePoints(1, missing), e57::E57Exception);
        w.EndScan();
        w.Close();
    }
    e57::Reader reader(path, e57::ReaderOptions());
    e57::Data3D d;
    ASSERT_TRUE(reader.ReadData3D(0, d));
    EXPECT_EQ(d.pointCount, int64_t(n));
    EXPECT_TRUE(d.pointFields.sphericalRangeField);
    EXPECT_FALSE(d.pointFields.cartesianXField);
    EXPECT_FALSE(d.hasCartesianBounds);
    EXPECT_EQ(d.colorLimits.colorBlueMaximum, 65535);
    EXPECT_TRUE(d.pointFields.isColorInvalidField);
    e57::CompressedVectorReader cv = reader.SetUpData3DPointsData(0, n, out.At(0));
    EXPECT_EQ(cv.read(), n);
    EXPECT_TRUE(out.r == in.r && out.az == in.az && out.el == in.el);
    EXPECT_TRUE(out.red == in.red && out.green == in.green && out.blue == in.blue);
    EXPECT_EQ(out.invalid, in.invalid);
    std::remove(path.c_str());
}
