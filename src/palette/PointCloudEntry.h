#pragma once
// One imported point cloud, as the catalogue finds it among the loaded library parts.
#include <cstdint>
#include <string>

struct PointCloudEntry {
    std::string name;           // library part name without ".gsm"
    int32_t densityPercent = 0; // iDensityPercent, rounded
    std::string e57Path;        // sE57Path
    std::string folder;         // folder of e57Path + "/" + name
    std::string gspcFileName;   // name + "_data.gspc"
    int32_t libIdx = 0;         // 1-based library part index
};
