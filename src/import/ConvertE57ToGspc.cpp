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

}  // namespace

int32_t DensityStep(int32_t densityPercent)
{
    if (densityPercent <= 0)
        return 100;   // callers pass 1..100; never divide by zero
    return std::max<int32_t>(1, 100 / densityPercent);
}

void ApplyPose(const e57::RigidBodyTransform& pose, double x, double y, double z,
               double& xOut, double& yOut, double& zOut)
{
    const double w = pose.rotation.w;
    const double a = pose.rotation.x;
    const double b = pose.rotation.y;
    const double c = pose.rotation.z;
    const double tx = b * z - c * y;
    const double ty = c * x - a * z;
    const double tz = a * y - b * x;
    const double ux = w * tx + (b * tz - c * ty);
    const double uy = w * ty + (c * tx - a * tz);
    const double uz = w * tz + (a * ty - b * tx);
    xOut = 2.0 * ux + x + pose.translation.x;
    yOut = 2.0 * uy + y + pose.translation.y;
    zOut = 2.0 * uz + z + pose.translation.z;
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

            // First j whose point index is a multiple of the step.
            const int64_t phase = pointIndex % step;
            size_t j = phase == 0 ? 0 : static_cast<size_t>(step - phase);
            bool leftBlock = false;
            for (; j < n; j += static_cast<size_t>(step)) {
                double px, py, pz;
                if (spherical) {
                    const double r = buf.range[j];
                    const double el = buf.elevation[j];
                    const double az = buf.azimuth[j];
                    const double rc = r * std::cos(el);
                    px = rc * std::cos(az);
                    py = rc * std::sin(az);
                    pz = r * std::sin(el);
                } else {
                    px = buf.x[j];
                    py = buf.y[j];
                    pz = buf.z[j];
                }
                double xo, yo, zo;
                ApplyPose(pose, px, py, pz, xo, yo, zo);

                unsigned char r = 200, g = 200, b = 200;
                if (hasColour && buf.colourInvalid[j] == 0) {
                    r = Saturate8(buf.red[j]);
                    g = Saturate8(buf.green[j]);
                    b = Saturate8(buf.blue[j]);
                }
                writer.Write(static_cast<float>(xo), static_cast<float>(yo), static_cast<float>(zo), r, g, b);
                ++kept;

                if (--untilUpdate == 0) {
                    untilUpdate = updateEvery;
                    processWindow.SetValue(static_cast<int32_t>(std::min<int64_t>(kept, progressMax)));
                    bool askCancel = false;
                    processWindow.IsCanceled(askCancel);
                    if (askCancel) {
                        // The rest of this block is dropped; the point index stays at this point.
                        cancelled = true;
                        pointIndex += static_cast<int64_t>(j);
                        leftBlock = true;
                        break;
                    }
                }
            }
            if (!leftBlock)
                pointIndex += n;
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
