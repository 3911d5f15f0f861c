#pragma once
// Building, reading and patching E57 files at the byte level (pages and
// checksums), and reading scans back whole.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "e57/Crc32c.h"
#include "e57/Reader.h"
#include "support/TestSupport.h"

namespace e57test {

using Bytes = std::vector<uint8_t>;

using pwtest::TempDir;

inline std::string Sample(const std::string& name)
{
    return pwtest::SamplePath(name);
}

inline bool SampleExists(const std::string& name)
{
    return pwtest::SamplePresent(name);
}

#define PW_REQUIRE_SAMPLE(name)                                                                         \
    do {                                                                                                \
        if (!::e57test::SampleExists(name))                                                             \
            GTEST_SKIP() << "sample E57 file " << ::e57test::Sample(name) << " is absent";             \
    } while (0)

inline Bytes ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void WriteFile(const std::string& path, const Bytes& data)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
}

inline void PutU64(Bytes& b, size_t at, uint64_t v)
{
    for (int i = 0; i < 8; ++i)
        b[at + i] = static_cast<uint8_t>(v >> (8 * i));
}

inline uint64_t GetU64(const Bytes& b, size_t at)
{
    uint64_t v = 0;
    for (int i = 7; i >= 0; --i)
        v = (v << 8) | b[at + i];
    return v;
}

inline void FixPageCrc(Bytes& physical, size_t page)
{
    uint32_t crc = e57::Crc32c(physical.data() + page * 1024, 1020);
    for (int i = 0; i < 4; ++i)
        physical[page * 1024 + 1020 + i] = static_cast<uint8_t>(crc >> (24 - 8 * i));
}

inline void FixAllCrcs(Bytes& physical)
{
    for (size_t p = 0; p < physical.size() / 1024; ++p)
        FixPageCrc(physical, p);
}

inline Bytes ToLogical(const Bytes& physical)
{
    Bytes out;
    for (size_t p = 0; p + 1024 <= physical.size(); p += 1024)
        out.insert(out.end(), physical.begin() + p, physical.begin() + p + 1020);
    return out;
}

// Cuts a logical image into pages (zero-filling the last) and adds checksums.
inline Bytes Paginate(Bytes logical)
{
    logical.resize((logical.size() + 1019) / 1020 * 1020, 0);
    Bytes out;
    for (size_t p = 0; p < logical.size(); p += 1020) {
        out.insert(out.end(), logical.begin() + p, logical.begin() + p + 1020);
        out.insert(out.end(), 4, 0);
    }
    FixAllCrcs(out);
    return out;
}

inline uint64_t Physical(uint64_t logical)
{
    return logical / 1020 * 1024 + logical % 1020;
}

// A whole file: header, `binary` at logical offset 48, then `xml`. Offsets in
// the XML are the caller's business (48 stays physical 48 in the first page).
inline Bytes BuildE57(const Bytes& binary, const std::string& xml)
{
    Bytes logical(48, 0);
    std::memcpy(logical.data(), "ASTM-E57", 8);
    logical[8] = 1;
    logical.insert(logical.end(), binary.begin(), binary.end());
    const uint64_t xmlLogical = logical.size();
    logical.insert(logical.end(), xml.begin(), xml.end());
    const uint64_t pages = (logical.size() + 1019) / 1020;
    PutU64(logical, 16, pages * 1024);
    PutU64(logical, 24, Physical(xmlLogical));
    PutU64(logical, 32, xml.size());
    PutU64(logical, 40, 1024);
    return Paginate(logical);
}

inline std::string XmlOf(const Bytes& physical)
{
    Bytes logical = ToLogical(physical);
    uint64_t off = GetU64(physical, 24);
    uint64_t start = off / 1024 * 1020 + off % 1024;
    return std::string(logical.begin() + static_cast<long>(start),
                       logical.begin() + static_cast<long>(start + GetU64(physical, 32)));
}

// Replaces the XML section (which writers put last) and fixes the header and
// every checksum, so that only the intended change remains.
inline Bytes WithXml(const Bytes& physical, const std::string& xml)
{
    Bytes logical = ToLogical(physical);
    uint64_t off = GetU64(physical, 24);
    uint64_t start = off / 1024 * 1020 + off % 1024;
    logical.resize(start);
    logical.insert(logical.end(), xml.begin(), xml.end());
    PutU64(logical, 32, xml.size());
    PutU64(logical, 16, (logical.size() + 1019) / 1020 * 1024);
    return Paginate(logical);
}

inline std::string Replace(std::string s, const std::string& from, const std::string& to)
{
    size_t at = s.find(from);
    EXPECT_NE(at, std::string::npos) << "'" << from << "' not found";
    if (at != std::string::npos)
        s.replace(at, from.size(), to);
    return s;
}

// Every field a point reader can fill, decoded from one scan.
struct ScanPoints {
    std::vector<double> x, y, z;
    std::vector<uint16_t> red, green, blue;
    std::vector<int8_t> colourInvalid, cartesianInvalid;
    std::vector<unsigned> blocks;  // sizes returned by read()
};

inline ScanPoints ReadScan(const e57::Reader& reader, int64_t scan, size_t blockSize = 65536)
{
    ScanPoints all;
    std::vector<double> x(blockSize), y(blockSize), z(blockSize);
    std::vector<uint16_t> r(blockSize), g(blockSize), b(blockSize);
    std::vector<int8_t> ci(blockSize), xi(blockSize);
    e57::Data3DPointsData_d buf;
    buf.cartesianX = x.data();
    buf.cartesianY = y.data();
    buf.cartesianZ = z.data();
    buf.colorRed = r.data();
    buf.colorGreen = g.data();
    buf.colorBlue = b.data();
    buf.isColorInvalid = ci.data();
    buf.cartesianInvalidState = xi.data();
    e57::CompressedVectorReader cv = reader.SetUpData3DPointsData(scan, blockSize, buf);
    while (unsigned n = cv.read()) {
        all.blocks.push_back(n);
        all.x.insert(all.x.end(), x.begin(), x.begin() + n);
        all.y.insert(all.y.end(), y.begin(), y.begin() + n);
        all.z.insert(all.z.end(), z.begin(), z.begin() + n);
        all.red.insert(all.red.end(), r.begin(), r.begin() + n);
        all.green.insert(all.green.end(), g.begin(), g.begin() + n);
        all.blue.insert(all.blue.end(), b.begin(), b.begin() + n);
        all.colourInvalid.insert(all.colourInvalid.end(), ci.begin(), ci.begin() + n);
        all.cartesianInvalid.insert(all.cartesianInvalid.end(), xi.begin(), xi.begin() + n);
    }
    cv.close();
    return all;
}

// Opens and reads every scan of a file to the end; returns the records read.
inline int64_t ReadEverything(const std::string& path, int policy = 100)
{
    e57::Reader reader(path, e57::ReaderOptions{policy});
    if (!reader.IsOpen())
        return -1;
    int64_t total = 0;
    for (int64_t i = 0; i < reader.GetData3DCount(); ++i) {
        e57::Data3D h;
        reader.ReadData3D(i, h);
        total += static_cast<int64_t>(ReadScan(reader, i, 4096).x.size());
    }
    return total;
}

}  // namespace e57test
