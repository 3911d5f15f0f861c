#pragma once
#include "host/Host.h"
#include "palette/PointCloudEntry.h"

// Places one instance of the entry's library part at the origin of the active story.
void AutoPlaceEntry(host::Host& host, const PointCloudEntry& entry);
