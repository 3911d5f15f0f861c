#pragma once
// The one conversion of an open E57 reader into an open GspcWriter at a
// density, with progress and cancel in the host's process window. Used by the
// import and by the density adjustment.
#include <cstdint>
#include <string>

#include "e57/Data3D.h"
#include "e57/Reader.h"
#include "host/ProcessWindow.h"
#include "import/GspcWriter.h"

struct ConversionResult {
    int64_t totalPoints = 0;   // sum of the declared point counts of all readable scans
    int64_t keptPoints = 0;    // records written
    bool cancelled = false;
    float offsetX = 0.0f, offsetY = 0.0f, offsetZ = 0.0f;   // min of the writer's bounds (not on cancel)
    float sizeX = 0.0f, sizeY = 0.0f, sizeZ = 0.0f;         // max - min (not on cancel)
};

// Keep-every-step-th-point step for a density percent: max(1, 100 / density).
int32_t DensityStep(int32_t densityPercent);

// Converts every scan. On return (normal or cancelled) writer and reader are
// closed and the process window is still open; `processWindowOpen` tells the
// caller, also when an exception leaves this function, whether it must close
// the window. Exceptions from the reader pass through.
ConversionResult ConvertE57ToGspc(e57::Reader& reader, int64_t scanCount, GspcWriter& writer,
                                  int32_t densityPercent, const std::string& windowTitle,
                                  host::ProcessWindow& processWindow, bool& processWindowOpen);

// Rotates (x, y, z) by the pose's quaternion as stored, then translates it.
void ApplyPose(const e57::RigidBodyTransform& pose, double x, double y, double z,
               double& xOut, double& yOut, double& zOut);
