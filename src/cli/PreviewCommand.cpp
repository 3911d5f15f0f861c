// punktwolke preview: a picture of a point file, for a quick look without the
// host: a floor plan, a section, the outside views or a sheet of four.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "cli/CliSupport.h"
#include "cli/Commands.h"
#include "preview/PngFile.h"
#include "preview/RenderPreview.h"

namespace {

constexpr int kMaxSide = preview::kMaxPictureSide;

// A number of metres from `lowest` to `limit`. "nan" and "inf" are numbers to
// strtod and to the option parser, but no height or plane a picture can use.
CLI::Validator MetresWithin(double lowest, double limit)
{
    return CLI::Validator(
        [lowest, limit](const std::string& value) {
            char* end = nullptr;
            const double v = std::strtod(value.c_str(), &end);
            if (end != value.c_str() && *end == '\0' && v >= lowest && v <= limit)
                return std::string();
            char range[64];
            std::snprintf(range, sizeof range, "%g to %g", lowest, limit);
            return "expected a number of metres from " + std::string(range) + ", got " + value;
        },
        "METRES");
}

struct PreviewOptions {
    std::string input;
    std::string output;
    std::string view = "plan";
    std::string size;
    std::string colour = "auto";
    std::string axis = "y";
    double floor = 0, cut = 1.1, at = 0;
    bool hasFloor = false, hasAt = false;
};

// "WxH", each side 1..kMaxSide in decimal digits (no sign, no blanks, and no
// number too long for an int on its way).
bool ParseSize(const std::string& text, int& w, int& h)
{
    auto side = [](const std::string& digits, int& out) {
        if (digits.empty() || digits.size() > 4 || digits.find_first_not_of("0123456789") != std::string::npos)
            return false;
        out = std::stoi(digits);
        return out >= 1 && out <= kMaxSide;
    };
    const size_t x = text.find('x');
    return x != std::string::npos && side(text.substr(0, x), w) && side(text.substr(x + 1), h);
}

std::string DefaultPngName(const std::string& input)
{
    std::string name = FileNameOf(input);
    const std::string ext = ".gspc";
    if (name.size() > ext.size() && name.compare(name.size() - ext.size(), ext.size(), ext) == 0)
        name.resize(name.size() - ext.size());
    return name + ".png";
}

int RunPreview(const PreviewOptions& opt)
{
    preview::Settings settings;
    preview::ParseView(opt.view, settings.view);         // checked by the options' validators
    preview::ParseColourMode(opt.colour, settings.colour);
    if (opt.size.empty()) {
        settings.width = settings.view == preview::View::Sheet ? 1800 : 1200;
        settings.height = settings.view == preview::View::Sheet ? 1350 : 900;
    } else {
        ParseSize(opt.size, settings.width, settings.height);
    }
    settings.hasFloor = opt.hasFloor;
    settings.floor = opt.floor;
    settings.cut = opt.cut;
    settings.axis = opt.axis[0];
    settings.hasAt = opt.hasAt;
    settings.at = opt.at;
    settings.title = FileNameOf(opt.input);
    const std::string output = opt.output.empty() ? DefaultPngName(opt.input) : opt.output;
    try {
        const preview::Preview result = preview::RenderPreview(opt.input, settings);
        const std::string error = preview::WritePng(output, result.picture);
        if (!error.empty()) {
            PrintFailure("PNG-Datei konnte nicht geschrieben werden.", error);
            return 1;
        }
        std::printf("points: %llu\n", static_cast<unsigned long long>(result.pointCount));
        if (settings.view == preview::View::Plan || settings.view == preview::View::Iso ||
            settings.view == preview::View::Sheet)
            std::printf("floor: %.2f m (%s), cut at %.2f m\n", std::fabs(result.floor) < 0.005 ? 0.0 : result.floor,
                        settings.hasFloor ? "given" : "found", result.floor + settings.cut);
        std::printf("output: %s (%dx%d, %s view)\n", output.c_str(), settings.width, settings.height,
                    opt.view.c_str());
        return 0;
    } catch (const std::exception& e) {
        PrintFailure("GSPC-Datei konnte nicht gelesen werden.", e.what());
        return 1;
    }
}

}  // namespace

void AddPreviewCommand(CLI::App& app, int& exitStatus)
{
    auto opt = std::make_shared<PreviewOptions>();
    auto* cmd = app.add_subcommand("preview", "Render a .gspc point file into a PNG picture");
    cmd->add_option("file", opt->input, "Point file to render")->required();
    cmd->add_option("-o,--output", opt->output, "PNG file to write (default: <name>.png in the current folder)");
    cmd->add_option("--view", opt->view,
                    "plan (floor plan cut at --cut), section (vertical cut), top, front, side, iso (cut away "
                    "above --cut), sheet (plan, section, front and iso)")
        ->check(CLI::IsMember({"plan", "section", "top", "front", "side", "iso", "sheet"}))
        ->capture_default_str();
    cmd->add_option("--size", opt->size, "Picture size WxH, each 1..4096 (default 1200x900, sheet 1800x1350)")
        ->check(CLI::Validator(
            [](std::string& value) {
                int w = 0, h = 0;
                return ParseSize(value, w, h) ? std::string() : "expected WxH with 1..4096 each, got " + value;
            },
            "WxH"));
    cmd->add_option("--colour", opt->colour,
                    "auto (the file's colours; a height ramp when the scan had none), rgb, height, grey")
        ->check(CLI::IsMember({"auto", "rgb", "height", "grey"}))
        ->capture_default_str();
    cmd->add_option("--floor", opt->floor, "Floor height in metres (default: found from the height histogram)")
        ->check(MetresWithin(-preview::kMaxSettingMetres, preview::kMaxSettingMetres))
        ->each([opt](const std::string&) { opt->hasFloor = true; });
    cmd->add_option("--cut", opt->cut, "Cut height of the plan above the floor, metres")
        ->check(MetresWithin(0.01, 1000.0))
        ->capture_default_str();
    cmd->add_option("--axis", opt->axis, "Section: direction of view, x or y")
        ->check(CLI::IsMember({"x", "y"}))
        ->capture_default_str();
    cmd->add_option("--at", opt->at, "Section: coordinate of the section plane (default: middle of the cloud)")
        ->check(MetresWithin(-preview::kMaxSettingMetres, preview::kMaxSettingMetres))
        ->each([opt](const std::string&) { opt->hasAt = true; });
    cmd->callback([opt, &exitStatus] { exitStatus = RunPreview(*opt); });
}
