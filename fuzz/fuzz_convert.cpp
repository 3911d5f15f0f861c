// Fuzz target: the whole conversion of an E57 file into a point file, as the
// import runs it (checksum policy 100), with a process window that does
// nothing and the point file going to /dev/null. Files that declare more
// than kMaxRecords points in all are only opened, not converted, to keep
// each run short. Only e57::E57Exception may leave the conversion.
#include <cstddef>
#include <cstdint>

#include "FuzzSupport.h"
#include "e57/E57Exception.h"
#include "e57/Reader.h"
#include "host/ProcessWindow.h"
#include "import/ConvertE57ToGspc.h"
#include "import/GspcWriter.h"

namespace {

constexpr int64_t kMaxRecords = 1 << 20;

class QuietWindow : public host::ProcessWindow {
public:
    host::ErrCode Open(const std::string&, int32_t) override { return 0; }
    host::ErrCode NextPhase(const std::string&, int32_t) override { return 0; }
    host::ErrCode SetValue(int32_t) override { return 0; }
    host::ErrCode IsCanceled(bool& canceled) override
    {
        canceled = false;
        return 0;
    }
    host::ErrCode Close() override { return 0; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static fuzzsupport::MemFile file("fuzz_convert");
    const fuzzsupport::E57Input in = fuzzsupport::PrepareE57(data, size);
    const std::string& path = file.Write(in.bytes.data(), in.bytes.size());
    const int32_t density = (size != 0 && (data[size - 1] & 4) != 0) ? 3 : 100;
    try {
        e57::Reader reader(path, e57::ReaderOptions{100});
        if (!reader.IsOpen())
            return 0;
        const int64_t scans = reader.GetData3DCount();
        if (scans == 0)
            return 0;
        int64_t declared = 0;
        for (int64_t i = 0; i < scans; ++i) {
            e57::Data3D header;
            if (reader.ReadData3D(i, header))
                declared += header.pointCount > kMaxRecords ? kMaxRecords + 1 : header.pointCount;
            if (declared > kMaxRecords)
                return 0;
        }
        GspcWriter writer;
        if (!writer.Open("/dev/null"))
            return 0;
        QuietWindow window;
        bool windowOpen = false;
        try {
            ConvertE57ToGspc(reader, scans, writer, density, "E57 importieren...", window, windowOpen);
        } catch (...) {
            writer.Close();  // the import leaves it open; the fuzzer must not leak a handle per input
            throw;
        }
    } catch (const e57::E57Exception&) {
    }
    return 0;
}
