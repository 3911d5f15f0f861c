#pragma once
// The per-point work between decoded E57 values and .gspc records, in chunks
// of kept points: the pose, the 8-bit colour, the bounds and the 15-byte
// records. Each step gives exactly the bytes of doing one point after the
// other; the loops are only arranged so that the compiler can use vector
// registers (same IEEE operations in the same order, no contraction).
#include <cstddef>
#include <cstdint>

#include "e57/Data3D.h"

namespace gspc {

constexpr size_t kRecordSize = 15;

// Kept points of a block: j = first, first + stride, ... (count of them).
struct Gather {
    size_t first = 0;
    size_t stride = 1;
    size_t count = 0;
};

// The pose formula: rotation by the quaternion (w, a, b, c) as stored, then
// the translation. Every pose in the project goes through here.
inline void PoseFormula(double w, double a, double b, double c, double tx, double ty, double tz, double x,
                        double y, double z, double& xOut, double& yOut, double& zOut)
{
    const double t1 = b * z - c * y;
    const double t2 = c * x - a * z;
    const double t3 = a * y - b * x;
    const double u1 = w * t1 + (b * t3 - c * t2);
    const double u2 = w * t2 + (c * t1 - a * t3);
    const double u3 = w * t3 + (a * t2 - b * t1);
    xOut = 2.0 * u1 + x + tx;
    yOut = 2.0 * u2 + y + ty;
    zOut = 2.0 * u3 + z + tz;
}

// The pose formula (rotation by the quaternion as stored, then translation)
// over the gathered points of x, y, z, rounded to float into outX/Y/Z.
void PosePoints(const e57::RigidBodyTransform& pose, const double* x, const double* y, const double* z,
                const Gather& g, float* outX, float* outY, float* outZ);

// Colours of the gathered points as r | g << 8 | b << 16: min(value, 255)
// when the point's invalid flag is 0, light grey (200, 200, 200) otherwise.
void ColourPoints(const uint16_t* red, const uint16_t* green, const uint16_t* blue, const int8_t* invalid,
                  const Gather& g, uint32_t* outRgb);
// Light grey for `count` points (a scan without colour).
void GreyPoints(size_t count, uint32_t* outRgb);

// Bounds of a run of points per axis, as the writer's strict comparisons one
// point after the other give them: NaN values never count, and of equal
// values (-0 and +0) the earlier one stays. `first` keeps the run's first
// point, which the very first point of a file contributes even when NaN.
struct RunBounds {
    float first[3] = {0, 0, 0};
    float lo[3] = {0, 0, 0};
    float hi[3] = {0, 0, 0};
    bool has[3] = {false, false, false};   // a non-NaN value was seen on the axis
    bool empty = true;
};
void FoldBounds(const float* x, const float* y, const float* z, size_t count, RunBounds& bounds);

// Merges a later run into interleaved file bounds (min X, max X, ... max Z);
// `firstPoint` is true while no point has been merged yet.
void MergeBounds(const RunBounds& run, float fileBounds[6], bool& firstPoint);

// `count` records, little-endian, into out[0 .. 15 * count); out must have one
// byte of room beyond that (records are stored 16 bytes at a time).
void EncodeRecords(const float* x, const float* y, const float* z, const uint32_t* rgb, size_t count,
                   unsigned char* out);

}  // namespace gspc
