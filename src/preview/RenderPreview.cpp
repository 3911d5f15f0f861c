#include "preview/RenderPreview.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "import/GspcReader.h"
#include "preview/EyeDomeLighting.h"
#include "preview/FloorLevel.h"
#include "preview/Lettering.h"
#include "preview/PanelRaster.h"
#include "preview/PointColour.h"
#include "preview/PointSize.h"
#include "preview/PointStream.h"
#include "preview/ViewCamera.h"

namespace preview {
namespace {

constexpr int kCaptionStrip = 19;   // font height plus padding
constexpr uint64_t kSampledPoints = 4000000;

struct Cell {
    View view;
    int x, y, width, height;
};

std::vector<Cell> Layout(const Settings& s)
{
    if (s.view != View::Sheet)
        return {{s.view, 0, 0, s.width, s.height}};
    const int w = s.width / 2, h = s.height / 2;
    return {{View::Plan, 0, 0, w, h},
            {View::Section, w, 0, s.width - w, h},
            {View::Front, 0, h, w, s.height - h},
            {View::Iso, w, h, s.width - w, s.height - h}};
}

bool HasCaption(const Cell& c)
{
    return c.width >= 160 && c.height >= 4 * kCaptionStrip;
}

// The axis the point density is binned along, and whether larger
// coordinates on it are nearer to the viewer.
int DensityAxis(View view, char sectionAxis, bool& nearerIsHigher)
{
    nearerIsHigher = view == View::Plan || view == View::Top || view == View::Iso || view == View::Side;
    switch (view) {
    case View::Front: return 1;
    case View::Side: return 0;
    case View::Section: return sectionAxis == 'x' ? 0 : 1;
    default: return 2;
    }
}

std::string Thousands(uint64_t n)
{
    std::string digits = std::to_string(n), out;
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0)
            out += ',';
        out += digits[i];
    }
    return out;
}

struct Panel {
    Cell cell;
    PanelInfo info;
    ViewCamera camera;
    PointDensity density;
    std::unique_ptr<PanelRaster> raster;
    std::unique_ptr<PointColouring> colouring;
    std::unique_ptr<SplatQueue> queue;
};

// Queues a run of points for one panel, those of its slab on `SlabAxis`
// (-1: all) in their tone. The panel's camera, slab and colouring are copied
// to locals so that they stay in registers over the run.
template <int SlabAxis>
void DrawRun(Panel& panel, const GspcPoint* points, size_t count)
{
    const ViewCamera camera = panel.camera;
    const Slab slab = camera.slab;
    const PointColouring colouring = *panel.colouring;
    SplatQueue& queue = *panel.queue;
    for (size_t i = 0; i < count; ++i) {
        const GspcPoint& p = points[i];
        Tone tone = Tone::Plain;
        bool kept = true;
        if (SlabAxis >= 0) {
            const double c = SlabAxis == 0 ? p.x : SlabAxis == 1 ? p.y : p.z;
            kept = (c >= slab.keepLo) & (c <= slab.keepHi);
            tone = ((c >= slab.cutLo) & (c <= slab.cutHi)) ? Tone::Cut : Tone::Beyond;
        }
        double sx, sy, d;
        camera.Project(p.x, p.y, p.z, sx, sy, d);
        queue.AddIf(kept, sx, sy, float(d), colouring(p, tone));
    }
}

}  // namespace

std::string ViewDescription(const Settings& s, View view, double floor, double at)
{
    // No "-0.00" for a level a hair below zero.
    if (std::fabs(floor) < 0.005)
        floor = 0.0;
    if (std::fabs(at) < 0.005)
        at = 0.0;
    char text[160];
    switch (view) {
    case View::Plan:
    case View::Iso:
        std::snprintf(text, sizeof text, "%s, cut %.2f m above the floor at %.2f m", ViewName(view), s.cut, floor);
        break;
    case View::Section:
        std::snprintf(text, sizeof text, "section at %c = %.2f m, looking along +%c", s.axis, at, s.axis);
        break;
    default:
        std::snprintf(text, sizeof text, "%s view, no cut", ViewName(view));
        break;
    }
    return text;
}

