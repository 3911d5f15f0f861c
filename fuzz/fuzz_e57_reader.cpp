// Fuzz target: an E57 file opened by the reader; every scan header and the
// points of every scan are read (at most kMaxRecords per input). The only
// acceptable failure is an e57::E57Exception: anything else (another
// exception, a crash, a sanitizer report, a huge allocation) is a finding.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "FuzzSupport.h"
#include "e57/E57Exception.h"
#include "e57/Reader.h"

namespace {

constexpr size_t kBlock = 1024;
constexpr uint64_t kMaxRecords = 1u << 20;

void ReadAll(const std::string& path, int policy)
{
    e57::Reader reader(path, e57::ReaderOptions{policy});
    if (!reader.IsOpen())
        return;
    std::vector<double> x(kBlock), y(kBlock), z(kBlock), range(kBlock), az(kBlock), el(kBlock), intensity(kBlock),
        time(kBlock);
    std::vector<uint16_t> red(kBlock), green(kBlock), blue(kBlock);
    std::vector<int8_t> ci(kBlock), si(kBlock), colourInvalid(kBlock), ii(kBlock), ri(kBlock), rc(kBlock), ti(kBlock);
    std::vector<int32_t> row(kBlock), column(kBlock);
    e57::Data3DPointsData_d b;
    b.cartesianX = x.data();
    b.cartesianY = y.data();
    b.cartesianZ = z.data();
    b.cartesianInvalidState = ci.data();
    b.sphericalRange = range.data();
    b.sphericalAzimuth = az.data();
    b.sphericalElevation = el.data();
    b.sphericalInvalidState = si.data();
    b.colorRed = red.data();
    b.colorGreen = green.data();
    b.colorBlue = blue.data();
    b.isColorInvalid = colourInvalid.data();
    b.intensity = intensity.data();
    b.isIntensityInvalid = ii.data();
    b.rowIndex = row.data();
    b.columnIndex = column.data();
    b.returnIndex = ri.data();
    b.returnCount = rc.data();
    b.timeStamp = time.data();
    b.isTimeStampInvalid = ti.data();

    uint64_t budget = kMaxRecords;
    const int64_t scans = reader.GetData3DCount();
    for (int64_t i = 0; i < scans && budget > 0; ++i) {
        e57::Data3D header;
        if (!reader.ReadData3D(i, header))
            continue;
        e57::CompressedVectorReader cv = reader.SetUpData3DPointsData(i, kBlock, b);
        while (budget > 0) {
            const unsigned n = cv.read();
            if (n == 0)
                break;
            if (n > kBlock)
                __builtin_trap();  // more records than the buffers hold
            budget -= std::min<uint64_t>(budget, n);
        }
        cv.close();
    }
    reader.VerifyAllPages();
    reader.Close();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static fuzzsupport::MemFile file("fuzz_e57");
    const fuzzsupport::E57Input in = fuzzsupport::PrepareE57(data, size);
    const std::string& path = file.Write(in.bytes.data(), in.bytes.size());
    try {
        ReadAll(path, in.checksumPolicy);
    } catch (const e57::E57Exception&) {
    }
    return 0;
}
