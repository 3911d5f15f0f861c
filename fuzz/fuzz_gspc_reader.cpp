// Fuzz target: the point file reader of the preview. The input is a .gspc
// file; its header is parsed from memory and the file is read to its end.
// Only GspcFormatError may come out.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "FuzzSupport.h"
#include "import/GspcReader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static fuzzsupport::MemFile file("fuzz_gspc");
    try {
        ParseGspcHeader(data, size, size);
    } catch (const GspcFormatError&) {
    }
    const std::string& path = file.Write(data, size);
    try {
        GspcReader reader(path);
        std::vector<GspcPoint> block(4096);
        uint64_t total = 0;
        while (const size_t n = reader.Read(block.data(), block.size())) {
            if (n > block.size())
                __builtin_trap();
            total += n;
        }
        if (total != reader.PointCount())
            __builtin_trap();  // the header's count and what was read disagree
    } catch (const GspcFormatError&) {
    }
    return 0;
}
