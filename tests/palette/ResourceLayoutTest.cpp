// The add-on's resource files: the palette 32400 that the simulated window
// models must be the one the resource file defines, and every resource the
// code refers to must exist.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "host/sim/SimulatedPaletteView.h"
#include "main/EntryPoints.h"

namespace fs = std::filesystem;

namespace {

const fs::path kResources = fs::path(PW_SOURCE_DIR) / "resources";

std::string ReadText(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

// The body between the braces of the resource that starts with `head`.
std::string ResourceBody(const std::string& text, const std::string& head)
{
    const size_t at = text.find(head);
    if (at == std::string::npos) {
        return std::string();
    }
    const size_t open = text.find('{', at);
    const size_t close = text.find('}', open);
    return text.substr(open + 1, close - open - 1);
}

std::vector<std::string> QuotedStrings(const std::string& body)
{
    std::vector<std::string> out;
    static const std::regex quoted("\"([^\"]*)\"");
    for (auto it = std::sregex_iterator(body.begin(), body.end(), quoted); it != std::sregex_iterator(); ++it) {
        out.push_back((*it)[1]);
    }
    return out;
}

struct GrcItem {
    std::string type;
    sim::Rect rect;
    std::vector<std::string> strings;
    std::string rest;
};

std::vector<GrcItem> DialogItems(const std::string& body)
{
    std::vector<GrcItem> items;
    static const std::regex item(R"(\*/\s*(\w+)\s+(-?\d+)\s+(-?\d+)\s+(\d+)\s+(\d+)([^\n]*))");
    for (auto it = std::sregex_iterator(body.begin(), body.end(), item); it != std::sregex_iterator(); ++it) {
        GrcItem g;
        g.type = (*it)[1];
        g.rect = sim::Rect{static_cast<int16_t>(std::stoi((*it)[2])), static_cast<int16_t>(std::stoi((*it)[3])),
                           static_cast<int16_t>(std::stoi((*it)[4])), static_cast<int16_t>(std::stoi((*it)[5]))};
        g.rest = (*it)[6];
        g.strings = QuotedStrings(g.rest);
        items.push_back(g);
    }
    return items;
}

TEST(ResourceFiles, PaletteResourceMatchesTheSimulatedWindow)
{
    const std::string grc = ReadText(kResources / "RINT" / "Punktwolke.grc");
    ASSERT_FALSE(grc.empty());
    EXPECT_EQ(grc.rfind("\xEF\xBB\xBF", 0), 0u) << "resource files are UTF-8 with a byte order mark";

    std::smatch header;
    static const std::regex gdlg(R"('GDLG'\s+(\d+)\s+Palette([^0-9"]*)(\d+)\s+(\d+)\s+(\d+)\s+(\d+)\s+"[^"]*")");
    ASSERT_TRUE(std::regex_search(grc, header, gdlg));
    EXPECT_EQ(std::stoi(header[1]), kPaletteResId);
    EXPECT_NE(header[2].str().find("grow"), std::string::npos) << "the palette must be resizable";
    EXPECT_NE(header[2].str().find("close"), std::string::npos) << "the palette has a close box";

    const sim::PaletteLayout& layout = sim::ResourcePaletteLayout();
    EXPECT_EQ(std::stoi(header[5]), layout.clientWidth);
    EXPECT_EQ(std::stoi(header[6]), layout.clientHeight);

    const std::vector<GrcItem> items = DialogItems(ResourceBody(grc, "'GDLG' 32400"));
    ASSERT_EQ(items.size(), 9u);
    for (size_t i = 0; i < items.size(); ++i) {
        const sim::PaletteItemLayout& expected = layout.items[i];
        EXPECT_EQ(static_cast<size_t>(expected.id), i + 1);
        EXPECT_EQ(items[i].type, expected.type) << "item " << i + 1;
        EXPECT_EQ(items[i].rect, expected.rect) << "item " << i + 1;
        if (*expected.text != '\0') {
            ASSERT_FALSE(items[i].strings.empty()) << "item " << i + 1;
            EXPECT_EQ(items[i].strings.back(), expected.text) << "item " << i + 1;
        }
        // Every item lies inside the window.
        EXPECT_LE(expected.rect.x + expected.rect.width, layout.clientWidth) << "item " << i + 1;
        EXPECT_LE(expected.rect.y + expected.rect.height, layout.clientHeight) << "item " << i + 1;
    }
    // Both density fields have the range 1..100.
    EXPECT_EQ(items[2].strings, (std::vector<std::string>{"1", "100"}));
    EXPECT_EQ(items[7].strings, (std::vector<std::string>{"1", "100"}));

    // The layout that the resize rules expect: delete button at the right edge,
    // list spanning the width, footer row at the bottom edge.
    const int margin = layout.clientWidth - (items[4].rect.x + items[4].rect.width);
    EXPECT_EQ(items[5].rect.x, margin);
    EXPECT_EQ(items[5].rect.x + items[5].rect.width, items[4].rect.x + items[4].rect.width);
    for (size_t i : {6u, 7u, 8u}) {
        EXPECT_GT(items[i].rect.y, items[5].rect.y + items[5].rect.height) << "footer item " << i + 1;
    }
    for (size_t i : {0u, 1u, 2u, 3u, 4u}) {
        EXPECT_LT(items[i].rect.y + items[i].rect.height, items[5].rect.y) << "top row item " << i + 1;
    }

    // One tooltip per item.
    const std::string help = ResourceBody(grc, "'DLGH' 32400");
    std::vector<int> helpItems;
    static const std::regex helpLine(R"((?:^|\n)\s*(\d+)\s+")");
    for (auto it = std::sregex_iterator(help.begin(), help.end(), helpLine); it != std::sregex_iterator(); ++it) {
        helpItems.push_back(std::stoi((*it)[1]));
    }
    EXPECT_EQ(helpItems, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(ResourceFiles, StringsAndIconsThatTheCodeUsesExist)
{
    const std::string grc = ReadText(kResources / "RINT" / "Punktwolke.grc");
    EXPECT_EQ(QuotedStrings(ResourceBody(grc, "'STR#' " + std::to_string(kStringsResId))).size(), 2u);
    // The menu: its title, then item 1 which the menu handler answers.
    EXPECT_GE(QuotedStrings(ResourceBody(grc, "'STR#' " + std::to_string(kMenuResId))).size(), 2u);
    EXPECT_GE(QuotedStrings(ResourceBody(grc, "'STR#' " + std::to_string(kPromptResId))).size(), 2u);

    // Icons of items 5 and 7: each names a 'GICN' whose image exists.
    const std::vector<GrcItem> items = DialogItems(ResourceBody(grc, "'GDLG' 32400"));
    ASSERT_EQ(items.size(), 9u);
    const std::string fix = ReadText(kResources / "RFIX" / "PunktwolkeFix.grc");
    for (size_t i : {4u, 6u}) {
        const std::string iconId = std::regex_replace(items[i].rest, std::regex(R"(\D+)"), "");
        const std::vector<std::string> image = QuotedStrings(ResourceBody(fix, "'GICN' " + iconId));
        ASSERT_EQ(image.size(), 1u) << "no icon " << iconId;
        bool found = false;
        for (const auto& entry : fs::directory_iterator(kResources / "RFIX" / "Images")) {
            found = found || entry.path().filename().string().rfind(image[0] + "_", 0) == 0 ||
                    entry.path().stem() == image[0];
        }
        EXPECT_TRUE(found) << "no image for icon " << image[0];
    }
}

}  // namespace
