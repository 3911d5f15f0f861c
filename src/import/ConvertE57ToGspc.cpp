#include "import/ConvertE57ToGspc.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "e57/CompressedVectorReader.h"
#include "e57/Data3DPointsData.h"
#include "e57/E57Exception.h"

namespace {

constexpr size_t kBlockSize = 65536;
constexpr int64_t kProgressLimit = 2000000000;
constexpr int64_t kFallbackPointsPerScan = 500000;
const char* const kPhaseTitle = "Punktwolke konvertieren...";

int64_t SaturatingAdd(int64_t a, int64_t b)
{
    return a > std::numeric_limits<int64_t>::max() - b ? std::numeric_limits<int64_t>::max() : a + b;
}

// Blocks of points, allocated once per conversion and reused by every scan.
struct Buffers {
    std::vector<double> x = std::vector<double>(kBlockSize, 0.0);
    std::vector<double> y = std::vector<double>(kBlockSize, 0.0);
    std::vector<double> z = std::vector<double>(kBlockSize, 0.0);
    std::vector<uint16_t> red = std::vector<uint16_t>(kBlockSize, 200);
    std::vector<uint16_t> green = std::vector<uint16_t>(kBlockSize, 200);
    std::vector<uint16_t> blue = std::vector<uint16_t>(kBlockSize, 200);
    std::vector<int8_t> colourInvalid = std::vector<int8_t>(kBlockSize, 0);
    // Only for scans that store spherical coordinates alone; allocated on first use.
    std::vector<double> range, azimuth, elevation;
    // Kept points of one block, posed, handed to the writer together.
    std::vector<float> keptX = std::vector<float>(kBlockSize);
    std::vector<float> keptY = std::vector<float>(kBlockSize);
    std::vector<float> keptZ = std::vector<float>(kBlockSize);
    std::vector<unsigned char> keptRgb = std::vector<unsigned char>(kBlockSize * 3);
};

bool IsSphericalOnly(const e57::PointStandardizedFieldsAvailable& f)
{
    const bool anyCartesian = f.cartesianXField || f.cartesianYField || f.cartesianZField;
    return !anyCartesian && f.sphericalRangeField && f.sphericalAzimuthField && f.sphericalElevationField;
}

// The reader leaves a buffer untouched for a field the scan lacks; reset such
// buffers so that values of an earlier scan never leak into this one.
void ResetMissingFields(const e57::PointStandardizedFieldsAvailable& f, bool spherical, bool hasColour, Buffers& b)
{
    if (!spherical) {
        if (!f.cartesianXField) std::fill(b.x.begin(), b.x.end(), 0.0);
        if (!f.cartesianYField) std::fill(b.y.begin(), b.y.end(), 0.0);
        if (!f.cartesianZField) std::fill(b.z.begin(), b.z.end(), 0.0);
    }
    // No invalid flag in a coloured scan means every colour is valid.
    if (hasColour && !f.isColorInvalidField) std::fill(b.colourInvalid.begin(), b.colourInvalid.end(), int8_t(0));
}

inline unsigned char Saturate8(uint16_t v)
{
    return static_cast<unsigned char>(v > 255 ? 255 : v);
}

// The pose formula: rotation by the quaternion (w, a, b, c) as stored, then the
// translation. Every caller goes through here so that all results are the same.
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

// Spherical coordinates of the kept points into the x, y, z buffers.
void SphericalToCartesian(Buffers& b, size_t first, size_t stride, size_t m)
{
    for (size_t k = 0, j = first; k < m; ++k, j += stride) {
        const double r = b.range[j];
        const double el = b.elevation[j];
        const double az = b.azimuth[j];
        const double rc = r * std::cos(el);
        b.x[j] = rc * std::cos(az);
        b.y[j] = rc * std::sin(az);
        b.z[j] = r * std::sin(el);
    }
}

// The pose formula of ApplyPose over the kept points, written as a plain loop
// over arrays so that the compiler can use vector registers: every lane does
// the same IEEE operations in the same order, so the results are identical.
void PoseBlock(const e57::RigidBodyTransform& pose, Buffers& b, size_t first, size_t stride, size_t m)
{
    const double w = pose.rotation.w, qa = pose.rotation.x, qb = pose.rotation.y, qc = pose.rotation.z;
    const double tx = pose.translation.x, ty = pose.translation.y, tz = pose.translation.z;
    float* __restrict outX = b.keptX.data();
    float* __restrict outY = b.keptY.data();
    float* __restrict outZ = b.keptZ.data();
    auto one = [&](size_t k, double x, double y, double z) {
        double xo, yo, zo;
        PoseFormula(w, qa, qb, qc, tx, ty, tz, x, y, z, xo, yo, zo);
        outX[k] = static_cast<float>(xo);
        outY[k] = static_cast<float>(yo);
        outZ[k] = static_cast<float>(zo);
    };
    if (stride == 1) {
        const double* __restrict xs = b.x.data() + first;
        const double* __restrict ys = b.y.data() + first;
        const double* __restrict zs = b.z.data() + first;
        for (size_t k = 0; k < m; ++k)
            one(k, xs[k], ys[k], zs[k]);
    } else {
        for (size_t k = 0, j = first; k < m; ++k, j += stride)
            one(k, b.x[j], b.y[j], b.z[j]);
    }
}

// Colour of the kept points: min(value, 255) when valid, light grey otherwise.
void ColourBlock(bool hasColour, Buffers& b, size_t first, size_t stride, size_t m)
{
    unsigned char* out = b.keptRgb.data();
    if (!hasColour) {
        std::fill(out, out + 3 * m, static_cast<unsigned char>(200));
        return;
    }
    for (size_t k = 0, j = first; k < m; ++k, j += stride) {
        const bool valid = b.colourInvalid[j] == 0;
        out[3 * k] = valid ? Saturate8(b.red[j]) : 200;
        out[3 * k + 1] = valid ? Saturate8(b.green[j]) : 200;
        out[3 * k + 2] = valid ? Saturate8(b.blue[j]) : 200;
    }
}

}  // namespace

