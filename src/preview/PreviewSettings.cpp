#include "preview/PreviewSettings.h"

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
