// Bitpacked streams: every bit width at every bit offset, values split across
// packets, fields advancing at different rates, skipped fields, conversions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "support/E57TestSupport.h"
#include "e57/BitpackDecoder.h"
#include "e57/E57Exception.h"

using namespace e57test;

namespace {

// Reference packer: appends `bits` bits of `value`, least significant first.
struct BitWriter {
    Bytes bytes;
    uint64_t bitCount = 0;
    void Put(uint64_t value, unsigned bits)
    {
        for (unsigned i = 0; i < bits; ++i, ++bitCount) {
            if (bitCount % 8 == 0)
                bytes.push_back(0);
            if ((value >> i) & 1)
                bytes.back() |= static_cast<uint8_t>(1u << (bitCount % 8));
        }
    }
};

Bytes DataPacket(const std::vector<Bytes>& streams)
{
    Bytes p = {1, 0, 0, 0, static_cast<uint8_t>(streams.size()), static_cast<uint8_t>(streams.size() >> 8)};
    for (const Bytes& s : streams) {
        p.push_back(static_cast<uint8_t>(s.size()));
        p.push_back(static_cast<uint8_t>(s.size() >> 8));
    }
    for (const Bytes& s : streams)
        p.insert(p.end(), s.begin(), s.end());
    while (p.size() % 4)
        p.push_back(0);
    p[2] = static_cast<uint8_t>(p.size() - 1);
    p[3] = static_cast<uint8_t>((p.size() - 1) >> 8);
    return p;
}

// A one-scan file whose points section (at 48) holds `packets`.
Bytes PointsFile(const std::string& prototypeXml, uint64_t recordCount, const std::vector<Bytes>& packets)
{
    Bytes section(32, 0);
    section[0] = 1;
    for (const Bytes& p : packets)
        section.insert(section.end(), p.begin(), p.end());
    PutU64(section, 8, section.size());
    PutU64(section, 16, 80);
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<e57Root type=\"Structure\" xmlns=\"http://www.astm.org/COMMIT/E57/2010-e57-v1.0\" "
        "xmlns:nor=\"http://www.libe57.org/E57_EXT_surface_normals.txt\">\n"
        "<formatName type=\"String\"><![CDATA[ASTM E57 3D Imaging Data File]]></formatName>\n"
        "<guid type=\"String\"><![CDATA[file]]></guid>\n"
        "<data3D type=\"Vector\" allowHeterogeneousChildren=\"1\"><vectorChild type=\"Structure\">\n"
        "<guid type=\"String\"><![CDATA[scan-0]]></guid>\n"
        "<points type=\"CompressedVector\" fileOffset=\"48\" recordCount=\"" +
        std::to_string(recordCount) + "\"><prototype type=\"Structure\">" + prototypeXml +
        "</prototype><codecs type=\"Vector\" allowHeterogeneousChildren=\"1\"/></points>\n"
        "</vectorChild></data3D></e57Root>\n";
    return BuildE57(section, xml);
}

}  // namespace

TEST(BitpackDecoder, UnpacksEveryWidthAtEveryBitOffset)
{
    std::mt19937_64 rng(57);
    for (unsigned bits = 1; bits <= 64; ++bits) {
        for (unsigned lead = 0; lead < 8; ++lead) {
            BitWriter w;
            w.Put(0, lead);
            std::vector<uint64_t> values(37);
            const uint64_t mask = bits == 64 ? ~0ull : (1ull << bits) - 1;
            for (size_t i = 0; i < values.size(); ++i) {
                values[i] = (i == 0 ? mask : i == 1 ? 0 : rng()) & mask;
                w.Put(values[i], bits);
            }
            w.bytes.resize(w.bytes.size() + 8, 0xEE);  // readable slack, not zero
            std::vector<uint64_t> out(values.size());
            e57::UnpackBits(w.bytes.data(), lead, bits, values.size(), out.data());
            ASSERT_EQ(out, values) << bits << " bits after " << lead << " lead bits";
        }
    }
}

