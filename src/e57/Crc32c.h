#pragma once
// CRC-32C (Castagnoli), as E57 pages carry it.
#include <cstddef>
#include <cstdint>

namespace e57 {

// CRC-32C of `size` bytes with the usual init and final XOR of 0xFFFFFFFF.
// Uses the CPU's CRC-32C instructions when it has them (SSE4.2 on x86-64,
// the CRC extension on arm64), chosen once at run time; otherwise a table.
// Both give the same value for every input.
uint32_t Crc32c(const void* data, size_t size);

// The table-driven computation alone, whatever the CPU offers.
uint32_t Crc32cPortable(const void* data, size_t size);

// Whether Crc32c runs on the CPU's own CRC-32C instructions.
bool Crc32cUsesCpuInstructions();

}  // namespace e57
