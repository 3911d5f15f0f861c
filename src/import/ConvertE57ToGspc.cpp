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

// The add-on's way: the kept points are posed, coloured and written at once,
// a few thousand at a time so that the intermediate values stay in the cache.
class DirectSink : public KeptPointSink {
public:
    explicit DirectSink(GspcWriter& writer) : writer_(writer) {}

    void Put(const e57::RigidBodyTransform& pose, const DecodedBlock& block, const gspc::Gather& kept,
             uint64_t) override
    {
        for (size_t done = 0; done < kept.count;) {
            const size_t n = std::min(kChunk, kept.count - done);
            const gspc::Gather g{kept.first + done * kept.stride, kept.stride, n};
            PoseAndColourPoints(pose, block, g, x_, y_, z_, rgb_);
            writer_.WritePoints(x_, y_, z_, rgb_, n);
            done += n;
        }
    }
    void Finish() override {}

private:
    static constexpr size_t kChunk = 2048;
    GspcWriter& writer_;
    float x_[kChunk], y_[kChunk], z_[kChunk];
    uint32_t rgb_[kChunk];
};

// A scan's fields bound to the buffers: always X, Y, Z (or the spherical
// coordinates of a scan that has only those), the colour only when the scan
// has all three colour fields.
struct ScanBinding {
    bool hasColour = false;
    bool spherical = false;
    e57::Data3DPointsData_t<double> bind;
};

ScanBinding BindScan(const e57::Data3D& header, Buffers& buf)
{
    ScanBinding s;
    const auto& fields = header.pointFields;
    s.hasColour = fields.colorRedField && fields.colorGreenField && fields.colorBlueField;
    s.spherical = IsSphericalOnly(fields);

    ResetMissingFields(fields, s.spherical, s.hasColour, buf);
    if (s.spherical) {
        if (buf.range.empty()) {
            buf.range.assign(kBlockSize, 0.0);
            buf.azimuth.assign(kBlockSize, 0.0);
            buf.elevation.assign(kBlockSize, 0.0);
        }
        s.bind.sphericalRange = buf.range.data();
        s.bind.sphericalAzimuth = buf.azimuth.data();
        s.bind.sphericalElevation = buf.elevation.data();
    } else {
        s.bind.cartesianX = buf.x.data();
        s.bind.cartesianY = buf.y.data();
        s.bind.cartesianZ = buf.z.data();
    }
    if (s.hasColour) {
        s.bind.colorRed = buf.red.data();
        s.bind.colorGreen = buf.green.data();
        s.bind.colorBlue = buf.blue.data();
        s.bind.isColorInvalid = buf.colourInvalid.data();
    }
    return s;
}

DecodedBlock ViewOf(const Buffers& buf, bool hasColour)
{
    return DecodedBlock{buf.x.data(),    buf.y.data(),    buf.z.data(),           buf.red.data(),
                        buf.green.data(), buf.blue.data(), buf.colourInvalid.data(), hasColour};
}

// The next block's points to keep are j = first, first + step, ... so that
// the point index (counted across scans) is a multiple of the step. Only
// those are decoded, into the first elements of the buffers; the count of
// points read (kept or not) is checked against the buffers' size.
struct KeptBlock {
    size_t read = 0;    // points of the block
    size_t first = 0;   // position of the first kept point in the block
    size_t stride = 1;
    size_t count = 0;   // kept points, at buffer elements 0 .. count - 1
};

KeptBlock ReadKept(e57::CompressedVectorReader& block, int64_t pointIndex, int64_t step)
{
    KeptBlock k;
    const int64_t phase = pointIndex % step;
    k.first = phase == 0 ? 0 : static_cast<size_t>(step - phase);
    k.stride = static_cast<size_t>(step);
    k.read = block.read(k.first, k.stride);
    if (k.read > kBlockSize)
        throw e57::E57Exception("block reader returned more points than its buffers hold");
    k.count = k.first < k.read ? (k.read - 1 - k.first) / k.stride + 1 : 0;
    return k;
}

}  // namespace

int64_t ProgressEstimate(e57::Reader& reader, int64_t scanCount, int64_t step, int64_t& totalPoints)
{
    totalPoints = 0;
    int64_t estimate = 0;
    for (int64_t i = 0; i < scanCount; ++i) {
        e57::Data3D header;
        if (!reader.ReadData3D(i, header))
            continue;
        if (header.pointCount > 0) {
            totalPoints = SaturatingAdd(totalPoints, header.pointCount);
            estimate = SaturatingAdd(estimate, header.pointCount / step);
        }
    }
    if (estimate <= 0) {
        estimate = scanCount > std::numeric_limits<int64_t>::max() / kFallbackPointsPerScan
                       ? std::numeric_limits<int64_t>::max()
                       : scanCount * kFallbackPointsPerScan;
    }
    return estimate;
}

