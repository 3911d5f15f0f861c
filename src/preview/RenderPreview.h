#pragma once
// A preview picture of a point file: one view, or the sheet of plan, section,
// front and iso. Two streaming passes over the file: the first counts (height
// histogram for the floor, whether the file has colours, point density per
// panel), the second draws. Memory depends on the picture size only.
#include <cstdint>
#include <string>
#include <vector>

#include "preview/Picture.h"
#include "preview/PreviewSettings.h"

namespace preview {

struct PanelInfo {
    View view = View::Plan;
    int x = 0, y = 0, width = 0, height = 0;   // drawing area in the picture
    double pixelsPerMetre = 1.0;
    int pointSize = 1;
    std::string caption;                       // empty when the panel is too small for one
    double scaleBarMetres = 0.0;               // 0: none drawn
};

struct Preview {
    Picture picture;
    std::vector<PanelInfo> panels;
    uint64_t pointCount = 0;
    double floor = 0.0;             // given or found
    ColourMode colour = ColourMode::Rgb;   // auto resolved
};

// Throws GspcFormatError when the file cannot be read, std::invalid_argument
// when SettingsProblem finds fault with the settings.
Preview RenderPreview(const std::string& gspcPath, const Settings& settings);

// "plan, cut 1.10 m above the floor at 0.00 m" and the like.
std::string ViewDescription(const Settings& settings, View view, double floor, double sectionAt);

}  // namespace preview
