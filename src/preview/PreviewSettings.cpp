#include "preview/PreviewSettings.h"

#include <cmath>

namespace preview {
namespace {

struct NamedView {
    const char* name;
    View view;
};

const NamedView kViews[] = {{"plan", View::Plan}, {"section", View::Section}, {"top", View::Top},
                            {"front", View::Front}, {"side", View::Side},       {"iso", View::Iso},
                            {"sheet", View::Sheet}};

}  // namespace

std::string SettingsProblem(const Settings& s)
{
    if (s.width < 1 || s.height < 1 || s.width > kMaxPictureSide || s.height > kMaxPictureSide)
        return "picture size " + std::to_string(s.width) + "x" + std::to_string(s.height) + " is not within 1.." +
               std::to_string(kMaxPictureSide);
    if (s.axis != 'x' && s.axis != 'y')
        return "section axis must be x or y";
    // NaN would make every comparison with a coordinate false, and a floor so
    // large that adding the cut changes nothing would leave no height range.
    const auto within = [](double v) { return std::fabs(v) <= kMaxSettingMetres; };   // false for NaN
    if (s.hasFloor && !within(s.floor))
        return "floor height is not a number of metres within +-1e9";
    if (!(s.cut > 0) || !within(s.cut))
        return "cut height is not a number of metres above 0 and at most 1e9";
    if (s.hasAt && !within(s.at))
        return "section plane is not a number of metres within +-1e9";
    return "";
}

const char* ViewName(View view)
{
    for (const NamedView& v : kViews)
        if (v.view == view)
            return v.name;
    return "?";
}

bool ParseView(const std::string& text, View& view)
{
    for (const NamedView& v : kViews)
        if (text == v.name) {
            view = v.view;
            return true;
        }
    return false;
}

bool ParseColourMode(const std::string& text, ColourMode& mode)
{
    if (text == "auto") mode = ColourMode::Auto;
    else if (text == "rgb") mode = ColourMode::Rgb;
    else if (text == "height") mode = ColourMode::Height;
    else if (text == "grey") mode = ColourMode::Grey;
    else return false;
    return true;
}

}  // namespace preview
