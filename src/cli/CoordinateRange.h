#pragma once
// The point file stores absolute coordinates as 32-bit floats: far from the
// origin (georeferenced scans) neighbouring float values lie more than a
// millimetre apart. This is where the commands find out and say so.
#include <string>

#include "e57/Data3D.h"

// Distance between neighbouring 32-bit float values at `magnitude` metres.
double Float32StepAt(double magnitude);

// The largest absolute coordinate a scan's points can have after its pose,
// from its cartesian bounds, else from the limits of integer coordinate
// fields; a scan without either contributes its pose translation.
double LargestPosedCoordinate(const e57::Data3D& scan);

// "" when coordinates up to `magnitude` are held to a millimetre, otherwise
// the one-line warning with the resolution the point file has there.
std::string FarFromOriginWarning(double magnitude);

// Prints the warning (if any) to stderr.
void WarnIfFarFromOrigin(double magnitude);
