// Fuzz target: the preview renderer, on a point file and on settings as the
// command line could give them. The input is a settings block of kSettingsSize
// bytes followed by the .gspc file:
//   byte 0     view (bits 0-2, 7 = plan), colour (bits 3-4), axis x (bit 5),
//              floor given (bit 6), section plane given (bit 7)
//   byte 1, 2  picture width and height - 1 (small, to keep runs short)
//   byte 3     which of floor, cut, at take the raw doubles below (bits 0-2);
//              the others get sensible values from the low byte of the double
//   bytes 4-27 floor, cut, at as little-endian doubles
// Only GspcFormatError (the file) and std::invalid_argument (the settings)
// may come out, and a picture must have the size asked for.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "FuzzSupport.h"
#include "import/GspcReader.h"
#include "preview/RenderPreview.h"

namespace {

constexpr size_t kSettingsSize = 28;

// The machine's own byte order: both machines the project runs on are little-endian.
double DoubleAt(const uint8_t* p)
{
    double v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

preview::Settings SettingsFrom(const uint8_t* b)
{
    using preview::View;
    static const View kViews[8] = {View::Plan, View::Section, View::Top,   View::Front,
                                   View::Side, View::Iso,     View::Sheet, View::Plan};
    static const preview::ColourMode kColours[4] = {preview::ColourMode::Auto, preview::ColourMode::Rgb,
                                                    preview::ColourMode::Height, preview::ColourMode::Grey};
    preview::Settings s;
    s.view = kViews[b[0] & 7];
    s.colour = kColours[(b[0] >> 3) & 3];
    s.axis = (b[0] & 32) ? 'x' : 'y';
    s.hasFloor = (b[0] & 64) != 0;
    s.hasAt = (b[0] & 128) != 0;
    s.width = 1 + b[1];
    s.height = 1 + b[2];
    // Raw doubles reach the settings check; tame ones (-12.8..12.7 m, cut
    // 0.1..25.6 m) reach the drawing.
    s.floor = (b[3] & 1) ? DoubleAt(b + 4) : int8_t(b[4]) / 10.0;
    s.cut = (b[3] & 2) ? DoubleAt(b + 12) : (1 + b[12]) / 10.0;
    s.at = (b[3] & 4) ? DoubleAt(b + 20) : int8_t(b[20]) / 10.0;
    s.title = "fuzz.gspc";
    return s;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static fuzzsupport::MemFile file("fuzz_preview");
    if (size < kSettingsSize)
        return 0;
    const preview::Settings settings = SettingsFrom(data);
    const std::string& path = file.Write(data + kSettingsSize, size - kSettingsSize);
    try {
        const preview::Preview p = preview::RenderPreview(path, settings);
        if (p.picture.width != settings.width || p.picture.height != settings.height ||
            p.picture.rgb.size() != size_t(settings.width) * size_t(settings.height) * 3)
            __builtin_trap();
    } catch (const GspcFormatError&) {
    } catch (const std::invalid_argument&) {
    }
    return 0;
}