int32_t DensityStep(int32_t densityPercent)
{
    if (densityPercent == 0)
        return 100;   // callers pass 1..100; never divide by zero
    return std::max<int32_t>(1, 100 / densityPercent);
}

void ApplyPose(const e57::RigidBodyTransform& pose, double x, double y, double z,
               double& xOut, double& yOut, double& zOut)
{
    PoseFormula(pose.rotation.w, pose.rotation.x, pose.rotation.y, pose.rotation.z, pose.translation.x,
                pose.translation.y, pose.translation.z, x, y, z, xOut, yOut, zOut);
}

ConversionResult ConvertE57ToGspc(e57::Reader& reader, int64_t scanCount, GspcWriter& writer,
                                  int32_t densityPercent, const std::string& windowTitle,
                                  host::ProcessWindow& processWindow, bool& processWindowOpen)
{
    ConversionResult result;
    processWindowOpen = false;
    const int64_t step = DensityStep(densityPercent);

    // Estimate pass: declared point counts, for the progress maximum.
    int64_t estimate = 0;
    for (int64_t i = 0; i < scanCount; ++i) {
        e57::Data3D header;
        if (!reader.ReadData3D(i, header))
            continue;
        if (header.pointCount > 0) {
            result.totalPoints = SaturatingAdd(result.totalPoints, header.pointCount);
            estimate = SaturatingAdd(estimate, header.pointCount / step);
        }
    }
    if (estimate <= 0) {
        estimate = scanCount > std::numeric_limits<int64_t>::max() / kFallbackPointsPerScan
                       ? std::numeric_limits<int64_t>::max()
                       : scanCount * kFallbackPointsPerScan;
    }

    processWindow.Open(windowTitle, 2);
    processWindowOpen = true;
    const int32_t progressMax = static_cast<int32_t>(std::min(estimate, kProgressLimit));
    const int64_t every = std::min<int64_t>(std::max<int64_t>(1, estimate / 200), std::numeric_limits<int32_t>::max());
    const int32_t updateEvery = static_cast<int32_t>(every);
    processWindow.NextPhase(kPhaseTitle, progressMax);

    Buffers buf;
    int64_t pointIndex = 0;
    int64_t kept = 0;
    int32_t untilUpdate = updateEvery;   // kept points left until the next progress call
    bool cancelled = false;

    for (int64_t i = 0; i < scanCount && !cancelled; ++i) {
        e57::Data3D header;
        if (!reader.ReadData3D(i, header))
            continue;
        const auto& fields = header.pointFields;
        const bool hasColour = fields.colorRedField && fields.colorGreenField && fields.colorBlueField;
        const bool spherical = IsSphericalOnly(fields);

        ResetMissingFields(fields, spherical, hasColour, buf);
        e57::Data3DPointsData_t<double> bind;
        if (spherical) {
            if (buf.range.empty()) {
                buf.range.assign(kBlockSize, 0.0);
                buf.azimuth.assign(kBlockSize, 0.0);
                buf.elevation.assign(kBlockSize, 0.0);
            }
            bind.sphericalRange = buf.range.data();
            bind.sphericalAzimuth = buf.azimuth.data();
            bind.sphericalElevation = buf.elevation.data();
        } else {
            bind.cartesianX = buf.x.data();
            bind.cartesianY = buf.y.data();
            bind.cartesianZ = buf.z.data();
        }
        if (hasColour) {
            bind.colorRed = buf.red.data();
            bind.colorGreen = buf.green.data();
            bind.colorBlue = buf.blue.data();
            bind.isColorInvalid = buf.colourInvalid.data();
        }

        const e57::RigidBodyTransform pose = header.pose;
        e57::CompressedVectorReader block = reader.SetUpData3DPointsData(i, kBlockSize, bind);
        for (;;) {
            const unsigned n = block.read();
            if (n == 0)
                break;
            if (n > kBlockSize)
                throw e57::E57Exception("block reader returned more points than its buffers hold");

            // The points of this block to keep: j = first, first + step, ... (m of them),
            // so that the point index (counted across scans) is a multiple of the step.
            const int64_t phase = pointIndex % step;
            const size_t first = phase == 0 ? 0 : static_cast<size_t>(step - phase);
            const size_t stride = static_cast<size_t>(step);
            const size_t m = first < n ? (n - 1 - first) / stride + 1 : 0;

            if (spherical)
                SphericalToCartesian(buf, first, stride, m);
            PoseBlock(pose, buf, first, stride, m);
            ColourBlock(hasColour, buf, first, stride, m);

            // Progress calls fall on every updateEvery-th kept point. A cancel keeps
            // the points up to and including the one of that call, drops the rest
            // of the block and leaves the point index at that point.
            const int64_t keptBefore = kept;
            size_t take = m;
            size_t counted = 0;
            bool leftBlock = false;
            while (m - counted >= static_cast<size_t>(untilUpdate)) {
                const size_t k = counted + static_cast<size_t>(untilUpdate) - 1;
                counted = k + 1;
                untilUpdate = updateEvery;
                const int64_t keptNow = keptBefore + static_cast<int64_t>(k) + 1;
                processWindow.SetValue(static_cast<int32_t>(std::min<int64_t>(keptNow, progressMax)));
                bool askCancel = false;
                processWindow.IsCanceled(askCancel);
                if (askCancel) {
                    cancelled = true;
                    take = k + 1;
                    pointIndex += static_cast<int64_t>(first + k * stride);
                    leftBlock = true;
                    break;
                }
            }
            if (!leftBlock) {
                untilUpdate -= static_cast<int32_t>(m - counted);
                pointIndex += n;
            }
            kept = keptBefore + static_cast<int64_t>(take);
            writer.Write(buf.keptX.data(), buf.keptY.data(), buf.keptZ.data(), buf.keptRgb.data(), take);
        }
        block.close();
    }

    writer.Close();
    reader.Close();

    result.keptPoints = kept;
    result.cancelled = cancelled;
    if (!cancelled) {
        result.offsetX = writer.MinX();
        result.offsetY = writer.MinY();
        result.offsetZ = writer.MinZ();
        result.sizeX = writer.MaxX() - writer.MinX();
        result.sizeY = writer.MaxY() - writer.MinY();
        result.sizeZ = writer.MaxZ() - writer.MinZ();
    }
    return result;
}
