#pragma once
// The placed instances of one library part: every object element of the
// project whose library part index equals `libIdx`, in the host's list order.
#include <cstdint>
#include <vector>

#include "host/Elements.h"

std::vector<host::Guid> FindPlacedInstances(host::Elements& elements, int32_t libIdx);