TEST(BitpackDecoder, KeptValuesAreEveryStrideThValueWhereverThePacketsEnd)
{
    std::mt19937_64 rng(58);
    struct Kind {
        e57::FieldEncoding encoding;
        unsigned lowest, highest;   // bit widths
    };
    for (const Kind& kind : {Kind{e57::FieldEncoding::Integer, 0, 64}, Kind{e57::FieldEncoding::ScaledInteger, 5, 5},
                             Kind{e57::FieldEncoding::Float, 32, 32}, Kind{e57::FieldEncoding::Double, 64, 64}}) {
        for (unsigned bits = kind.lowest; bits <= kind.highest; ++bits) {
            e57::FieldDescription f;
            f.name = "cartesianX";
            f.encoding = kind.encoding;
            f.bitWidth = bits;
            f.minimum = bits == 64 ? std::numeric_limits<int64_t>::min() : -7;
            f.maximum = bits == 64 ? std::numeric_limits<int64_t>::max()
                                   : (bits == 0 ? -7 : -7 + int64_t((bits == 63 ? ~0ull >> 1 : (1ull << bits) - 1)));
            f.scale = 0.25;
            f.offset = 100.0;
            const size_t n = 300;
            BitWriter w;
            for (size_t i = 0; i < n; ++i)
                w.Put(rng(), bits);
            Bytes bytes = w.bytes;
            bytes.resize(bytes.size() + 16, 0xEE);
            std::vector<double> all(n);
            e57::FieldDecoder whole(f, 0, all.data());
            whole.Append(bytes.data(), w.bytes.size());
            whole.Decode(n, 0);

            for (size_t stride : {size_t(1), size_t(2), size_t(3), size_t(7)}) {
                for (size_t first : {size_t(0), size_t(1), stride - 1}) {
                    SCOPED_TRACE(std::to_string(bits) + " bits, stride " + std::to_string(stride) + ", first " +
                                 std::to_string(first));
                    // Two packets cut at a random byte; the decoder reads from them in place.
                    const size_t cut = w.bytes.size() ? size_t(rng() % w.bytes.size()) : 0;
                    std::vector<double> out(n, -1.0);
                    e57::FieldDecoder d(f, 0, out.data());
                    d.Attach(bytes.data(), cut);
                    const size_t m1 = static_cast<size_t>(d.Available(n));
                    size_t stored = d.DecodeKept(m1, first, stride, 0);
                    d.Attach(bytes.data() + cut, w.bytes.size() - cut);
                    const size_t m2 = static_cast<size_t>(d.Available(n - m1));
                    ASSERT_EQ(m1 + m2, n);
                    const size_t from = m1 <= first ? first - m1 : (stride - (m1 - first) % stride) % stride;
                    stored += d.DecodeKept(m2, from, stride, stored);
                    ASSERT_EQ(stored, first < n ? (n - 1 - first) / stride + 1 : 0u);
                    for (size_t k = 0; k < stored; ++k)
                        ASSERT_EQ(std::memcmp(&out[k], &all[first + k * stride], sizeof(double)), 0) << k;
                }
            }
        }
    }
}

