// Pictures of known geometry: a room of 8 x 5 x 3 m with a door in its south
// wall and a window in its north wall, drawn by the renderer and checked on pixels.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "import/GspcWriter.h"
#include "preview/EyeDomeLighting.h"
#include "preview/FloorLevel.h"
#include "preview/Lettering.h"
#include "preview/PointColour.h"
#include "preview/PointSize.h"
#include "preview/RenderPreview.h"
#include "support/TestSupport.h"

using namespace preview;

namespace {

constexpr double kStep = 0.025;   // grid spacing of the points on every surface

struct Colours {
    unsigned char floor[3] = {0, 160, 0};
    unsigned char ceiling[3] = {220, 0, 0};
    unsigned char wall[3] = {60, 60, 200};
};

// Points on a grid over the rectangle o + a*u + b*v, a, b in [0, 1].
void Surface(GspcWriter& w, const double o[3], const double u[3], const double v[3], const unsigned char c[3],
             const std::function<bool(double, double, double)>& skip = nullptr)
{
    const double lu = std::sqrt(u[0] * u[0] + u[1] * u[1] + u[2] * u[2]);
    const double lv = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    for (int i = 0; i <= int(lu / kStep); ++i)
        for (int j = 0; j <= int(lv / kStep); ++j) {
            const double a = i * kStep / lu, b = j * kStep / lv;
            const double x = o[0] + a * u[0] + b * v[0], y = o[1] + a * u[1] + b * v[1], z = o[2] + a * u[2] + b * v[2];
            if (!skip || !skip(x, y, z))
                w.Write(float(x), float(y), float(z), c[0], c[1], c[2]);
        }
}

// Floor at z = `floorZ`; door in the south wall at x 2..3 up to 2.1 m, window
// in the north wall at x 5..6.5 from 1.0 to 2.2 m.
std::string WriteRoom(const std::string& path, const Colours& c, double floorZ = 0.0)
{
    GspcWriter w;
    EXPECT_TRUE(w.Open(path.c_str()));
    const double f = floorZ;
    const double floorO[3] = {0, 0, f}, ceilO[3] = {0, 0, f + 3}, ex[3] = {8, 0, 0}, ey[3] = {0, 5, 0},
                 ez[3] = {0, 0, 3}, north[3] = {0, 5, f}, east[3] = {8, 0, f};
    Surface(w, floorO, ex, ey, c.floor);
    Surface(w, ceilO, ex, ey, c.ceiling);
    Surface(w, floorO, ex, ez, c.wall, [f](double x, double, double z) { return x > 2 && x < 3 && z < f + 2.1; });
    Surface(w, north, ex, ez, c.wall,
            [f](double x, double, double z) { return x > 5 && x < 6.5 && z > f + 1.0 && z < f + 2.2; });
    Surface(w, floorO, ey, ez, c.wall);
    Surface(w, east, ey, ez, c.wall);
    EXPECT_TRUE(w.Close());
    return path;
}

// Pixel of a world position in the plan/top panel (bounds centred, Y up).
const unsigned char* PlanPixel(const Preview& p, double x, double y)
{
    const PanelInfo& info = p.panels.at(0);
    const int px = info.x + int(info.width / 2.0 + (x - 4.0) * info.pixelsPerMetre);
    const int py = info.y + int(info.height / 2.0 - (y - 2.5) * info.pixelsPerMetre);
    return p.picture.At(px, py);
}

bool Dark(const unsigned char* c)
{
    return c[0] < 90 && c[1] < 90 && c[2] < 90;
}

Settings Sized(View view, ColourMode colour = ColourMode::Rgb)
{
    Settings s;
    s.view = view;
    s.width = 820;
    s.height = 600;
    s.colour = colour;
    s.title = "room.gspc";
    return s;
}

}  // namespace

