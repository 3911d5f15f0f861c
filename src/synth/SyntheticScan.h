#pragma once
// A synthetic laser scan of a small building (floor, ceiling, walls with door
// and window openings, interior walls with doors, columns, furniture-like
// boxes) seen from several
// scanner stations, written as an E57 file. The output depends only on the
// options: the same seed gives the same bytes.
//
// Each station is one scan with its own pose (rotation about Z plus a
// translation; the first station has no pose at all) and its own encoding,
// cycling through:
//   0: cartesian Float, colour 8-bit with isColorInvalid, intensity Integer 0..2047
//   1: cartesian Double, colour 16-bit with isColorInvalid, cartesianInvalidState
//   2: cartesian ScaledInteger (0.5 mm), colour 8-bit
//   3: cartesian Float, no colour, intensity Float 0..1
#include <cstdint>
#include <string>
#include <vector>

namespace synth {

struct SynthOptions {
    uint64_t points = 2000000;  // over all scans
    int scans = 4;              // 1..1000
    uint64_t seed = 1;
};

struct SynthResult {
    uint64_t points = 0;
    std::vector<uint64_t> pointsPerScan;
};

// Writes the file; throws e57::E57Exception when it cannot be written or the
// options are out of range.
SynthResult WriteSyntheticScan(const std::string& path, const SynthOptions& options);

// For benchmarks: writes the file unless `path` already exists. The file is
// written under a temporary name and renamed when complete, so an existing
// file is always a whole one (name it after the options). Returns true when
// it wrote the file.
bool EnsureSyntheticScan(const std::string& path, const SynthOptions& options);

}  // namespace synth