TEST(BitpackDecoder, ValuesConvertToTheBufferTypesWithSaturation)
{
    // Integer 0..70000 into uint16 and int8: saturating, not wrapping.
    e57::FieldDescription f;
    f.name = "colorRed";
    f.minimum = -300;
    f.maximum = 70000;
    f.bitWidth = 17;
    BitWriter w;
    for (int64_t v : {-300, -1, 0, 255, 65535, 65536, 70000})
        w.Put(static_cast<uint64_t>(v + 300), 17);
    std::vector<uint16_t> u16(7);
    e57::FieldDecoder d16(f, 0, u16.data());
    d16.Append(w.bytes.data(), w.bytes.size());
    ASSERT_EQ(d16.Available(100), 7u);
    d16.Decode(7, 0);
    EXPECT_EQ(u16, (std::vector<uint16_t>{0, 0, 0, 255, 65535, 65535, 65535}));
    std::vector<int8_t> i8(7);
    e57::FieldDecoder d8(f, 0, i8.data());
    d8.Append(w.bytes.data(), w.bytes.size());
    d8.Decode(7, 0);
    EXPECT_EQ(i8, (std::vector<int8_t>{-128, -1, 0, 127, 127, 127, 127}));

    // Doubles into int8 (a float-typed invalid-state flag): truncation, NaN 0.
    e57::FieldDescription g;
    g.name = "cartesianInvalidState";
    g.encoding = e57::FieldEncoding::Double;
    g.bitWidth = 64;
    std::vector<double> in = {0.0, 1.9, 2.0, -3.5, 1e9, std::numeric_limits<double>::quiet_NaN()};
    std::vector<int8_t> flags(in.size());
    e57::FieldDecoder dd(g, 0, flags.data());
    // Fed one byte at a time: values straddle every append.
    const auto* raw = reinterpret_cast<const uint8_t*>(in.data());
    for (size_t i = 0; i < in.size() * 8; ++i) {
        EXPECT_EQ(dd.Available(100), i / 8);
        dd.Append(raw + i, 1);
    }
    dd.Decode(in.size(), 0);
    EXPECT_EQ(flags, (std::vector<int8_t>{0, 1, 2, -3, 127, 0}));

    // Full 64-bit range (no limits): minimum plus an unsigned offset.
    e57::FieldDescription h;
    h.name = "timeStamp";
    h.minimum = std::numeric_limits<int64_t>::min();
    h.maximum = std::numeric_limits<int64_t>::max();
    h.bitWidth = 64;
    BitWriter hw;
    hw.Put(0, 64);
    hw.Put(~0ull, 64);
    hw.Put(1ull << 63, 64);
    std::vector<double> ts(3);
    e57::FieldDecoder dh(h, 0, ts.data());
    dh.Append(hw.bytes.data(), hw.bytes.size());
    dh.Decode(3, 0);
    EXPECT_EQ(ts, (std::vector<double>{-9223372036854775808.0, 9223372036854775807.0, 0.0}));

    // Strings cannot fill a numeric buffer.
    e57::FieldDescription s;
    s.name = "colorRed";
    s.encoding = e57::FieldEncoding::String;
    EXPECT_THROW(e57::FieldDecoder(s, 0, u16.data()), e57::E57Exception);
}

