#pragma once
// The catalogue: every loaded library part that an import generated, found by its parameters.
#include <string>
#include <vector>

#include "host/HostTypes.h"
#include "host/LibParts.h"
#include "palette/PointCloudEntry.h"

std::vector<PointCloudEntry> CollectOurLibParts(host::LibParts& libParts);

// Host UTF-16 text cut to 8 bits per unit, at most 256 units, up to the first zero.
std::string NarrowHostText(const host::UniChar* text, size_t capacity);
