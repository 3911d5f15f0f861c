#include "host/sim/SimulatedPaletteView.h"

#include <algorithm>
#include <stdexcept>

namespace sim {

namespace {

size_t Slot(PaletteItem item)
{
    const int n = static_cast<int>(item);
    if (n < 1 || n > 9) {
        throw std::out_of_range("no such palette item");
    }
    return static_cast<size_t>(n - 1);
}

bool IsEdit(PaletteItem item)
{
    return item == PaletteItem::ImportDensityEdit || item == PaletteItem::EntryDensityEdit;
}

bool IsButton(PaletteItem item)
{
    return item == PaletteItem::ImportButton || item == PaletteItem::DeleteButton ||
           item == PaletteItem::ReimportButton;
}

}  // namespace

const PaletteLayout& ResourcePaletteLayout()
{
    // Keep in step with palette 32400 in resources/RINT/Punktwolke.grc (a test compares them).
    static const PaletteLayout layout{
        372,
        260,
        {{
            {PaletteItem::Label1, "LeftText", {8, 12, 60, 16}, "Neu:"},
            {PaletteItem::ImportButton, "Button", {70, 8, 120, 24}, "E57 importieren..."},
            {PaletteItem::ImportDensityEdit, "IntEdit", {196, 10, 40, 20}, ""},
            {PaletteItem::Label4, "LeftText", {240, 12, 60, 16}, "% Dichte"},
            {PaletteItem::DeleteButton, "IconButton", {342, 8, 22, 22}, ""},
            {PaletteItem::CloudList, "SingleSelList", {8, 40, 356, 182}, ""},
            {PaletteItem::ReimportButton, "IconButton", {8, 230, 22, 22}, ""},
            {PaletteItem::EntryDensityEdit, "IntEdit", {36, 231, 40, 20}, ""},
            {PaletteItem::Label9, "LeftText", {80, 233, 160, 16}, "% Dichte der Auswahl"},
        }},
    };
    return layout;
}

SimulatedPaletteView::SimulatedPaletteView(PunktwolkenPalette& palette)
    : m_palette(palette)
{
    const PaletteLayout& layout = ResourcePaletteLayout();
    m_clientWidth = layout.clientWidth;
    m_clientHeight = layout.clientHeight;
    for (const PaletteItemLayout& item : layout.items) {
        MutableState(item.id).rect = item.rect;
    }
}

void SimulatedPaletteView::InstallFactory()
{
    PunktwolkenPalette::SetViewFactory(
        [](PunktwolkenPalette& palette) -> std::unique_ptr<PaletteView> {
            return std::make_unique<SimulatedPaletteView>(palette);
        });
}

SimulatedPaletteView& SimulatedPaletteView::Of(PunktwolkenPalette& palette)
{
    auto* view = dynamic_cast<SimulatedPaletteView*>(&palette.View());
    if (view == nullptr) {
        throw std::logic_error("the palette has no simulated view");
    }
    return *view;
}

SimulatedPaletteView::ItemState& SimulatedPaletteView::MutableState(PaletteItem item)
{
    return m_items[Slot(item)];
}

const SimulatedPaletteView::ItemState& SimulatedPaletteView::State(PaletteItem item) const
{
    return m_items[Slot(item)];
}

void SimulatedPaletteView::Show(int16_t /*refItem*/)
{
    if (m_visible) {
        return;
    }
    m_visible = true;
    if (m_processingEvents) {
        m_palette.PanelOpened();
    }
}

void SimulatedPaletteView::Hide()
{
    m_visible = false;
}

void SimulatedPaletteView::SendCloseRequest()
{
    bool accepted = true;
    if (m_processingEvents) {
        m_palette.PanelCloseRequested(&accepted);
    }
    if (accepted) {
        m_visible = false;
    }
}

void SimulatedPaletteView::EnableItems()
{
    for (ItemState& item : m_items) {
        item.enabled = true;
    }
}

void SimulatedPaletteView::DisableItems()
{
    for (ItemState& item : m_items) {
        item.enabled = false;
    }
}

void SimulatedPaletteView::SetMinClientSize(int16_t width, int16_t height)
{
    m_minWidth = width;
    m_minHeight = height;
}

void SimulatedPaletteView::ChangeClientSize(int16_t width, int16_t height)
{
    width = std::max(width, m_minWidth);
    height = std::max(height, m_minHeight);
    const auto dx = static_cast<int16_t>(width - m_clientWidth);
    const auto dy = static_cast<int16_t>(height - m_clientHeight);
    m_clientWidth = width;
    m_clientHeight = height;
    if ((dx != 0 || dy != 0) && m_processingEvents) {
        m_palette.PanelResized(dx, dy);
    }
}

void SimulatedPaletteView::SetClientSize(int16_t width, int16_t height, int16_t /*fixPoint*/, bool /*keepOld*/)
{
    ChangeClientSize(width, height);
}

int16_t SimulatedPaletteView::GetOriginalClientWidth() const
{
    return ResourcePaletteLayout().clientWidth;
}

int16_t SimulatedPaletteView::GetOriginalClientHeight() const
{
    return ResourcePaletteLayout().clientHeight;
}

void SimulatedPaletteView::MoveItem(PaletteItem item, int16_t dx, int16_t dy)
{
    Rect& r = MutableState(item).rect;
    r.x = static_cast<int16_t>(r.x + dx);
    r.y = static_cast<int16_t>(r.y + dy);
}

void SimulatedPaletteView::ResizeItem(PaletteItem item, int16_t dx, int16_t dy)
{
    Rect& r = MutableState(item).rect;
    r.width = static_cast<int16_t>(std::max(0, r.width + dx));
    r.height = static_cast<int16_t>(std::max(0, r.height + dy));
}

int16_t SimulatedPaletteView::GetItemWidth(PaletteItem item) const
{
    const int16_t width = State(item).rect.width;
    if (item == PaletteItem::CloudList) {
        return static_cast<int16_t>(std::max(0, width - kListScrollBarWidth));
    }
    return width;
}

void SimulatedPaletteView::SetEditMin(PaletteItem item, int32_t value)
{
    ItemState& s = MutableState(item);
    s.min = value;
    s.value = std::max(s.value, s.min);
}

void SimulatedPaletteView::SetEditMax(PaletteItem item, int32_t value)
{
    ItemState& s = MutableState(item);
    s.max = value;
    s.value = std::min(s.value, s.max);
}

void SimulatedPaletteView::SetEditValue(PaletteItem item, int32_t value)
{
    ItemState& s = MutableState(item);
    s.value = std::clamp(value, s.min, std::max(s.min, s.max));
}

void SimulatedPaletteView::SetListTabFieldCount(int16_t count)
{
    m_tabFieldCount = count;
    m_tabBounds.assign(static_cast<size_t>(std::max<int16_t>(0, count)), {0, 0});
    for (auto& row : m_rows) {
        row.resize(m_tabBounds.size());
    }
}

void SimulatedPaletteView::SetListTabFieldBounds(int16_t tabIndex, int16_t begin, int16_t end)
{
    if (tabIndex >= 1 && static_cast<size_t>(tabIndex) <= m_tabBounds.size()) {
        m_tabBounds[static_cast<size_t>(tabIndex - 1)] = {begin, end};
    }
}

std::pair<int16_t, int16_t> SimulatedPaletteView::TabFieldBounds(int16_t tabIndex) const
{
    if (tabIndex >= 1 && static_cast<size_t>(tabIndex) <= m_tabBounds.size()) {
        return m_tabBounds[static_cast<size_t>(tabIndex - 1)];
    }
    return {0, 0};
}

void SimulatedPaletteView::DeleteListItem(int16_t row)
{
    if (row == 0) {
        m_rows.clear();
        m_selected = 0;
        return;
    }
    if (row < 1 || static_cast<size_t>(row) > m_rows.size()) {
        return;
    }
    m_rows.erase(m_rows.begin() + (row - 1));
    if (m_selected == row) {
        m_selected = 0;
    } else if (m_selected > row) {
        --m_selected;
    }
}

void SimulatedPaletteView::AppendListItem()
{
    m_rows.emplace_back(static_cast<size_t>(std::max<int16_t>(1, m_tabFieldCount)));
}

void SimulatedPaletteView::SetListTabItemText(int16_t row, int16_t tabIndex, const std::string& text)
{
    if (row < 1 || static_cast<size_t>(row) > m_rows.size() || tabIndex < 1) {
        return;
    }
    auto& fields = m_rows[static_cast<size_t>(row - 1)];
    if (static_cast<size_t>(tabIndex) > fields.size()) {
        return;
    }
    fields[static_cast<size_t>(tabIndex - 1)] = text;
}

int16_t SimulatedPaletteView::GetListSelectedItem(int16_t startIndex) const
{
    return m_selected != 0 && m_selected >= startIndex ? m_selected : 0;
}

std::vector<std::string> SimulatedPaletteView::RowTexts() const
{
    std::vector<std::string> texts;
    texts.reserve(m_rows.size());
    for (const auto& row : m_rows) {
        texts.push_back(row.empty() ? std::string() : row.front());
    }
    return texts;
}

bool SimulatedPaletteView::AcceptsInput(PaletteItem item) const
{
    return m_visible && m_processingEvents && State(item).enabled;
}

bool SimulatedPaletteView::UserSelectRow(int16_t row)
{
    if (!AcceptsInput(PaletteItem::CloudList) || row < 0 || static_cast<size_t>(row) > m_rows.size()) {
        return false;
    }
    if (row == m_selected) {
        return true;   // no change, no event
    }
    m_selected = row;
    m_palette.ListBoxSelectionChanged(PaletteItem::CloudList);
    return true;
}

bool SimulatedPaletteView::UserClick(PaletteItem item)
{
    if (!IsButton(item) || !AcceptsInput(item)) {
        return false;
    }
    m_palette.ButtonClicked(item);
    return true;
}

bool SimulatedPaletteView::UserTypeValue(PaletteItem item, int32_t value)
{
    if (!IsEdit(item) || !AcceptsInput(item)) {
        return false;
    }
    SetEditValue(item, value);
    return true;
}

bool SimulatedPaletteView::UserResize(int16_t dx, int16_t dy)
{
    if (!m_visible) {
        return false;
    }
    ChangeClientSize(static_cast<int16_t>(m_clientWidth + dx), static_cast<int16_t>(m_clientHeight + dy));
    return true;
}

bool SimulatedPaletteView::UserCloseBox()
{
    if (!m_visible) {
        return false;
    }
    SendCloseRequest();
    return true;
}

}  // namespace sim
