#pragma once
// The orthographic camera of one picture panel: screen axes u (right), v (up)
// and d (towards the viewer), fitted to the cloud's bounding box, plus the
// slab of the cloud the view keeps (plan: floor to cut height; section: from
// the section plane backwards) and the band of that slab drawn as cut.
#include <cmath>

#include "preview/PreviewSettings.h"

namespace preview {

struct Bounds {
    double lo[3] = {0, 0, 0}, hi[3] = {0, 0, 0};
};

struct Slab {
    int axis = -1;                   // -1: every point is kept
    double keepLo = 0, keepHi = 0;   // kept coordinate range on the axis
    double cutLo = 0, cutHi = 0;     // drawn as cut (dark); the rest of the slab lighter
};

class ViewCamera {
public:
    // `view` is one of the single views (not the sheet); the camera maps the
    // bounding box into a drawing area of width x height pixels with a margin.
    ViewCamera(View view, char sectionAxis, const Bounds& bounds, int width, int height);

    View Kind() const { return view_; }
    int Width() const { return width_; }
    int Height() const { return height_; }
    double PixelsPerMetre() const { return scale_; }

    // Screen position (pixels, y down) and depth (metres, larger is nearer).
    void Project(double x, double y, double z, double& sx, double& sy, double& depth) const
    {
        const double px = x - centre_[0], py = y - centre_[1], pz = z - centre_[2];
        sx = (u_[0] * px + u_[1] * py + u_[2] * pz - uMid_) * scale_ + width_ * 0.5;
        sy = height_ * 0.5 - (v_[0] * px + v_[1] * py + v_[2] * pz - vMid_) * scale_;
        depth = d_[0] * px + d_[1] * py + d_[2] * pz;
    }

    Slab slab;

private:
    View view_;
    int width_, height_;
    double u_[3], v_[3], d_[3];
    double centre_[3];
    double scale_ = 1.0, uMid_ = 0, vMid_ = 0;
};

// The slab of the plan (and of the cutaway iso): floor to floor + cut, the
// last kCutBand below the cut drawn as cut.
Slab PlanSlab(double floor, double cut);

// The slab of a section: from the plane at `at` on `axis` (0 x, 1 y) away
// from the viewer to the end of the cloud.
Slab SectionSlab(int axis, double at, const Bounds& bounds);

}  // namespace preview