Preview RenderPreview(const std::string& path, const Settings& s)
{
    if (const std::string problem = SettingsProblem(s); !problem.empty())
        throw std::invalid_argument(problem);
    Preview out;
    std::vector<Panel> panels;
    Bounds bounds;
    uint64_t stride = 1;
    {
        GspcReader reader(path);
        out.pointCount = reader.PointCount();
        bounds = HeaderBounds(reader.Header());
        for (const Cell& c : Layout(s)) {
            const int drawH = HasCaption(c) ? c.height - kCaptionStrip : c.height;
            ViewCamera camera(c.view, s.axis, bounds, c.width, drawH);
            bool nearerIsHigher = false;
            const int axis = DensityAxis(c.view, s.axis, nearerIsHigher);
            PointDensity density(camera, axis, nearerIsHigher, bounds);
            panels.push_back(Panel{c, PanelInfo{}, camera, std::move(density), nullptr, nullptr, nullptr});
        }

        // First pass: heights, colours, density. Heights and density are
        // statistics, so a sample of about four million points is enough.
        HeightHistogram heights(bounds.lo[2], bounds.hi[2]);
        bool everyPointGrey = true;
        stride = std::max<uint64_t>(1, out.pointCount / kSampledPoints);
        uint64_t untilSample = 0;   // counts down to the next sampled point, every stride-th
        auto sampled = [&](const unsigned char* record) {
            everyPointGrey = everyPointGrey && record[12] == kFallbackGrey && record[13] == kFallbackGrey &&
                             record[14] == kFallbackGrey;
            if (untilSample > 0) {
                --untilSample;
                return false;
            }
            untilSample = stride - 1;
            return true;
        };
        ForEachPoint(reader, sampled, [&](const GspcPoint& p) {
            heights.Add(p.z);
            const double coordinate[3] = {p.x, p.y, p.z};
            for (Panel& panel : panels) {
                double sx, sy, d;
                panel.camera.Project(p.x, p.y, p.z, sx, sy, d);
                if (sx >= 0 && sy >= 0 && sx < panel.camera.Width() && sy < panel.camera.Height())
                    panel.density.Add(sx, sy, coordinate);
            }
        });
        out.floor = s.hasFloor ? s.floor : FindFloor(heights, bounds.lo[2]);
        out.colour = ResolveColourMode(s.colour, everyPointGrey);
    }

    const int sectionAxis = s.axis == 'x' ? 0 : 1;
    const double sectionAt = s.hasAt ? s.at : (bounds.lo[sectionAxis] + bounds.hi[sectionAxis]) / 2;
    for (Panel& panel : panels) {
        ViewCamera& camera = panel.camera;
        const View view = camera.Kind();
        double zLo = bounds.lo[2], zHi = bounds.hi[2];
        if (view == View::Plan || view == View::Iso) {
            camera.slab = PlanSlab(out.floor, s.cut);
            zLo = out.floor;
            zHi = out.floor + s.cut;
        } else if (view == View::Section) {
            camera.slab = SectionSlab(sectionAxis, sectionAt, bounds);
        }
        panel.raster = std::make_unique<PanelRaster>(camera.Width(), camera.Height());
        panel.colouring = std::make_unique<PointColouring>(out.colour, zLo, zHi);
        PanelInfo& info = panel.info;
        info.view = view;
        info.x = panel.cell.x;
        info.y = panel.cell.y;
        info.width = camera.Width();
        info.height = camera.Height();
        info.pixelsPerMetre = camera.PixelsPerMetre();
        info.pointSize = panel.density.PointSizeFor(camera.slab, stride);
        panel.queue = std::make_unique<SplatQueue>(*panel.raster, info.pointSize);
    }

    // Second pass: draw.
    {
        GspcReader reader(path);
        ForEachPointRun(reader, [&](const GspcPoint* points, size_t count) {
            for (Panel& panel : panels) {
                switch (panel.camera.slab.axis) {
                case 0: DrawRun<0>(panel, points, count); break;
                case 1: DrawRun<1>(panel, points, count); break;
                case 2: DrawRun<2>(panel, points, count); break;
                default: DrawRun<-1>(panel, points, count); break;
                }
            }
        });
        for (Panel& panel : panels)
            panel.queue->Flush();
    }

    // Shading, then the panels and their lettering onto the picture.
    Picture& pic = out.picture;
    pic.width = s.width;
    pic.height = s.height;
    pic.rgb.assign(size_t(s.width) * s.height * 3, 255);
    for (Panel& panel : panels) {
        PanelRaster& r = *panel.raster;
        ApplyEyeDomeLighting(r, 1.0 / panel.camera.PixelsPerMetre(), panel.info.pointSize);
        for (int y = 0; y < r.height && r.width > 0; ++y)
            std::copy_n(&r.rgb[size_t(y) * r.width * 3], size_t(r.width) * 3,
                        &pic.rgb[(size_t(panel.cell.y + y) * pic.width + size_t(panel.cell.x)) * 3]);
        PanelInfo& info = panel.info;
        if (HasCaption(panel.cell)) {
            info.caption = s.title + "  |  " + Thousands(out.pointCount) + " points  |  " +
                           ViewDescription(s, info.view, out.floor, sectionAt);
            const int stripY = panel.cell.y + panel.cell.height - kCaptionStrip;
            FillRect(pic, panel.cell.x, stripY, panel.cell.width, 1, 200);
            const size_t fits = size_t(std::max(0, (panel.cell.width - 12) / TextWidth("m")));
            DrawText(pic, panel.cell.x + 6, stripY + 4, info.caption.substr(0, fits));
            info.scaleBarMetres = ScaleBarMetres(info.pixelsPerMetre, info.width * 0.25);
            DrawScaleBar(pic, info.x + 10, info.y + info.height - 8, info.scaleBarMetres, info.pixelsPerMetre);
        }
        panel.queue.reset();
        panel.raster.reset();
    }
    if (s.view == View::Sheet) {
        FillRect(pic, s.width / 2, 0, 1, s.height, 160);
        FillRect(pic, 0, s.height / 2, s.width, 1, 160);
    }
    for (Panel& panel : panels)
        out.panels.push_back(panel.info);
    return out;
}

}  // namespace preview
