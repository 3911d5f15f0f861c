// punktwolke preview: a picture of a point file, for a quick look without the host.
#include <png.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>
#include <limits>
#include <string>
#include <vector>

#include "cli/CliSupport.h"
#include "cli/Commands.h"
#include "import/GspcReader.h"

namespace {

constexpr int kMaxSide = 4096;
constexpr unsigned char kBackground[3] = {96, 96, 96};

struct PreviewOptions {
    std::string input;
    std::string output;
    std::string view = "iso";
    std::string size = "800x600";
};

bool ParseSize(const std::string& text, int& w, int& h)
{
    int consumed = 0;
    if (std::sscanf(text.c_str(), "%dx%d%n", &w, &h, &consumed) != 2 || consumed != static_cast<int>(text.size()))
        return false;
    return w >= 1 && h >= 1 && w <= kMaxSide && h <= kMaxSide;
}

// Screen axes u (right), v (up) and depth (towards the viewer) of one view.
struct View {
    double u[3], v[3], d[3];
};

View MakeView(const std::string& name)
{
    if (name == "top")
        return {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    if (name == "front")
        return {{1, 0, 0}, {0, 0, 1}, {0, -1, 0}};
    if (name == "side")
        return {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}};
    // Isometric, seen from +X -Y +Z.
    const double s2 = std::sqrt(2.0), s3 = std::sqrt(3.0), s6 = std::sqrt(6.0);
    return {{1 / s2, 1 / s2, 0}, {-1 / s6, 1 / s6, 2 / s6}, {1 / s3, -1 / s3, 1 / s3}};
}

double Dot(const double a[3], double x, double y, double z)
{
    return a[0] * x + a[1] * y + a[2] * z;
}

struct Image {
    int width = 0, height = 0;
    std::vector<unsigned char> rgb;
    std::vector<float> depth;
};

void Render(GspcReader& reader, const View& view, Image& img)
{
    const float* b = reader.Header().bounds;
    const double cx = (double(b[0]) + b[1]) / 2, cy = (double(b[2]) + b[3]) / 2, cz = (double(b[4]) + b[5]) / 2;
    // Extent on screen from the eight corners of the bounding box.
    double uMin = std::numeric_limits<double>::max(), uMax = -uMin, vMin = uMin, vMax = -uMin;
    for (int i = 0; i < 8; ++i) {
        const double x = b[(i & 1) ? 1 : 0] - cx, y = b[(i & 2) ? 3 : 2] - cy, z = b[(i & 4) ? 5 : 4] - cz;
        const double u = Dot(view.u, x, y, z), v = Dot(view.v, x, y, z);
        uMin = std::min(uMin, u); uMax = std::max(uMax, u);
        vMin = std::min(vMin, v); vMax = std::max(vMax, v);
    }
    const double margin = 0.9;
    double scale = 1.0;
    const double du = uMax - uMin, dv = vMax - vMin;
    if (du > 0 || dv > 0) {
        const double su = du > 0 ? img.width * margin / du : std::numeric_limits<double>::max();
        const double sv = dv > 0 ? img.height * margin / dv : std::numeric_limits<double>::max();
        scale = std::min(su, sv);
    }
    const double uMid = (uMin + uMax) / 2, vMid = (vMin + vMax) / 2;

    img.rgb.assign(size_t(img.width) * img.height * 3, 0);
    for (size_t i = 0; i < img.rgb.size(); i += 3)
        std::memcpy(&img.rgb[i], kBackground, 3);
    img.depth.assign(size_t(img.width) * img.height, -std::numeric_limits<float>::infinity());

    std::vector<GspcPoint> block(65536);
    for (;;) {
        const size_t n = reader.Read(block.data(), block.size());
        if (n == 0)
            break;
        for (size_t i = 0; i < n; ++i) {
            const GspcPoint& p = block[i];
            // NaN fails every comparison and is skipped with the points that
            // lie outside the header's bounds (a file that lies about them).
            if (!(p.x >= b[0] && p.x <= b[1] && p.y >= b[2] && p.y <= b[3] && p.z >= b[4] && p.z <= b[5]))
                continue;
            const double x = p.x - cx, y = p.y - cy, z = p.z - cz;
            const double sx = (Dot(view.u, x, y, z) - uMid) * scale + img.width / 2.0;
            const double sy = img.height / 2.0 - (Dot(view.v, x, y, z) - vMid) * scale;
            if (!(sx >= 0 && sx < img.width && sy >= 0 && sy < img.height))
                continue;
            const size_t px = size_t(sy) * img.width + size_t(sx);
            const float d = static_cast<float>(Dot(view.d, x, y, z));
            if (d < img.depth[px])
                continue;
            img.depth[px] = d;
            img.rgb[px * 3] = p.r;
            img.rgb[px * 3 + 1] = p.g;
            img.rgb[px * 3 + 2] = p.b;
        }
    }
}

// Writes an 8-bit RGB PNG; returns an error text, empty on success.
std::string WritePng(const std::string& path, const Image& img)
{
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr)
        return path + ": " + ErrnoText();
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    if (png == nullptr || info == nullptr) {
        png_destroy_write_struct(&png, info != nullptr ? &info : nullptr);
        std::fclose(f);
        return "libpng could not be set up";
    }
    std::vector<png_bytep> rows(img.height);
    for (int y = 0; y < img.height; ++y)
        rows[y] = const_cast<png_bytep>(&img.rgb[size_t(y) * img.width * 3]);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        std::fclose(f);
        return path + ": libpng failed while writing";
    }
    png_init_io(png, f);
    png_set_IHDR(png, info, img.width, img.height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_write_image(png, rows.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    if (std::fclose(f) != 0)
        return path + ": " + ErrnoText();
    return std::string();
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
    Image img;
    ParseSize(opt.size, img.width, img.height);   // checked by the option's validator
    const std::string output = opt.output.empty() ? DefaultPngName(opt.input) : opt.output;
    try {
        GspcReader reader(opt.input);
        const uint64_t count = reader.PointCount();
        Render(reader, MakeView(opt.view), img);
        const std::string error = WritePng(output, img);
        if (!error.empty()) {
            PrintFailure("PNG-Datei konnte nicht geschrieben werden.", error);
            return 1;
        }
        std::printf("points: %llu\n", static_cast<unsigned long long>(count));
        std::printf("output: %s (%dx%d, %s view)\n", output.c_str(), img.width, img.height, opt.view.c_str());
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
    cmd->add_option("--view", opt->view, "Direction of view")
        ->check(CLI::IsMember({"top", "front", "side", "iso"}))
        ->capture_default_str();
    cmd->add_option("--size", opt->size, "Picture size WxH, each 1..4096")
        ->check(CLI::Validator(
            [](std::string& value) {
                int w = 0, h = 0;
                return ParseSize(value, w, h) ? std::string() : "expected WxH with 1..4096 each, got " + value;
            },
            "WxH"))
        ->capture_default_str();
    cmd->callback([opt, &exitStatus] { exitStatus = RunPreview(*opt); });
}
