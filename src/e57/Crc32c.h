#pragma once
// CRC-32C (Castagnoli), as E57 pages carry it.
#include <cstddef>
#include <cstdint>

namespace e57 {

// CRC-32C of `size` bytes with the usual init and final XOR of 0xFFFFFFFF.
uint32_t Crc32c(const void* data, size_t size);

}  // namespace e57
