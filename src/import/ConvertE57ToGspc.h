#pragma once
// The one conversion of an open E57 reader into an open GspcWriter at a
// density, with progress and cancel in the host's process window. Used by the
// import and by the density adjustment.
#include <atomic>
#include <cstdint>
#include <string>

#include "e57/Data3D.h"
#include "e57/Reader.h"
#include "host/ProcessWindow.h"
#include "import/GspcWriter.h"
#include "import/PointRecords.h"

struct ConversionResult {
    int64_t totalPoints = 0;   // sum of the declared point counts of all readable scans
    int64_t keptPoints = 0;    // records written
    bool cancelled = false;
    float offsetX = 0.0f, offsetY = 0.0f, offsetZ = 0.0f;   // min of the writer's bounds (not on cancel)
    float sizeX = 0.0f, sizeY = 0.0f, sizeZ = 0.0f;         // max - min (not on cancel)
};

// Offset (the minima) and size (max - min) of the cloud, in float32, from a
// closed writer's bounds.
void TakeCloudExtent(const GspcWriter& writer, ConversionResult& result);

// Keep-every-step-th-point step for a density percent: max(1, 100 / density).
int32_t DensityStep(int32_t densityPercent);

// Converts every scan. On return (normal or cancelled) writer and reader are
// closed and the process window is still open; `processWindowOpen` tells the
// caller, also when an exception leaves this function, whether it must close
// the window. Exceptions from the reader pass through.
ConversionResult ConvertE57ToGspc(e57::Reader& reader, int64_t scanCount, GspcWriter& writer,
                                  int32_t densityPercent, const std::string& windowTitle,
                                  host::ProcessWindow& processWindow, bool& processWindowOpen);

// The decoded values of one block, valid only during KeptPointSink::Put.
struct DecodedBlock {
    const double* x;
    const double* y;
    const double* z;
    const uint16_t* red;   // the colour buffers only when hasColour
    const uint16_t* green;
    const uint16_t* blue;
    const int8_t* colourInvalid;
    bool hasColour;
};

// Poses the gathered points of a block and gives each its 8-bit colour (the
// fallback grey for a scan without colour).
void PoseAndColourPoints(const e57::RigidBodyTransform& pose, const DecodedBlock& block, const gspc::Gather& g,
                         float* x, float* y, float* z, uint32_t* rgb);

// Takes the kept points of every block, in file order, and sees that they
// reach the writer as records (posed, coloured, with the bounds). The points
// of one Put are records firstRecord, firstRecord + 1, ... of the file.
class KeptPointSink {
public:
    virtual ~KeptPointSink() = default;
    virtual void Put(const e57::RigidBodyTransform& pose, const DecodedBlock& block, const gspc::Gather& kept,
                     uint64_t firstRecord) = 0;
    // Called once after the last Put, before the writer is closed: everything
    // handed over must be in the writer then.
    virtual void Finish() = 0;
};

// The same conversion with the kept points handed to `sink` instead of being
// written here (the command line's several threads). Everything else (the
// estimate, progress, cancel, thinning, errors) is the very same code.
ConversionResult ConvertE57ToGspc(e57::Reader& reader, int64_t scanCount, GspcWriter& writer,
                                  int32_t densityPercent, const std::string& windowTitle,
                                  host::ProcessWindow& processWindow, bool& processWindowOpen,
                                  KeptPointSink& sink);

// The progress maximum's estimate of the conversion (the kept points of the
// declared point counts, or 500000 per scan when that gives nothing); also
// gives the sum of the declared point counts of all readable scans.
int64_t ProgressEstimate(e57::Reader& reader, int64_t scanCount, int64_t step, int64_t& totalPoints);

// One scan on its own, for converting scans side by side (the command line):
// the scan's points are counted on from firstPointIndex, and its kept points
// go to the sink as records firstRecord, ... `stop` is read before every
// block. No progress, no cancel question. Returns the points read (0 for a
// scan whose header cannot be read). Exceptions of the reader pass through.
int64_t ConvertScan(e57::Reader& reader, int64_t index, int32_t densityPercent, int64_t firstPointIndex,
                    uint64_t firstRecord, KeptPointSink& sink, const std::atomic<bool>& stop);

// Rotates (x, y, z) by the pose's quaternion as stored, then translates it.
void ApplyPose(const e57::RigidBodyTransform& pose, double x, double y, double z,
               double& xOut, double& yOut, double& zOut);
