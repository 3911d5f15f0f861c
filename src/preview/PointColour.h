#pragma once
// The colour of a drawn point: the file's colour, a height ramp or one grey,
// then darkened when the point lies in the cut band or lightened when it is
// seen beyond the cut, as a floor plan or section draws them.
#include <cstdint>

#include "import/GspcReader.h"
#include "preview/PreviewSettings.h"

namespace preview {

// The colour the conversion gives points of scans without colour.
constexpr unsigned char kFallbackGrey = 200;

inline bool IsFallbackGrey(const GspcPoint& p)
{
    return p.r == kFallbackGrey && p.g == kFallbackGrey && p.b == kFallbackGrey;
}

// Auto becomes rgb or height: height when every point has the fallback grey
// (a file without points counts as colourless too).
ColourMode ResolveColourMode(ColourMode requested, bool everyPointFallbackGrey);

struct Rgb {
    unsigned char r, g, b;
};

// Blue over green to yellow for t from 0 to 1 (clamped).
Rgb HeightRamp(double t);

enum class Tone { Plain, Cut, Beyond };

class PointColouring {
public:
    // `zLo`..`zHi`: the heights the ramp spans.
    PointColouring(ColourMode resolved, double zLo, double zHi);
    Rgb operator()(const GspcPoint& p, Tone tone) const
    {
        Rgb c;
        switch (mode_) {
        case ColourMode::Height: c = HeightRamp((p.z - zLo_) * zScale_); break;
        case ColourMode::Grey: c = {150, 150, 150}; break;
        default: c = {p.r, p.g, p.b}; break;
        }
        switch (tone) {
        case Tone::Cut:   // nearly black, a trace of the colour left
            return {static_cast<unsigned char>(c.r / 5), static_cast<unsigned char>(c.g / 5),
                    static_cast<unsigned char>(c.b / 5)};
        case Tone::Beyond:  // 60 % of the way to white, which also quietens colour noise
            return {Lighter(c.r), Lighter(c.g), Lighter(c.b)};
        default:
            return c;
        }
    }

private:
    static unsigned char Lighter(unsigned char v) { return static_cast<unsigned char>(255 - (255 - v) * 2 / 5); }

    ColourMode mode_;
    double zLo_, zScale_;
};

}  // namespace preview
