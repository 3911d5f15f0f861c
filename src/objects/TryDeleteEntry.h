#pragma once
#include "host/Host.h"
#include "palette/PointCloudEntry.h"

// Asks, then deletes the entry's placed instances, its files and its library folder entry.
bool TryDeleteEntry(host::Host& host, const PointCloudEntry& entry);
