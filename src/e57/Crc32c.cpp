#include "e57/Crc32c.h"

#include <isa-l/crc.h>

namespace e57 {

uint32_t Crc32c(const void* data, size_t size)
{
    // ISA-L's iSCSI CRC takes the running value without the final inversion.
    return ~crc32_iscsi(static_cast<unsigned char*>(const_cast<void*>(data)),
                        static_cast<int>(size), 0xFFFFFFFFu);
}

}  // namespace e57