// Random prototypes of every width, streams cut into packets at random byte
// counts (each field at its own pace), with unread fields of every kind in
// between; every value must come back exactly, whatever the block size.
TEST(BitpackDecoder, RandomFilesWithFieldsAtDifferentPacesDecodeExactly)
{
    std::mt19937_64 rng(2024);
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const uint64_t n = 1 + rng() % 3000;
        struct Field {
            std::string xml;
            unsigned bits;
            int64_t minimum;
            BitWriter w;
            std::vector<uint64_t> raw;
        };
        auto intField = [&](const std::string& name, unsigned bits, int64_t minimum) {
            Field f;
            f.bits = bits;
            f.minimum = minimum;
            int64_t maximum = static_cast<int64_t>(static_cast<uint64_t>(minimum) +
                                                   (bits == 64 ? ~0ull : (1ull << bits) - 1));
            f.xml = "<" + name + " type=\"Integer\" minimum=\"" + std::to_string(minimum) + "\" maximum=\"" +
                    std::to_string(maximum) + "\"/>";
            return f;
        };
        std::vector<Field> fields;
        const unsigned rowBits = 1 + rng() % 31, tsBits = 1 + rng() % 64, redBits = rng() % 17;
        fields.push_back(intField("rowIndex", rowBits, -static_cast<int64_t>(rng() % 1000)));
        fields.push_back(intField("timeStamp", tsBits, tsBits == 64 ? std::numeric_limits<int64_t>::min() : -5));
        fields.push_back(intField("classification", 1 + rng() % 40, 0));  // not read
        fields.push_back(intField("colorRed", redBits, 0));
        Field normal;  // unknown extension field, not read
        normal.xml = "<nor:normalX type=\"Float\" precision=\"single\" minimum=\"-1\" maximum=\"1\"/>";
        normal.bits = 32;
        normal.minimum = 0;
        fields.insert(fields.begin() + static_cast<long>(rng() % fields.size()), normal);
        Field label;  // string field, not read
        label.xml = "<label type=\"String\"/>";
        label.bits = 0;
        label.minimum = 0;
        fields.push_back(label);

        for (Field& f : fields) {
            const uint64_t mask = f.bits == 64 ? ~0ull : (1ull << f.bits) - 1;
            for (uint64_t i = 0; i < n; ++i) {
                if (f.xml.find("String") != std::string::npos) {
                    const size_t len = rng() % 5;
                    f.w.Put(len << 1, 8);
                    for (size_t k = 0; k < len; ++k)
                        f.w.Put('a', 8);
                    continue;
                }
                f.raw.push_back(rng() & mask);
                f.w.Put(f.raw.back(), f.bits);
            }
            if (rng() % 2)
                f.w.bytes.resize(f.w.bytes.size() + rng() % 8, 0);  // word padding
        }
        // Cut each stream at its own random pace.
        std::vector<Bytes> packets;
        std::vector<size_t> pos(fields.size(), 0);
        for (;;) {
            bool more = false;
            std::vector<Bytes> streams(fields.size());
            for (size_t k = 0; k < fields.size(); ++k) {
                const Bytes& all = fields[k].w.bytes;
                size_t take = std::min<size_t>(all.size() - pos[k], rng() % 900);
                streams[k].assign(all.begin() + static_cast<long>(pos[k]),
                                  all.begin() + static_cast<long>(pos[k] + take));
                pos[k] += take;
                more = more || pos[k] < all.size();
            }
            packets.push_back(DataPacket(streams));
            if (rng() % 5 == 0)
                packets.push_back(Bytes{2, 0, 3, 0});
            if (!more)
                break;
        }
        std::string proto;
        for (const Field& f : fields)
            proto += f.xml;
        TempDir dir;
        WriteFile(dir.File("random.e57"), PointsFile(proto, n, packets));
        e57::Reader r(dir.File("random.e57"), {});
        e57::Data3D h;
        ASSERT_TRUE(r.ReadData3D(0, h));
        ASSERT_EQ(h.prototype.size(), fields.size());

        const size_t block = 1 + rng() % 1500;
        std::vector<int32_t> row(block);
        std::vector<double> ts(block);
        std::vector<uint16_t> red(block);
        e57::Data3DPointsData_d buf;
        buf.rowIndex = row.data();
        buf.timeStamp = ts.data();
        buf.colorRed = red.data();
        e57::CompressedVectorReader cv = r.SetUpData3DPointsData(0, block, buf);
        const Field* rowF = nullptr;
        const Field* tsF = nullptr;
        const Field* redF = nullptr;
        for (const Field& f : fields) {
            if (f.xml.find("<rowIndex") == 0)
                rowF = &f;
            if (f.xml.find("<timeStamp") == 0)
                tsF = &f;
            if (f.xml.find("<colorRed") == 0)
                redF = &f;
        }
        uint64_t done = 0;
        while (unsigned got = cv.read()) {
            ASSERT_EQ(got, std::min<uint64_t>(block, n - done));
            for (unsigned j = 0; j < got; ++j, ++done) {
                ASSERT_EQ(row[j], static_cast<int32_t>(rowF->minimum + static_cast<int64_t>(rowF->raw[done])));
                ASSERT_EQ(ts[j], static_cast<double>(static_cast<int64_t>(static_cast<uint64_t>(tsF->minimum) +
                                                                          tsF->raw[done])));
                ASSERT_EQ(red[j], redBits == 0 ? 0 : redF->raw[done]);
            }
        }
        EXPECT_EQ(done, n);
    }
}

