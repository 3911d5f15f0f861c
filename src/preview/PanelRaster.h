#pragma once
// The pixels of one panel while points are drawn into it: colour and depth
// per pixel, squares of `pointSize` pixels per point, the nearest point wins.
#include <algorithm>
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

// Points bound for one raster, gathered and drawn in bands of 16 rows: points
// that arrive in no spatial order (as in the synthetic scans) would otherwise
// hit a different part of a picture several megabytes large each time, and
// the drawing would wait on memory. Same pixels as splatting them in order:
// within a band the order of arrival is kept.
class SplatQueue {
public:
    SplatQueue(PanelRaster& raster, int pointSize)
        : raster_(raster), size_(pointSize), bands_((raster.height >> kBandShift) + 1)
    {
        pending_.resize(kCapacity);
        sorted_.resize(kCapacity);
        starts_.resize(size_t(bands_) + 1);
    }

    void Add(double sx, double sy, float depth, Rgb c) { AddIf(true, sx, sy, depth, c); }

    // Add when `wanted`, without a branch: the point is written to the next
    // free place either way and only counted when wanted (and on the panel),
    // so that points kept or not in no predictable order cost no mispredicted
    // jumps.
    void AddIf(bool wanted, double sx, double sy, float depth, Rgb c)
    {
        // Squares reach at most size / 2 pixels beyond their centre.
        const bool keep = wanted & (sx > -size_) & (sy > -size_) & (sx < raster_.width + size_) &
                          (sy < raster_.height + size_);
        // Field by field into the buffer: a whole record built on the stack
        // and copied would be read back before its parts are stored, a stall.
        const size_t n = count_;
        const float fy = float(sy);
        // The band of a point not kept must still be a valid index.
        const float clamped = std::min(std::max(0.0f, fy), float(raster_.height));
        const size_t band = size_t(Band(clamped));
        uint32_t* starts = starts_.data();
        Pending& p = pending_[n];
        p.sx = float(sx);
        p.sy = fy;
        p.depth = depth;
        p.colour = uint32_t(c.r) | uint32_t(c.g) << 8 | uint32_t(c.b) << 16;
        starts[band + 1] += keep;   // counted now, while the point is at hand
        count_ = n + keep;
        if (count_ == kCapacity)
            Flush();
    }

    void Flush()
    {
        for (size_t b = 1; b < starts_.size(); ++b)
            starts_[b] += starts_[b - 1];
        for (size_t i = 0; i < count_; ++i)
            sorted_[starts_[size_t(Band(pending_[i].sy))]++] = pending_[i];
        for (size_t i = 0; i < count_; ++i) {
            const uint32_t c = sorted_[i].colour;
            const Rgb rgb{static_cast<unsigned char>(c), static_cast<unsigned char>(c >> 8),
                          static_cast<unsigned char>(c >> 16)};
            raster_.Splat(sorted_[i].sx, sorted_[i].sy, sorted_[i].depth, rgb, size_);
        }
        count_ = 0;
        std::fill(starts_.begin(), starts_.end(), 0);
    }

private:
    struct Pending {
        float sx, sy, depth;
        uint32_t colour;   // r, g, b from the low byte up: no byte stores, which might alias the counters
    };
    static constexpr size_t kCapacity = 262144;
    static constexpr int kBandShift = 4;

    int Band(float sy) const
    {
        const int b = sy <= 0 ? 0 : int(sy) >> kBandShift;
        return b < bands_ ? b : bands_ - 1;
    }

    PanelRaster& raster_;
    int size_;
    int bands_;
    std::vector<Pending> pending_, sorted_;
    size_t count_ = 0;
    std::vector<uint32_t> starts_;   // per band; kCapacity fits
};

}  // namespace preview
