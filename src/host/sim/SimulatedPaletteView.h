#pragma once
// The palette window without a screen: records what the dialog library would
// show (visibility, client size, each item's rectangle, enabled state, text
// and value, the list rows and selection) and plays the user's actions
// (select a row, click a button, type a density, drag the size box, press the
// close box) as the events the dialog library would send.
//
// Behaviour modelled on the dialog library:
// - Events reach the palette only after BeginEventProcessing and only while
//   the palette is visible (a hidden window gets no user input).
// - Show() of a hidden window raises PanelOpened; Hide() raises nothing.
// - SetClientSize and the user's resize keep to the minimum client size and
//   raise PanelResized with the change actually made.
// - SendCloseRequest raises PanelCloseRequested; the window hides itself only
//   when the request is accepted.
// - Integer edits keep their values within their range.
// - Disabled items take no clicks; a list selection is possible only while
//   the list is enabled.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "palette/PaletteView.h"
#include "palette/PunktwolkenPalette.h"

namespace sim {

struct Rect {
    int16_t x = 0, y = 0, width = 0, height = 0;
    bool operator==(const Rect& o) const { return x == o.x && y == o.y && width == o.width && height == o.height; }
};

// One item of palette resource 32400 as the resource defines it.
struct PaletteItemLayout {
    PaletteItem id;
    const char* type;   // resource item type: LeftText, Button, IntEdit, IconButton, SingleSelList
    Rect rect;
    const char* text;   // caption of texts and buttons, "" otherwise
};

// The layout of resources/RINT/Punktwolke.grc, palette 32400.
struct PaletteLayout {
    int16_t clientWidth;
    int16_t clientHeight;
    std::array<PaletteItemLayout, 9> items;
};
const PaletteLayout& ResourcePaletteLayout();

// Width of the list's vertical scroll bar, not part of the list's item width.
constexpr int16_t kListScrollBarWidth = 16;

class SimulatedPaletteView final : public PaletteView {
public:
    explicit SimulatedPaletteView(PunktwolkenPalette& palette);

    // Installs a factory that gives every new palette a simulated view.
    static void InstallFactory();
    // The simulated view of a palette made through that factory.
    static SimulatedPaletteView& Of(PunktwolkenPalette& palette);

    // --- PaletteView -------------------------------------------------------
    void Show(int16_t refItem) override;
    void Hide() override;
    bool IsVisible() const override { return m_visible; }
    void SendCloseRequest() override;
    void EnableItems() override;
    void DisableItems() override;
    void SetMinClientSize(int16_t width, int16_t height) override;
    void SetClientSize(int16_t width, int16_t height, int16_t fixPoint, bool keepOld) override;
    int16_t GetOriginalClientWidth() const override;
    int16_t GetOriginalClientHeight() const override;
    void BeginEventProcessing() override { m_processingEvents = true; }
    void EndEventProcessing() override { m_processingEvents = false; }
    void BeginMoveResizeItems() override { ++m_moveResizeDepth; }
    void EndMoveResizeItems() override { --m_moveResizeDepth; }

    void EnableItem(PaletteItem item) override { MutableState(item).enabled = true; }
    void DisableItem(PaletteItem item) override { MutableState(item).enabled = false; }
    void MoveItem(PaletteItem item, int16_t dx, int16_t dy) override;
    void ResizeItem(PaletteItem item, int16_t dx, int16_t dy) override;
    int16_t GetItemWidth(PaletteItem item) const override;

    void SetEditMin(PaletteItem item, int32_t value) override;
    void SetEditMax(PaletteItem item, int32_t value) override;
    void SetEditValue(PaletteItem item, int32_t value) override;
    int32_t GetEditValue(PaletteItem item) const override { return State(item).value; }

    void SetListTabFieldCount(int16_t count) override;
    void SetListTabFieldBounds(int16_t tabIndex, int16_t begin, int16_t end) override;
    void DeleteListItem(int16_t row) override;
    void AppendListItem() override;
    void SetListTabItemText(int16_t row, int16_t tabIndex, const std::string& text) override;
    int16_t GetListSelectedItem(int16_t startIndex) const override;
    int16_t GetListItemCount() const override { return static_cast<int16_t>(m_rows.size()); }

    // --- The user's actions; each returns false when the window ignores it --
    bool UserSelectRow(int16_t row);                 // 0 deselects
    bool UserClick(PaletteItem item);
    bool UserTypeValue(PaletteItem item, int32_t value);
    bool UserResize(int16_t dx, int16_t dy);
    bool UserCloseBox();

    // --- What is on screen ---------------------------------------------------
    struct ItemState {
        Rect rect;
        bool enabled = true;
        int32_t value = 0, min = INT32_MIN, max = INT32_MAX;   // integer edits
    };
    const ItemState& State(PaletteItem item) const;
    bool ProcessingEvents() const { return m_processingEvents; }
    bool InsideMoveResize() const { return m_moveResizeDepth != 0; }
    int16_t ClientWidth() const { return m_clientWidth; }
    int16_t ClientHeight() const { return m_clientHeight; }
    int16_t MinClientWidth() const { return m_minWidth; }
    int16_t MinClientHeight() const { return m_minHeight; }
    int16_t TabFieldCount() const { return m_tabFieldCount; }
    std::pair<int16_t, int16_t> TabFieldBounds(int16_t tabIndex) const;
    // Tab field 1 of every row, top to bottom.
    std::vector<std::string> RowTexts() const;
    int16_t SelectedRow() const { return m_selected; }

private:
    ItemState& MutableState(PaletteItem item);
    bool AcceptsInput(PaletteItem item) const;
    void ChangeClientSize(int16_t width, int16_t height);

    PunktwolkenPalette& m_palette;
    bool m_visible = false;
    bool m_processingEvents = false;
    int m_moveResizeDepth = 0;
    int16_t m_clientWidth = 0, m_clientHeight = 0;
    int16_t m_minWidth = 0, m_minHeight = 0;
    std::array<ItemState, 9> m_items{};
    int16_t m_tabFieldCount = 0;
    std::vector<std::pair<int16_t, int16_t>> m_tabBounds;
    std::vector<std::vector<std::string>> m_rows;   // per row, per tab field
    int16_t m_selected = 0;
};

}  // namespace sim
