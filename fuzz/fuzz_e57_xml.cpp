// Fuzz target: the XML section on its own. The input is the XML text; it is
// wrapped into the smallest E57 file around it (file header, XML, page
// checksums), opened with the reader, and every scan header is read and every
// scan's point reader set up and read (the binary sections the XML points at
// are whatever bytes lie there).
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "FuzzSupport.h"
#include "e57/E57Exception.h"
#include "e57/Reader.h"

namespace {

void PutU64(std::vector<uint8_t>& b, size_t at, uint64_t v)
{
    for (int i = 0; i < 8; ++i)
        b[at + i] = static_cast<uint8_t>(v >> (8 * i));
}

// Header at 0, 48 bytes of zeros as a stand-in binary area, XML after it.
std::vector<uint8_t> Wrap(const uint8_t* xml, size_t size)
{
    constexpr size_t kXmlLogical = 96;
    std::vector<uint8_t> logical(kXmlLogical, 0);
    std::memcpy(logical.data(), "ASTM-E57", 8);
    logical[8] = 1;
    logical.insert(logical.end(), xml, xml + size);
    const size_t pages = (logical.size() + 1019) / 1020;
    logical.resize(pages * 1020, 0);
    PutU64(logical, 16, pages * 1024);
    PutU64(logical, 24, kXmlLogical);  // within page 0: physical == logical
    PutU64(logical, 32, size);
    PutU64(logical, 40, 1024);
    std::vector<uint8_t> physical;
    physical.reserve(pages * 1024);
    for (size_t p = 0; p < pages; ++p) {
        physical.insert(physical.end(), logical.begin() + p * 1020, logical.begin() + (p + 1) * 1020);
        physical.insert(physical.end(), 4, 0);
    }
    fuzzsupport::FixPageChecksums(physical);
    return physical;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static fuzzsupport::MemFile file("fuzz_xml");
    const std::vector<uint8_t> e57File = Wrap(data, size);
    const std::string& path = file.Write(e57File.data(), e57File.size());
    try {
        e57::Reader reader(path, e57::ReaderOptions{100});
        if (!reader.IsOpen())
            return 0;
        constexpr size_t kBlock = 256;
        std::vector<double> x(kBlock), y(kBlock), z(kBlock), intensity(kBlock);
        std::vector<uint16_t> red(kBlock), green(kBlock), blue(kBlock);
        std::vector<int8_t> invalid(kBlock);
        e57::Data3DPointsData_d b;
        b.cartesianX = x.data();
        b.cartesianY = y.data();
        b.cartesianZ = z.data();
        b.colorRed = red.data();
        b.colorGreen = green.data();
        b.colorBlue = blue.data();
        b.isColorInvalid = invalid.data();
        b.intensity = intensity.data();
        for (int64_t i = 0; i < reader.GetData3DCount(); ++i) {
            e57::Data3D header;
            try {
                if (!reader.ReadData3D(i, header))
                    continue;
                e57::CompressedVectorReader cv = reader.SetUpData3DPointsData(i, kBlock, b);
                for (int blocks = 0; blocks < 64 && cv.read() != 0; ++blocks) {
                }
                cv.close();
            } catch (const e57::E57Exception&) {
                // one bad scan; the others are still read
            }
        }
    } catch (const e57::E57Exception&) {
    }
    return 0;
}