TEST(PreviewRender, PlanCutsTheWallsShowsDoorAndWindowAsGapsAndLeavesOutTheCeiling)
{
    pwtest::TempDir dir;
    const std::string room = WriteRoom(dir.File("room.gspc"), Colours(), 12.0);
    const Preview plan = RenderPreview(room, Sized(View::Plan));
    EXPECT_NEAR(plan.floor, 12.0, 0.02) << "the lowest strong level, not the ceiling";
    ASSERT_EQ(plan.panels.size(), 1u);

    // Walls at the cut height are dark; door and window are not.
    for (const double x : {1.0, 4.0, 7.5})
        EXPECT_TRUE(Dark(PlanPixel(plan, x, 0.0))) << "south wall at x " << x;
    for (const double x : {1.0, 3.5, 7.5})
        EXPECT_TRUE(Dark(PlanPixel(plan, x, 5.0))) << "north wall at x " << x;
    EXPECT_FALSE(Dark(PlanPixel(plan, 2.5, 0.0))) << "door";
    EXPECT_FALSE(Dark(PlanPixel(plan, 5.75, 5.0))) << "window";
    EXPECT_TRUE(Dark(PlanPixel(plan, 0.0, 2.5)) && Dark(PlanPixel(plan, 8.0, 2.5))) << "west and east walls";

    // Inside the room the plan shows the floor (green, lighter), the top view the ceiling (red).
    const unsigned char* inPlan = PlanPixel(plan, 4.0, 2.5);
    EXPECT_GT(inPlan[1], inPlan[0]) << "floor, not ceiling";
    EXPECT_GT(inPlan[1], 160) << "drawn lighter than its own colour";
    const Preview top = RenderPreview(room, Sized(View::Top));
    const unsigned char* inTop = PlanPixel(top, 4.0, 2.5);
    EXPECT_GT(inTop[0], 150);
    EXPECT_LT(inTop[1], 60);

    // A floor given by hand moves the cut: at 2 m above the floor the window
    // is cut through but the door is not (its lintel is 2.1 m).
    Settings high = Sized(View::Plan);
    high.hasFloor = true;
    high.floor = 12.0;
    high.cut = 2.0;
    const Preview cut2 = RenderPreview(room, high);
    EXPECT_FALSE(Dark(PlanPixel(cut2, 2.5, 0.0))) << "door";
    EXPECT_FALSE(Dark(PlanPixel(cut2, 5.75, 5.0))) << "window";
    high.cut = 2.15;
    const Preview cut215 = RenderPreview(room, high);
    EXPECT_TRUE(Dark(PlanPixel(cut215, 2.5, 0.0))) << "above the door";
}

TEST(PreviewRender, SectionShowsFloorAndCeilingAsCutLinesAtTheirHeights)
{
    pwtest::TempDir dir;
    const std::string room = WriteRoom(dir.File("room.gspc"), Colours());
    Settings s = Sized(View::Section, ColourMode::Grey);
    s.axis = 'y';
    s.hasAt = true;
    s.at = 2.5;
    const Preview p = RenderPreview(room, s);
    const PanelInfo& info = p.panels.at(0);
    // Looking along +Y: X to the right, Z up, the cloud centred.
    auto pixel = [&](double x, double z) {
        return p.picture.At(info.x + int(info.width / 2.0 + (x - 4.0) * info.pixelsPerMetre),
                            info.y + int(info.height / 2.0 - (z - 1.5) * info.pixelsPerMetre));
    };
    for (const double x : {1.0, 4.0, 6.0}) {
        EXPECT_TRUE(Dark(pixel(x, 0.0))) << "floor line at x " << x;
        EXPECT_TRUE(Dark(pixel(x, 3.0))) << "ceiling line at x " << x;
        EXPECT_FALSE(Dark(pixel(x, 1.5))) << "the wall behind, lighter, at x " << x;
        EXPECT_FALSE(Dark(pixel(x, 0.3))) << "nothing dark just above the floor at x " << x;
    }
    EXPECT_TRUE(Dark(pixel(0.0, 1.5)) && Dark(pixel(8.0, 1.5))) << "the cut side walls";
    // The window in the north wall behind is a hole; the south wall in front of the plane is left out.
    const unsigned char* window = pixel(5.75, 1.6);
    EXPECT_EQ(window[0] + window[1] + window[2], 3 * 255);
    EXPECT_NE(p.panels.at(0).caption.find("section at y = 2.50 m"), std::string::npos) << p.panels.at(0).caption;
}

