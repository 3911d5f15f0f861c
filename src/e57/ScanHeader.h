#pragma once
// One scan of data3D as the reader reports it, and where its points lie.
#include <cstdint>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "e57/Data3D.h"

namespace e57 {

// Fills the scan's header from its XML element. Throws E57Exception for
// values that are present but unusable (not a number, impossible limits).
void ReadScanHeader(pugi::xml_node scan, int64_t index, Data3D& out);

// The scan's points element: binary section offset, record count, leaves.
struct ScanPoints {
    uint64_t fileOffset = 0;   // physical offset of the section header
    uint64_t recordCount = 0;
    std::vector<FieldDescription> fields;
};

ScanPoints ReadScanPoints(pugi::xml_node scan, int64_t index);

}  // namespace e57