int64_t ConvertScan(e57::Reader& reader, int64_t index, int32_t densityPercent, int64_t firstPointIndex,
                    uint64_t firstRecord, KeptPointSink& sink, const std::atomic<bool>& stop)
{
    const int64_t step = DensityStep(densityPercent);
    e57::Data3D header;
    if (!reader.ReadData3D(index, header))
        return 0;
    Buffers buf;
    const ScanBinding scan = BindScan(header, buf);
    const DecodedBlock decoded = ViewOf(buf, scan.hasColour);
    int64_t pointIndex = firstPointIndex;
    uint64_t record = firstRecord;
    e57::CompressedVectorReader block = reader.SetUpData3DPointsData(index, kBlockSize, scan.bind);
    while (!stop.load(std::memory_order_relaxed)) {
        const KeptBlock kept = ReadKept(block, pointIndex, step);
        if (kept.read == 0)
            break;
        if (scan.spherical)
            SphericalToCartesian(buf, 0, 1, kept.count);
        sink.Put(header.pose, decoded, gspc::Gather{0, 1, kept.count}, record);
        record += kept.count;
        pointIndex += static_cast<int64_t>(kept.read);
    }
    block.close();
    return pointIndex - firstPointIndex;
}

int32_t DensityStep(int32_t densityPercent)
{
    if (densityPercent == 0)
        return 100;   // callers pass 1..100; never divide by zero
    return std::max<int32_t>(1, 100 / densityPercent);
}

void ApplyPose(const e57::RigidBodyTransform& pose, double x, double y, double z,
               double& xOut, double& yOut, double& zOut)
{
    gspc::PoseFormula(pose.rotation.w, pose.rotation.x, pose.rotation.y, pose.rotation.z, pose.translation.x,
                pose.translation.y, pose.translation.z, x, y, z, xOut, yOut, zOut);
}

ConversionResult ConvertE57ToGspc(e57::Reader& reader, int64_t scanCount, GspcWriter& writer,
                                  int32_t densityPercent, const std::string& windowTitle,
                                  host::ProcessWindow& processWindow, bool& processWindowOpen)
{
    DirectSink sink(writer);
    return ConvertE57ToGspc(reader, scanCount, writer, densityPercent, windowTitle, processWindow,
                            processWindowOpen, sink);
}

ConversionResult ConvertE57ToGspc(e57::Reader& reader, int64_t scanCount, GspcWriter& writer,
                                  int32_t densityPercent, const std::string& windowTitle,
                                  host::ProcessWindow& processWindow, bool& processWindowOpen,
                                  KeptPointSink& sink)
{
    ConversionResult result;
    processWindowOpen = false;
    const int64_t step = DensityStep(densityPercent);

    // Estimate pass: declared point counts, for the progress maximum.
    const int64_t estimate = ProgressEstimate(reader, scanCount, step, result.totalPoints);

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
        const ScanBinding scan = BindScan(header, buf);
        const DecodedBlock decoded = ViewOf(buf, scan.hasColour);
        const e57::RigidBodyTransform pose = header.pose;
        e57::CompressedVectorReader block = reader.SetUpData3DPointsData(i, kBlockSize, scan.bind);
        for (;;) {
            const KeptBlock keep = ReadKept(block, pointIndex, step);
            const size_t n = keep.read;
            if (n == 0)
                break;
            const size_t first = keep.first;
            const size_t stride = keep.stride;
            const size_t m = keep.count;
            if (scan.spherical)
                SphericalToCartesian(buf, 0, 1, m);

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
            sink.Put(pose, decoded, gspc::Gather{0, 1, take}, static_cast<uint64_t>(keptBefore));
        }
        block.close();
    }

    sink.Finish();
    writer.Close();
    reader.Close();

    result.keptPoints = kept;
    result.cancelled = cancelled;
    if (!cancelled)
        TakeCloudExtent(writer, result);
    return result;
}

void PoseAndColourPoints(const e57::RigidBodyTransform& pose, const DecodedBlock& block, const gspc::Gather& g,
                         float* x, float* y, float* z, uint32_t* rgb)
{
    gspc::PosePoints(pose, block.x, block.y, block.z, g, x, y, z);
    if (block.hasColour)
        gspc::ColourPoints(block.red, block.green, block.blue, block.colourInvalid, g, rgb);
    else
        gspc::GreyPoints(g.count, rgb);
}

void TakeCloudExtent(const GspcWriter& writer, ConversionResult& result)
{
    result.offsetX = writer.MinX();
    result.offsetY = writer.MinY();
    result.offsetZ = writer.MinZ();
    result.sizeX = writer.MaxX() - writer.MinX();
    result.sizeY = writer.MaxY() - writer.MinY();
    result.sizeZ = writer.MaxZ() - writer.MinZ();
}
