#pragma once
// The text of the point cloud's library part in the host's library part XML
// format: root element with the main GUID, ancestry, the five GDL scripts and
// the parameter list with the import figures.
#include <cstdio>

// Writes the whole XML document to `file` (write errors are not checked).
// A null `e57Path` writes an empty source path.
void WriteLibPartXml(std::FILE* file, const char* guid, const char* gspcFileName,
                     float sizeX, float sizeY, float sizeZ,
                     float offsetX, float offsetY, float offsetZ,
                     int densityPercent, const char* e57Path,
                     long long totalPoints, long long reducedPoints);
