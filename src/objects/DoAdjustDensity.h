#pragma once
#include "host/Host.h"
#include "palette/PointCloudEntry.h"

// Re-imports the entry at another density and updates its placed instances.
bool DoAdjustDensity(host::Host& host, const PointCloudEntry& entry, int densityPercent);