TEST(PreviewRender, ColourlessFilesGetTheHeightRampAndCaptionsAndScaleBarsAreDrawn)
{
    pwtest::TempDir dir;
    Colours grey;
    for (unsigned char* c : {grey.floor, grey.ceiling, grey.wall})
        c[0] = c[1] = c[2] = kFallbackGrey;
    const std::string colourless = WriteRoom(dir.File("grey.gspc"), grey);
    const std::string coloured = WriteRoom(dir.File("colour.gspc"), Colours());

    EXPECT_EQ(RenderPreview(colourless, Sized(View::Front, ColourMode::Auto)).colour, ColourMode::Height);
    EXPECT_EQ(RenderPreview(coloured, Sized(View::Front, ColourMode::Auto)).colour, ColourMode::Rgb);
    EXPECT_EQ(RenderPreview(colourless, Sized(View::Front, ColourMode::Rgb)).colour, ColourMode::Rgb);
    EXPECT_EQ(ResolveColourMode(ColourMode::Auto, true), ColourMode::Height);
    EXPECT_EQ(ResolveColourMode(ColourMode::Grey, false), ColourMode::Grey);

    // The ramp runs from blue-violet at the floor to yellow at the top.
    const Preview side = RenderPreview(colourless, Sized(View::Side, ColourMode::Auto));
    const PanelInfo& info = side.panels.at(0);
    const int cx = info.x + info.width / 2;
    const unsigned char* low = side.picture.At(cx, info.y + int(info.height / 2.0 + 1.2 * info.pixelsPerMetre));
    const unsigned char* high = side.picture.At(cx, info.y + int(info.height / 2.0 - 1.2 * info.pixelsPerMetre));
    EXPECT_GT(low[2], low[1]) << "blue at the bottom";
    EXPECT_GT(high[1], high[2]) << "green-yellow at the top";

    // The sheet: four panels, each with its caption and a scale bar.
    Settings sheet = Sized(View::Sheet);
    sheet.width = 1400;
    sheet.height = 1000;
    const Preview all = RenderPreview(coloured, sheet);
    ASSERT_EQ(all.panels.size(), 4u);
    const View expected[4] = {View::Plan, View::Section, View::Front, View::Iso};
    for (int i = 0; i < 4; ++i) {
        const PanelInfo& panel = all.panels[size_t(i)];
        EXPECT_EQ(panel.view, expected[i]);
        EXPECT_EQ(panel.caption.rfind("room.gspc  |  ", 0), 0u) << panel.caption;
        EXPECT_NE(panel.caption.find(" points  |  "), std::string::npos);
        EXPECT_GT(panel.scaleBarMetres, 0.0);
        EXPECT_LE(panel.scaleBarMetres * panel.pixelsPerMetre, panel.width * 0.25 + 1e-9);
    }
    EXPECT_NE(all.panels[0].caption.find("plan, cut 1.10 m above the floor at 0.00 m"), std::string::npos);
    EXPECT_EQ(ScaleBarMetres(100.0, 250.0), 2.0);
    EXPECT_EQ(ScaleBarMetres(10.0, 49.0), 2.0);
    EXPECT_EQ(ScaleBarMetres(10.0, 50.0), 5.0);
}

TEST(PreviewRender, PointSizeClosesSparseSurfaces)
{
    // A floor of 4000 scattered points seen from above on a 400 x 300 picture:
    // about 20 pixels per point, so single pixels would leave most of it empty.
    pwtest::TempDir dir;
    const std::string path = dir.File("sparse.gspc");
    {
        GspcWriter w;
        ASSERT_TRUE(w.Open(path.c_str()));
        uint64_t state = 12345;
        auto next = [&state] {
            state = state * 6364136223846793005ull + 1442695040888963407ull;
            return double(state >> 11) / 9007199254740992.0;
        };
        for (int i = 0; i < 4000; ++i)
            w.Write(float(next() * 4), float(next() * 3), 0.0f, 90, 90, 90);
        ASSERT_TRUE(w.Close());
    }
    Settings s = Sized(View::Top);
    s.width = 400;
    s.height = 300;
    const Preview p = RenderPreview(path, s);
    const PanelInfo& info = p.panels.at(0);
    EXPECT_GE(info.pointSize, 5);
    // Inside the floor (away from its edges) nearly every pixel is drawn.
    int drawn = 0, all = 0;
    const int cx = info.x + info.width / 2, cy = info.y + info.height / 2;
    const int rx = int(1.8 * info.pixelsPerMetre), ry = int(1.3 * info.pixelsPerMetre);
    for (int y = cy - ry; y < cy + ry; ++y)
        for (int x = cx - rx; x < cx + rx; ++x, ++all)
            drawn += p.picture.At(x, y)[0] != 255;
    EXPECT_GT(drawn, all * 95 / 100);
}

TEST(PreviewRender, SettingsNoPictureCanUseAreRefusedAndExtremeOnesStillDraw)
{
    pwtest::TempDir dir;
    const std::string room = WriteRoom(dir.File("room.gspc"), Colours());
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    const std::vector<std::pair<const char*, std::function<void(Settings&)>>> refused = {
        {"floor NaN", [nan](Settings& s) { s.hasFloor = true, s.floor = nan; }},
        {"floor -inf", [inf](Settings& s) { s.hasFloor = true, s.floor = -inf; }},
        {"floor 1e300", [](Settings& s) { s.hasFloor = true, s.floor = 1e300; }},
        {"cut NaN", [nan](Settings& s) { s.cut = nan; }},
        {"cut 0", [](Settings& s) { s.cut = 0; }},
        {"cut -1", [](Settings& s) { s.cut = -1; }},
        {"section NaN", [nan](Settings& s) { s.view = View::Section, s.hasAt = true, s.at = nan; }},
        {"section inf", [inf](Settings& s) { s.view = View::Sheet, s.hasAt = true, s.at = inf; }},
        {"axis z", [](Settings& s) { s.view = View::Section, s.axis = 'z'; }},
        {"width 0", [](Settings& s) { s.width = 0; }},
        {"height 4097", [](Settings& s) { s.height = kMaxPictureSide + 1; }},
    };
    for (const auto& [name, change] : refused) {
        Settings s = Sized(View::Plan);
        change(s);
        EXPECT_THROW(RenderPreview(room, s), std::invalid_argument) << name;
        EXPECT_FALSE(SettingsProblem(s).empty()) << name;
    }
    // The limits themselves, unused flags with any value, and tiny pictures draw.
    for (const View view : {View::Plan, View::Section, View::Iso, View::Sheet}) {
        for (const double limit : {kMaxSettingMetres, -kMaxSettingMetres}) {
            Settings s = Sized(view, ColourMode::Height);
            s.hasFloor = s.hasAt = true;
            s.floor = s.at = limit;
            s.cut = kMaxSettingMetres;
            EXPECT_EQ(RenderPreview(room, s).picture.rgb.size(), size_t(820) * 600 * 3) << ViewName(view);
        }
        Settings tiny = Sized(view);
        tiny.width = tiny.height = 1;
        tiny.floor = tiny.at = nan;   // not given: the floor is found, the plane is the middle
        EXPECT_EQ(RenderPreview(room, tiny).picture.rgb.size(), 3u) << ViewName(view);
    }
}

