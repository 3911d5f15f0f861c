#include "preview/PointColour.h"

#include <algorithm>

namespace preview {

ColourMode ResolveColourMode(ColourMode requested, bool everyPointFallbackGrey)
{
    if (requested != ColourMode::Auto)
        return requested;
    return everyPointFallbackGrey ? ColourMode::Height : ColourMode::Rgb;
}

Rgb HeightRamp(double t)
{
    // Stops of a perceptually even blue-green-yellow ramp.
    static const double kStops[5][3] = {
        {68, 1, 84}, {59, 82, 139}, {33, 145, 140}, {94, 201, 98}, {253, 231, 37}};
    t = t > 0 ? std::min(t, 1.0) * 4.0 : 0.0;   // NaN gives the lowest colour
    const int i = std::min(3, int(t));
    const double f = t - i;
    auto mix = [&](int c) { return static_cast<unsigned char>(kStops[i][c] + (kStops[i + 1][c] - kStops[i][c]) * f + 0.5); };
    return {mix(0), mix(1), mix(2)};
}

PointColouring::PointColouring(ColourMode resolved, double zLo, double zHi)
    : mode_(resolved), zLo_(zLo), zScale_(zHi > zLo ? 1.0 / (zHi - zLo) : 0.0)
{
}

}  // namespace preview
