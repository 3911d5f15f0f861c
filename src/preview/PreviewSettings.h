#pragma once
// What a preview shows: the view, the picture size, the floor and cut of the
// plan, the section plane and the colour rule.
#include <string>

namespace preview {

enum class View { Plan, Section, Top, Front, Side, Iso, Sheet };

// auto: the file's colours, unless every point has the grey that the
// conversion gives points without colour; then the height ramp.
enum class ColourMode { Auto, Rgb, Height, Grey };

struct Settings {
    View view = View::Plan;
    int width = 1200, height = 900;
    bool hasFloor = false;   // false: the floor is found from the height histogram
    double floor = 0.0;      // metres
    double cut = 1.1;        // plan cut height above the floor, metres
    char axis = 'y';         // section: direction of view, 'x' or 'y'
    bool hasAt = false;      // false: the section plane runs through the middle of the cloud
    double at = 0.0;         // section plane coordinate along the axis, metres
    ColourMode colour = ColourMode::Auto;
    std::string title;       // the file name shown in the caption line
};

// The largest picture side, in pixels.
constexpr int kMaxPictureSide = 4096;

// The largest floor height, cut and section plane coordinate, in metres: far
// beyond any real coordinate, and small enough that the cut height added to
// the floor still makes a difference.
constexpr double kMaxSettingMetres = 1e9;

// What is wrong with `settings` ("" when nothing): a picture size outside
// 1..kMaxPictureSide, an axis other than 'x' or 'y', a floor or section plane
// that is not a number within +-kMaxSettingMetres, or a cut that is not above
// 0 and at most kMaxSettingMetres.
std::string SettingsProblem(const Settings& settings);

const char* ViewName(View view);
bool ParseView(const std::string& text, View& view);
bool ParseColourMode(const std::string& text, ColourMode& mode);

// Thickness of the band just below the plan cut (and just behind the section
// plane) whose points are drawn as cut.
constexpr double kCutBand = 0.05;

}  // namespace preview
