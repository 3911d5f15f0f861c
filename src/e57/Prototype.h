#pragma once
// The prototype of a compressed vector: its leaves in stream order, each with
// its encoding and the number of bits per value.
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "e57/Data3D.h"

namespace e57 {

// Most leaves accepted in one prototype (a packet's length table must fit).
constexpr size_t kMaxPrototypeLeaves = 4096;

// Leaves in depth-first document order; a leaf inside a nested Structure is
// named "outer/inner". Throws E57Exception for unsupported element types or
// impossible limits; `where` prefixes the messages.
std::vector<FieldDescription> ReadPrototype(pugi::xml_node prototype, const std::string& where);

// Bits needed for values between minimum and maximum (0 when they are equal).
unsigned BitsForRange(int64_t minimum, int64_t maximum);

}  // namespace e57
