#include "cli/CoordinateRange.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "import/ConvertE57ToGspc.h"

double Float32StepAt(double magnitude)
{
    const double m = std::fabs(magnitude);
    if (!(m >= 1.17549435e-38))   // below the normal floats (or NaN): the subnormal step
        return std::ldexp(1.0, -149);
    int exponent = 0;
    std::frexp(m, &exponent);      // m = f * 2^exponent, f in [0.5, 1)
    return std::ldexp(1.0, exponent - 24);
}

double LargestPosedCoordinate(const e57::Data3D& scan)
{
    double lo[3] = {0, 0, 0}, hi[3] = {0, 0, 0};
    bool box = false;
    if (scan.hasCartesianBounds) {
        const e57::CartesianBounds& b = scan.cartesianBounds;
        lo[0] = b.xMinimum, hi[0] = b.xMaximum, lo[1] = b.yMinimum, hi[1] = b.yMaximum;
        lo[2] = b.zMinimum, hi[2] = b.zMaximum;
        box = true;
    } else {
        static const char* const kNames[3] = {"cartesianX", "cartesianY", "cartesianZ"};
        int found = 0;
        for (int a = 0; a < 3; ++a)
            for (const e57::FieldDescription& f : scan.prototype) {
                if (f.name != kNames[a])
                    continue;
                if (f.encoding == e57::FieldEncoding::ScaledInteger) {
                    lo[a] = double(f.minimum) * f.scale + f.offset;
                    hi[a] = double(f.maximum) * f.scale + f.offset;
                    ++found;
                } else if (f.encoding == e57::FieldEncoding::Integer) {
                    lo[a] = double(f.minimum);
                    hi[a] = double(f.maximum);
                    ++found;
                }
            }
        box = found == 3;
    }
    double largest = 0;
    for (int corner = 0; corner < (box ? 8 : 1); ++corner) {
        double x = 0, y = 0, z = 0;
        if (box) {
            x = (corner & 1) ? hi[0] : lo[0];
            y = (corner & 2) ? hi[1] : lo[1];
            z = (corner & 4) ? hi[2] : lo[2];
        }
        double px, py, pz;
        ApplyPose(scan.pose, x, y, z, px, py, pz);
        largest = std::max({largest, std::fabs(px), std::fabs(py), std::fabs(pz)});
    }
    return largest;
}

std::string FarFromOriginWarning(double magnitude)
{
    const double step = Float32StepAt(magnitude);
    if (!(step > 0.001))
        return std::string();
    char text[256];
    std::snprintf(text, sizeof text,
                  "warning: coordinates reach %.0f m from the origin; the point file's 32-bit floats hold them "
                  "only to %.3g mm there (georeferenced scan?)",
                  std::fabs(magnitude), step * 1000.0);
    return text;
}

void WarnIfFarFromOrigin(double magnitude)
{
    const std::string warning = FarFromOriginWarning(magnitude);
    if (!warning.empty())
        std::fprintf(stderr, "punktwolke: %s\n", warning.c_str());
}
