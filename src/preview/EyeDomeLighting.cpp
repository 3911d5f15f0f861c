#include "preview/EyeDomeLighting.h"

#include <algorithm>
#include <cmath>

namespace preview {

void ApplyEyeDomeLighting(PanelRaster& r, double metresPerPixel, int pointSize, double strength)
{
    constexpr double kDarkest = 0.45;
    // Eight neighbours at a distance of two pixels.
    static const int kOffsets[8][2] = {{2, 0}, {-2, 0}, {0, 2}, {0, -2}, {1, 1}, {1, -1}, {-1, 1}, {-1, -1}};
    const double perMetre = metresPerPixel > 0 ? 1.0 / metresPerPixel : 1.0;
    const double surface = std::max(2.0, double(pointSize));
    std::vector<float> shade(r.depth.size(), 1.0f);
    for (int y = 0; y < r.height; ++y) {
        for (int x = 0; x < r.width; ++x) {
            const size_t px = size_t(y) * r.width + size_t(x);
            const float d = r.depth[px];
            if (d == kNoDepth)
                continue;
            double response = 0;
            for (const auto& o : kOffsets) {
                const int nx = x + o[0], ny = y + o[1];
                if (nx < 0 || ny < 0 || nx >= r.width || ny >= r.height)
                    continue;
                const float n = r.depth[size_t(ny) * r.width + size_t(nx)];
                // A neighbour nearer to the viewer shades this pixel, by the
                // logarithm of the step in pixels so that a large step does
                // not swallow everything.
                const double step = (double(n) - d) * perMetre - surface;
                if (n != kNoDepth && step > 0)
                    response += std::log1p(step);
            }
            // Never darker than a mid grey: outlines of what stands below the
            // cut must stay lighter than the cut itself.
            shade[px] = float(std::max(kDarkest, std::exp(-strength * response / 4.0)));
        }
    }
    for (size_t px = 0; px < shade.size(); ++px) {
        const float s = shade[px];
        if (s >= 1.0f)
            continue;
        for (int c = 0; c < 3; ++c)
            r.rgb[px * 3 + c] = static_cast<unsigned char>(r.rgb[px * 3 + c] * s + 0.5f);
    }
}

}  // namespace preview
