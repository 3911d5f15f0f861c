#pragma once
// The JSON documents of convert and import: the figures of one conversion.
#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

struct ConversionFigures {
    int64_t totalPoints = 0, keptPoints = 0;
    int density = 0;
    float offset[3] = {0, 0, 0};
    float size[3] = {0, 0, 0};
    double seconds = 0;
};

// totalPoints, keptPoints, density, offset {x, y, z}, size {x, y, z},
// seconds, warnings (the far-from-origin warning, if any).
nlohmann::json FiguresJson(const ConversionFigures& figures);

// The largest absolute coordinate of the converted cloud.
double LargestCoordinate(const ConversionFigures& figures);

// Writes the document to stdout, invalid UTF-8 in texts replaced.
void PrintJson(const nlohmann::json& document);
