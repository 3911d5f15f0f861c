#pragma once
// The pixels of one panel while points are drawn into it: colour and depth
// per pixel, squares of `pointSize` pixels per point, the nearest point wins.
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "preview/PointColour.h"

namespace preview {

constexpr float kNoDepth = -std::numeric_limits<float>::infinity();

struct PanelRaster {
    int width = 0, height = 0;
    std::vector<unsigned char> rgb;   // 3 bytes per pixel, rows top to bottom
    std::vector<float> depth;         // kNoDepth where nothing was drawn

    PanelRaster(int w, int h)
        : width(w), height(h), rgb(size_t(w) * h * 3, 255), depth(size_t(w) * h, kNoDepth)
    {
    }

    bool Empty(int x, int y) const { return depth[size_t(y) * width + x] == kNoDepth; }

    // A square of side `size` around (sx, sy), clipped to the panel.
    void Splat(double sx, double sy, float d, Rgb c, int size)
    {
        if (size == 1) {
            if (sx >= 0 && sx < width && sy >= 0 && sy < height)
                Put(size_t(sy) * width + size_t(sx), d, c);
            return;
        }
        const int half = (size - 1) / 2;
        const int x0 = int(std::floor(sx)) - half, y0 = int(std::floor(sy)) - half;
        const int xa = x0 < 0 ? 0 : x0, ya = y0 < 0 ? 0 : y0;
        const int xb = x0 + size > width ? width : x0 + size, yb = y0 + size > height ? height : y0 + size;
        for (int y = ya; y < yb; ++y)
            for (int x = xa; x < xb; ++x)
                Put(size_t(y) * width + size_t(x), d, c);
    }

private:
    void Put(size_t px, float d, Rgb c)
    {
        if (d <= depth[px])
            return;
        depth[px] = d;
        rgb[px * 3] = c.r;
        rgb[px * 3 + 1] = c.g;
        rgb[px * 3 + 2] = c.b;
    }
};

}  // namespace preview
