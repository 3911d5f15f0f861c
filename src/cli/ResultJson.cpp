#include "cli/ResultJson.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "cli/CoordinateRange.h"

nlohmann::json FiguresJson(const ConversionFigures& f)
{
    nlohmann::json j;
    j["totalPoints"] = f.totalPoints;
    j["keptPoints"] = f.keptPoints;
    j["density"] = f.density;
    j["offset"] = {{"x", f.offset[0]}, {"y", f.offset[1]}, {"z", f.offset[2]}};
    j["size"] = {{"x", f.size[0]}, {"y", f.size[1]}, {"z", f.size[2]}};
    j["seconds"] = f.seconds;
    const double largest = LargestCoordinate(f);
    j["resolutionMm"] = Float32StepAt(largest) * 1000.0;
    j["warnings"] = nlohmann::json::array();
    const std::string warning = FarFromOriginWarning(largest);
    if (!warning.empty())
        j["warnings"].push_back(warning);
    return j;
}

double LargestCoordinate(const ConversionFigures& f)
{
    double largest = 0;
    for (int a = 0; a < 3; ++a)
        largest = std::max({largest, std::fabs(double(f.offset[a])), std::fabs(double(f.offset[a]) + f.size[a])});
    return largest;
}

void PrintJson(const nlohmann::json& document)
{
    const std::string text = document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
    std::printf("%s\n", text.c_str());
}
