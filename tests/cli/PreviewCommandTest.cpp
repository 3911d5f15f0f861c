// punktwolke preview, run as a separate process; the PNG is decoded with libpng.
#include <gtest/gtest.h>

#include <png.h>

#include <cstdio>
#include <string>
#include <vector>

#include "support/PunktwolkeRun.h"
#include "import/GspcWriter.h"

using pwtest::RunPunktwolke;

namespace {

struct Decoded {
    bool ok = false;
    unsigned width = 0, height = 0;
    std::vector<unsigned char> rgb;
    const unsigned char* At(unsigned x, unsigned y) const { return &rgb[(size_t(y) * width + x) * 3]; }
};

Decoded DecodePng(const std::string& path)
{
    Decoded d;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str()))
        return d;
    image.format = PNG_FORMAT_RGB;
    d.rgb.resize(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, d.rgb.data(), 0, nullptr))
        return d;
    d.ok = true;
    d.width = image.width;
    d.height = image.height;
    return d;
}

struct Pt {
    float x, y, z;
    unsigned char r, g, b;
};

std::string WriteGspc(const std::string& path, const std::vector<Pt>& points)
{
    GspcWriter w;
    EXPECT_TRUE(w.Open(path.c_str()));
    for (const Pt& p : points)
        w.Write(p.x, p.y, p.z, p.r, p.g, p.b);
    EXPECT_TRUE(w.Close());
    return path;
}

size_t CountColour(const Decoded& d, unsigned char r, unsigned char g, unsigned char b)
{
    size_t n = 0;
    for (size_t i = 0; i + 2 < d.rgb.size(); i += 3)
        n += d.rgb[i] == r && d.rgb[i + 1] == g && d.rgb[i + 2] == b;
    return n;
}

}  // namespace

TEST(PreviewCommand, EveryViewWritesAPictureOfTheAskedSize)
{
    const std::string dir = pwtest::ScratchDir("preview_views");
    // Two points share x, y; from the top the higher (red) one hides the green one.
    const std::string honest = WriteGspc(dir + "/honest_data.gspc", {{0, 0, 0, 0, 255, 0},
                                                                     {0, 0, 5, 255, 0, 0},
                                                                     {10, 10, 1, 0, 0, 255},
                                                                     {10, 0, 2, 255, 255, 0}});
    // The same file with one more record far outside the header's bounds.
    const std::string lyingPath = dir + "/lying.gspc";
    {
        std::string bytes = pwtest::Slurp(honest);
        const float far[3] = {1e6f, -1e6f, 1e6f};
        bytes.append(reinterpret_cast<const char*>(far), sizeof far);
        bytes.append("\xff\x00\xff", 3);
        std::FILE* f = std::fopen(lyingPath.c_str(), "wb");
        std::fwrite(bytes.data(), 1, bytes.size(), f);
        std::fclose(f);
    }
    pwtest::RunOptions here;
    here.cwd = dir;
    const auto r = RunPunktwolke({"preview", "honest_data.gspc", "--view", "top", "--size", "64x48", "--colour", "rgb"},
                                 here);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "points: 4\noutput: honest_data.png (64x48, top view)\n");
    const Decoded top = DecodePng(dir + "/honest_data.png");
    ASSERT_TRUE(top.ok);
    EXPECT_EQ(top.width, 64u);
    EXPECT_EQ(top.height, 48u);
    EXPECT_GT(CountColour(top, 255, 0, 0), 0u);
    EXPECT_EQ(CountColour(top, 0, 255, 0), 0u) << "hidden below the red point";

    // The default is the plan with its floor; a point far outside the
    // header's bounds is skipped, not drawn at the edge.
    const auto plan = RunPunktwolke({"preview", lyingPath, "-o", dir + "/plan.png", "--floor", "0", "--cut", "3"});
    EXPECT_EQ(plan.exitCode, 0) << plan.err;
    EXPECT_EQ(plan.out, "points: 5\nfloor: 0.00 m (given), cut at 3.00 m\noutput: " + dir +
                            "/plan.png (1200x900, plan view)\n");
    for (const char* view : {"plan", "section", "top", "front", "side", "iso", "sheet"}) {
        const auto lying = RunPunktwolke({"preview", lyingPath, "--view", view, "-o", dir + "/lying.png", "--size",
                                          "300x200", "--colour", "rgb", "--axis", "x"});
        EXPECT_EQ(lying.exitCode, 0) << view << ": " << lying.err;
        const Decoded d = DecodePng(dir + "/lying.png");
        EXPECT_TRUE(d.ok) << view;
        EXPECT_EQ(d.width, 300u);
        EXPECT_EQ(CountColour(d, 255, 0, 255), 0u) << view;
    }
}

TEST(PreviewCommand, FailuresAndUsage)
{
    const std::string dir = pwtest::ScratchDir("preview_fail");
    const std::string good = WriteGspc(dir + "/good.gspc", {{1, 2, 3, 4, 5, 6}});
    {
        std::FILE* f = std::fopen((dir + "/bad.gspc").c_str(), "wb");
        std::fputs("GSPX and some more bytes to pass 32 of them.....", f);
        std::fclose(f);
    }
    const auto bad = RunPunktwolke({"preview", dir + "/bad.gspc", "-o", dir + "/bad.png"});
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(bad.err.rfind("GSPC-Datei konnte nicht gelesen werden. (", 0), 0u) << bad.err;
    EXPECT_EQ(pwtest::LineCount(bad.err), 1u);

    const auto unwritable = RunPunktwolke({"preview", good, "-o", dir + "/no/such/folder/x.png"});
    EXPECT_EQ(unwritable.exitCode, 1);
    EXPECT_EQ(unwritable.err.rfind("PNG-Datei konnte nicht geschrieben werden. (", 0), 0u) << unwritable.err;

    for (const auto& args : std::vector<std::vector<std::string>>{{"preview"},
                                                                  {"preview", good, "--view", "under"},
                                                                  {"preview", good, "--size", "0x10"},
                                                                  {"preview", good, "--size", "5000x10"},
                                                                  {"preview", good, "--size", "64x48x2"},
                                                                  {"preview", good, "--size", "big"},
                                                                  {"preview", good, "--colour", "sepia"},
                                                                  {"preview", good, "--axis", "z"},
                                                                  {"preview", good, "--cut", "0"},
                                                                  {"preview", good, "--floor", "low"},
                                                                  {"preview", good, "--floor", "nan"},
                                                                  {"preview", good, "--floor", "1e300"},
                                                                  {"preview", good, "--cut", "nan"},
                                                                  {"preview", good, "--view", "section", "--at", "inf"},
                                                                  {"preview", good, "--at", "-nan"}}) {
        EXPECT_EQ(RunPunktwolke(args).exitCode, 2) << args.back();
    }
    const auto nanFloor = RunPunktwolke({"preview", good, "--floor", "nan"});
    EXPECT_NE(nanFloor.err.find("expected a number of metres from -1e+09 to 1e+09, got nan"), std::string::npos)
        << nanFloor.err;
    const auto help = RunPunktwolke({"preview", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.out.find("--view"), std::string::npos);

    // A point file without points still gives a picture: the white background.
    const std::string empty = WriteGspc(dir + "/empty.gspc", {});
    ASSERT_EQ(RunPunktwolke({"preview", empty, "-o", dir + "/empty.png", "--size", "8x8"}).exitCode, 0);
    EXPECT_EQ(CountColour(DecodePng(dir + "/empty.png"), 255, 255, 255), 64u);
}