TEST(PreviewRender, PointsAtTheFloatLimitsDrawInEveryViewAndColour)
{
    // Bounds of nearly +-FLT_MAX: extents, bins and scales at their extremes.
    pwtest::TempDir dir;
    const std::string path = dir.File("extreme.gspc");
    {
        GspcWriter w;
        ASSERT_TRUE(w.Open(path.c_str()));
        const float big = std::numeric_limits<float>::max();
        w.Write(-big, -big, -big, 10, 20, 30);
        w.Write(big, big, big, 200, 200, 200);
        w.Write(0.0f, 0.0f, 0.0f, 1, 2, 3);
        w.Write(1e-30f, -1e30f, 3.0e38f, 4, 5, 6);
        ASSERT_TRUE(w.Close());
    }
    for (const View view : {View::Plan, View::Section, View::Top, View::Front, View::Side, View::Iso, View::Sheet})
        for (const ColourMode colour : {ColourMode::Auto, ColourMode::Height, ColourMode::Grey}) {
            const Preview p = RenderPreview(path, Sized(view, colour));
            EXPECT_EQ(p.pointCount, 4u);
            EXPECT_TRUE(std::isfinite(p.floor)) << ViewName(view);
            for (const PanelInfo& info : p.panels)
                EXPECT_TRUE(info.pointSize >= 1 && info.pointSize <= kLargestPointSize) << ViewName(view);
        }
}

TEST(EyeDomeLighting, DarkensThePixelsBelowADepthStepOnly)
{
    // Left half 1 m deeper than the right half, uniform grey.
    PanelRaster r(40, 10);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 40; ++x) {
            r.Splat(x + 0.5, y + 0.5, x < 20 ? 0.0f : 1.0f, Rgb{200, 200, 200}, 1);
        }
    ApplyEyeDomeLighting(r, 0.01);
    auto grey = [&](int x) { return int(r.rgb[(size_t(5) * 40 + size_t(x)) * 3]); };
    EXPECT_LT(grey(19), 150) << "just below the step";
    EXPECT_LT(grey(18), 150);
    EXPECT_EQ(grey(10), 200) << "away from the step";
    EXPECT_EQ(grey(20), 200) << "the nearer side stays";
    EXPECT_EQ(grey(30), 200);

    // A gentle slope (one pixel of depth per pixel) is not shaded.
    PanelRaster slope(40, 10);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 40; ++x)
            slope.Splat(x + 0.5, y + 0.5, float(x) * 0.01f, Rgb{200, 200, 200}, 1);
    ApplyEyeDomeLighting(slope, 0.01);
    EXPECT_EQ(int(slope.rgb[(size_t(5) * 40 + 20) * 3]), 200);
}

TEST(FloorLevel, TheLowestStrongPeakNotStrayPointsOrTheCeiling)
{
    HeightHistogram h(-2.0, 4.0);
    for (int i = 0; i < 30; ++i)
        h.Add(-1.9 + i * 0.05);            // stray points below the floor
    for (int i = 0; i < 5000; ++i)
        h.Add(0.30 + (i % 5) * 0.001);     // floor
    for (int i = 0; i < 800; ++i)
        h.Add(1.05);                       // a table, too small to count
    for (int i = 0; i < 9000; ++i)
        h.Add(3.30);                       // ceiling, the highest peak
    for (int i = 0; i < 3000; ++i)
        h.Add(0.0 + i * 0.001);            // walls, spread out
    EXPECT_NEAR(FindFloor(h, -99), 0.30, 0.011);
    EXPECT_EQ(FindFloor(HeightHistogram(), -99), -99);
}