// A field whose whole stream comes before the other field's is legal but
// would need unbounded buffering; the reader stops with a clear error.
TEST(BitpackDecoder, AFieldRunningFarAheadIsRefused)
{
    const size_t n = e57::kMaxFieldLead + 100000, chunk = 65000;
    std::vector<Bytes> packets;
    for (int field = 0; field < 2; ++field)
        for (size_t at = 0; at < n; at += chunk) {
            Bytes bytes(std::min(chunk, n - at), static_cast<uint8_t>(at));
            packets.push_back(DataPacket(field == 0 ? std::vector<Bytes>{bytes, {}} : std::vector<Bytes>{{}, bytes}));
        }
    TempDir dir;
    WriteFile(dir.File("lead.e57"),
              PointsFile("<colorRed type=\"Integer\" minimum=\"0\" maximum=\"255\"/>"
                         "<colorGreen type=\"Integer\" minimum=\"0\" maximum=\"255\"/>",
                         n, packets));
    e57::Reader r(dir.File("lead.e57"), {});
    std::vector<uint16_t> red(4096), green(4096);
    e57::Data3DPointsData_d buf;
    buf.colorRed = red.data();
    e57::CompressedVectorReader onlyRed = r.SetUpData3DPointsData(0, red.size(), buf);
    EXPECT_EQ(onlyRed.read(), 4096u);  // one field alone is no problem
    buf.colorGreen = green.data();
    e57::CompressedVectorReader both = r.SetUpData3DPointsData(0, red.size(), buf);
    try {
        both.read();
        FAIL() << "read() buffered a whole stream";
    } catch (const e57::E57Exception& e) {
        EXPECT_THAT(e.what(), ::testing::HasSubstr("field 'colorRed' runs more than 16 MiB ahead"));
    }
}

// Constant (0-bit) fields take no bytes: their records decode to the minimum,
// but a count that not even one bit per record could hold is refused.
TEST(BitpackDecoder, ConstantFieldsDecodeToTheirValueWithinABoundedCount)
{
    // Scaled constants too (a flat scan's z, say): scale and offset apply, and
    // a value below the buffer type's range saturates.
    const std::string proto = "<cartesianX type=\"Integer\" minimum=\"5\" maximum=\"5\"/>"
                              "<colorRed type=\"Integer\" minimum=\"300\" maximum=\"300\"/>"
                              "<cartesianZ type=\"ScaledInteger\" minimum=\"-20\" maximum=\"-20\" scale=\"0.5\" "
                              "offset=\"1\"/>"
                              "<colorGreen type=\"ScaledInteger\" minimum=\"-4\" maximum=\"-4\" scale=\"1\"/>";
    TempDir dir;
    WriteFile(dir.File("c.e57"), PointsFile(proto, 10, {DataPacket({{}, {}, {}, {}})}));
    e57::Reader r(dir.File("c.e57"), {});
    ScanPoints p = ReadScan(r, 0, 4);
    EXPECT_EQ(p.blocks, (std::vector<unsigned>{4, 4, 2}));
    EXPECT_EQ(p.x, std::vector<double>(10, 5.0));
    EXPECT_EQ(p.red, std::vector<uint16_t>(10, 300));
    EXPECT_EQ(p.z, std::vector<double>(10, -9.0));
    EXPECT_EQ(p.green, std::vector<uint16_t>(10, 0));

    WriteFile(dir.File("c.e57"), PointsFile(proto, uint64_t(1) << 62, {DataPacket({{}, {}})}));
    e57::Reader big(dir.File("c.e57"), {});
    std::vector<double> x(4);
    e57::Data3DPointsData_d buf;
    buf.cartesianX = x.data();
    EXPECT_THROW(big.SetUpData3DPointsData(0, x.size(), buf), e57::E57Exception);
}
