// The add-on's resource files: the palette 32400 that the simulated window
// models must be the one the resource file defines, and every resource the
// code refers to must exist.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "host/sim/SimulatedPaletteView.h"
#include "main/EntryPoints.h"
#include "support/TestSupport.h"

namespace fs = std::filesystem;

namespace {

const fs::path kResources = fs::path(PW_SOURCE_DIR) / "resources";

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
    for (size_t open = body.find('"'); open != std::string::npos; open = body.find('"', open)) {
        const size_t close = body.find('"', open + 1);
        if (close == std::string::npos) {
            break;
        }
        out.push_back(body.substr(open + 1, close - open - 1));
        open = close + 1;
    }
    return out;
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

bool IsInteger(const std::string& word)
{
    return !word.empty() && word.find_first_not_of("-0123456789") == std::string::npos;
}

struct GrcItem {
    std::string type;
    sim::Rect rect;
    std::vector<std::string> strings;
    std::string rest;
};

// Items are the lines "/* [ n] */ Type x y width height ...".
std::vector<GrcItem> DialogItems(const std::string& body)
{
    std::vector<GrcItem> items;
    for (const std::string& line : Lines(body)) {
        const size_t comment = line.find("*/");
        if (comment == std::string::npos) {
            continue;
        }
        std::istringstream in(line.substr(comment + 2));
        GrcItem g;
        int x = 0, y = 0, w = 0, h = 0;
        if (!(in >> g.type >> x >> y >> w >> h)) {
            continue;
        }
        g.rect = sim::Rect{static_cast<int16_t>(x), static_cast<int16_t>(y), static_cast<int16_t>(w),
                           static_cast<int16_t>(h)};
        std::getline(in, g.rest);
        g.strings = QuotedStrings(g.rest);
        items.push_back(g);
    }
    return items;
}

std::string Digits(const std::string& text)
{
    std::string out;
    for (char c : text) {
        if (c >= '0' && c <= '9') {
            out += c;
        }
    }
    return out;
}

TEST(ResourceFiles, PaletteResourceMatchesTheSimulatedWindow)
{
    const std::string grc = pwtest::Slurp(kResources / "RINT" / "Punktwolke.grc");
    ASSERT_FALSE(grc.empty());
    EXPECT_EQ(grc.rfind("\xEF\xBB\xBF", 0), 0u) << "resource files are UTF-8 with a byte order mark";

    // 'GDLG' 32400 Palette | flags ... x y width height "title" {
    const size_t at = grc.find("'GDLG' " + std::to_string(frame::kPaletteResId) + " Palette");
    ASSERT_NE(at, std::string::npos);
    const std::string header = grc.substr(at, grc.find('{', at) - at);
    std::istringstream words(header.substr(0, header.find('"')));
    std::vector<std::string> numbers;
    std::string flags;
    for (std::string word; words >> word;) {
        if (IsInteger(word)) {
            numbers.push_back(word);
        } else {
            flags += word + " ";
        }
    }
    ASSERT_EQ(numbers.size(), 5u) << header;   // resource ID, x, y, width, height
    EXPECT_NE(flags.find("grow"), std::string::npos) << "the palette must be resizable";
    EXPECT_NE(flags.find("close"), std::string::npos) << "the palette has a close box";

    const sim::PaletteLayout& layout = sim::ResourcePaletteLayout();
    EXPECT_EQ(std::stoi(numbers[3]), layout.clientWidth);
    EXPECT_EQ(std::stoi(numbers[4]), layout.clientHeight);

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
    for (const std::string& line : Lines(help)) {
        std::istringstream in(line);
        std::string first;
        if (in >> first && IsInteger(first)) {
            helpItems.push_back(std::stoi(first));
        }
    }
    EXPECT_EQ(helpItems, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(ResourceFiles, StringsAndIconsThatTheCodeUsesExist)
{
    const std::string grc = pwtest::Slurp(kResources / "RINT" / "Punktwolke.grc");
    EXPECT_EQ(QuotedStrings(ResourceBody(grc, "'STR#' " + std::to_string(frame::kStringsResId))).size(), 2u);
    // The menu: its title, then item 1 which the menu handler answers.
    EXPECT_GE(QuotedStrings(ResourceBody(grc, "'STR#' " + std::to_string(frame::kMenuResId))).size(), 2u);
    EXPECT_GE(QuotedStrings(ResourceBody(grc, "'STR#' " + std::to_string(frame::kPromptResId))).size(), 2u);

    // Icons of items 5 and 7: each names a 'GICN' whose image exists.
    const std::vector<GrcItem> items = DialogItems(ResourceBody(grc, "'GDLG' 32400"));
    ASSERT_EQ(items.size(), 9u);
    const std::string fix = pwtest::Slurp(kResources / "RFIX" / "PunktwolkeFix.grc");
    for (size_t i : {4u, 6u}) {
        const std::string iconId = Digits(items[i].rest);
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
