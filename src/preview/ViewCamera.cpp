#include "preview/ViewCamera.h"

#include <algorithm>
#include <limits>

namespace preview {
namespace {

void Set(double (&a)[3], double x, double y, double z)
{
    a[0] = x;
    a[1] = y;
    a[2] = z;
}

}  // namespace

ViewCamera::ViewCamera(View view, char sectionAxis, const Bounds& b, int width, int height)
    : view_(view), width_(width), height_(height)
{
    switch (view) {
    case View::Plan:
    case View::Top:
        Set(u_, 1, 0, 0), Set(v_, 0, 1, 0), Set(d_, 0, 0, 1);
        break;
    case View::Front:   // from -Y looking along +Y
        Set(u_, 1, 0, 0), Set(v_, 0, 0, 1), Set(d_, 0, -1, 0);
        break;
    case View::Side:    // from +X looking along -X
        Set(u_, 0, 1, 0), Set(v_, 0, 0, 1), Set(d_, 1, 0, 0);
        break;
    case View::Section:
        if (sectionAxis == 'x')   // looking along +X: Y runs to the left
            Set(u_, 0, -1, 0), Set(v_, 0, 0, 1), Set(d_, -1, 0, 0);
        else                      // looking along +Y
            Set(u_, 1, 0, 0), Set(v_, 0, 0, 1), Set(d_, 0, -1, 0);
        break;
    default: {  // isometric, seen from +X -Y +Z
        const double s2 = std::sqrt(2.0), s3 = std::sqrt(3.0), s6 = std::sqrt(6.0);
        Set(u_, 1 / s2, 1 / s2, 0), Set(v_, -1 / s6, 1 / s6, 2 / s6), Set(d_, 1 / s3, -1 / s3, 1 / s3);
        break;
    }
    }
    for (int a = 0; a < 3; ++a)
        centre_[a] = (b.lo[a] + b.hi[a]) / 2;
    double uMin = std::numeric_limits<double>::max(), uMax = -uMin, vMin = uMin, vMax = -uMin;
    for (int i = 0; i < 8; ++i) {
        const double x = ((i & 1) ? b.hi[0] : b.lo[0]) - centre_[0];
        const double y = ((i & 2) ? b.hi[1] : b.lo[1]) - centre_[1];
        const double z = ((i & 4) ? b.hi[2] : b.lo[2]) - centre_[2];
        const double u = u_[0] * x + u_[1] * y + u_[2] * z, v = v_[0] * x + v_[1] * y + v_[2] * z;
        uMin = std::min(uMin, u), uMax = std::max(uMax, u);
        vMin = std::min(vMin, v), vMax = std::max(vMax, v);
    }
    uMid_ = (uMin + uMax) / 2;
    vMid_ = (vMin + vMax) / 2;
    // A margin of 5 % on each side; a cloud without extent gets 1 pixel per metre.
    const double du = uMax - uMin, dv = vMax - vMin;
    double scale = std::numeric_limits<double>::max();
    if (du > 0)
        scale = std::min(scale, width * 0.9 / du);
    if (dv > 0)
        scale = std::min(scale, height * 0.9 / dv);
    scale_ = scale == std::numeric_limits<double>::max() ? 1.0 : scale;
}

Slab PlanSlab(double floor, double cut)
{
    Slab s;
    s.axis = 2;
    // A little below the floor, so that its scatter and a floor level found to
    // the nearest centimetre keep the whole floor.
    s.keepLo = floor - 0.1;
    s.keepHi = floor + cut;
    s.cutHi = s.keepHi;
    s.cutLo = std::max(s.keepLo, s.keepHi - kCutBand);
    return s;
}

Slab SectionSlab(int axis, double at, const Bounds& b)
{
    Slab s;
    s.axis = axis;
    s.keepLo = at;
    s.keepHi = std::max(at, b.hi[axis]);
    s.cutLo = at;
    s.cutHi = at + kCutBand;
    return s;
}

}  // namespace preview
