#include "host/archicad/PunktwolkenPaletteDG.h"

#include <cstdio>
#include <exception>
#include <memory>
#include <utility>

#include "ACAPinc.h"   // ACAPI_GetOwnResModule, ACAPI_KeepInMemory

#include "host/archicad/ArchicadConversions.h"
#include "host/archicad/ArchicadHost.h"
#include "main/EntryPoints.h"
#include "main/Log.h"

// Dialog library values the portable palette passes as numbers.
static_assert(DG::ModelessBase::First == -32768, "Show(-32768): no reference dialog");
static_assert(DG::Dialog::TopLeft == 1, "SetClientSize fix point 1");
static_assert(DG::ListBox::AllItems == 0, "DeleteItem(0) deletes every row");
static_assert(DG::ListBox::TopItem == 1, "GetSelectedItem(1) starts at the top");

namespace {

// Every event goes to the portable palette; nothing may unwind into the
// dialog library.
template <typename Event>
void Forward(const char* what, Event&& event)
{
    try {
        event();
    } catch (const std::exception& e) {
        char line[256];
        std::snprintf(line, sizeof line, "%s: Ausnahme: %s", what, e.what());
        Log(line);
    } catch (...) {
        char line[128];
        std::snprintf(line, sizeof line, "%s: Ausnahme", what);
        Log(line);
    }
}

}  // namespace

PunktwolkenPaletteDG::PunktwolkenPaletteDG(PunktwolkenPalette& palette)
    : DG::Palette(ACAPI_GetOwnResModule(), frame::kPaletteResId, ACAPI_GetOwnResModule(),
                  archicad::ToGsGuid(frame::PaletteGuid())),
      label1(GetReference(), 1),
      importButton(GetReference(), 2),
      importDensityEdit(GetReference(), 3),
      label4(GetReference(), 4),
      deleteButton(GetReference(), 5),
      cloudList(GetReference(), 6),
      reimportButton(GetReference(), 7),
      entryDensityEdit(GetReference(), 8),
      label9(GetReference(), 9),
      m_palette(palette)
{
    DG::Panel::Attach(static_cast<DG::PanelObserver&>(*this));
    importButton.Attach(static_cast<DG::ButtonItemObserver&>(*this));
    reimportButton.Attach(static_cast<DG::ButtonItemObserver&>(*this));
    deleteButton.Attach(static_cast<DG::ButtonItemObserver&>(*this));
    cloudList.Attach(static_cast<DG::ListBoxObserver&>(*this));
}

PunktwolkenPaletteDG::~PunktwolkenPaletteDG()
{
    EndEventProcessing();   // no-op when the palette logic has ended it already
    cloudList.Detach(static_cast<DG::ListBoxObserver&>(*this));
    DG::Panel::Detach(static_cast<DG::PanelObserver&>(*this));
    importButton.Detach(static_cast<DG::ButtonItemObserver&>(*this));
    reimportButton.Detach(static_cast<DG::ButtonItemObserver&>(*this));
    deleteButton.Detach(static_cast<DG::ButtonItemObserver&>(*this));
}

// --- window ------------------------------------------------------------------

void PunktwolkenPaletteDG::Show(int16_t refItem)
{
    DG::Palette::Show(refItem);
}

void PunktwolkenPaletteDG::Hide()
{
    DG::Palette::Hide();
}

bool PunktwolkenPaletteDG::IsVisible() const
{
    return DG::Palette::IsVisible();
}

void PunktwolkenPaletteDG::SendCloseRequest()
{
    DG::Palette::SendCloseRequest();
}

void PunktwolkenPaletteDG::EnableItems()
{
    DG::Palette::EnableItems();
}

void PunktwolkenPaletteDG::DisableItems()
{
    DG::Palette::DisableItems();
}

void PunktwolkenPaletteDG::SetMinClientSize(int16_t width, int16_t height)
{
    DG::Palette::SetMinClientSize(width, height);
}

void PunktwolkenPaletteDG::SetClientSize(int16_t width, int16_t height, int16_t fixPoint, bool keepOld)
{
    DG::Palette::SetClientSize(width, height, static_cast<DG::Dialog::FixPoint>(fixPoint), keepOld);
}

int16_t PunktwolkenPaletteDG::GetOriginalClientWidth() const
{
    return DG::Palette::GetOriginalClientWidth();
}

int16_t PunktwolkenPaletteDG::GetOriginalClientHeight() const
{
    return DG::Palette::GetOriginalClientHeight();
}

void PunktwolkenPaletteDG::BeginEventProcessing()
{
    DG::Palette::BeginEventProcessing();
    m_processing = true;
}

void PunktwolkenPaletteDG::EndEventProcessing()
{
    if (m_processing) {
        m_processing = false;
        DG::Palette::EndEventProcessing();
    }
}

void PunktwolkenPaletteDG::BeginMoveResizeItems()
{
    DG::Palette::BeginMoveResizeItems();
}

void PunktwolkenPaletteDG::EndMoveResizeItems()
{
    DG::Palette::EndMoveResizeItems();
}

// --- items -------------------------------------------------------------------

DG::Item& PunktwolkenPaletteDG::ItemOf(PaletteItem item)
{
    return const_cast<DG::Item&>(static_cast<const PunktwolkenPaletteDG&>(*this).ItemOf(item));
}

const DG::Item& PunktwolkenPaletteDG::ItemOf(PaletteItem item) const
{
    switch (item) {
    case PaletteItem::Label1: return label1;
    case PaletteItem::ImportButton: return importButton;
    case PaletteItem::ImportDensityEdit: return importDensityEdit;
    case PaletteItem::Label4: return label4;
    case PaletteItem::DeleteButton: return deleteButton;
    case PaletteItem::CloudList: return cloudList;
    case PaletteItem::ReimportButton: return reimportButton;
    case PaletteItem::EntryDensityEdit: return entryDensityEdit;
    case PaletteItem::Label9: return label9;
    }
    return label1;   // not reached: every item is listed above
}

DG::IntEdit* PunktwolkenPaletteDG::EditOf(PaletteItem item)
{
    return const_cast<DG::IntEdit*>(static_cast<const PunktwolkenPaletteDG&>(*this).EditOf(item));
}

const DG::IntEdit* PunktwolkenPaletteDG::EditOf(PaletteItem item) const
{
    switch (item) {
    case PaletteItem::ImportDensityEdit: return &importDensityEdit;
    case PaletteItem::EntryDensityEdit: return &entryDensityEdit;
    default: return nullptr;   // only items 3 and 8 are integer edits
    }
}

void PunktwolkenPaletteDG::EnableItem(PaletteItem item)
{
    ItemOf(item).Enable();
}

void PunktwolkenPaletteDG::DisableItem(PaletteItem item)
{
    ItemOf(item).Disable();
}

void PunktwolkenPaletteDG::MoveItem(PaletteItem item, int16_t dx, int16_t dy)
{
    ItemOf(item).Move(dx, dy);
}

void PunktwolkenPaletteDG::ResizeItem(PaletteItem item, int16_t dx, int16_t dy)
{
    ItemOf(item).Resize(dx, dy);
}

int16_t PunktwolkenPaletteDG::GetItemWidth(PaletteItem item) const
{
    // The list's width for its tab fields is its item width (without scroll
    // bar and frame); any other item answers its own width.
    if (item == PaletteItem::CloudList) {
        return cloudList.GetItemWidth();
    }
    return ItemOf(item).GetWidth();
}

void PunktwolkenPaletteDG::SetEditMin(PaletteItem item, int32_t value)
{
    if (DG::IntEdit* edit = EditOf(item)) {
        edit->SetMin(value);
    }
}

void PunktwolkenPaletteDG::SetEditMax(PaletteItem item, int32_t value)
{
    if (DG::IntEdit* edit = EditOf(item)) {
        edit->SetMax(value);
    }
}

void PunktwolkenPaletteDG::SetEditValue(PaletteItem item, int32_t value)
{
    if (DG::IntEdit* edit = EditOf(item)) {
        edit->SetValue(value);
    }
}

int32_t PunktwolkenPaletteDG::GetEditValue(PaletteItem item) const
{
    const DG::IntEdit* edit = EditOf(item);
    return edit != nullptr ? edit->GetValue() : 0;
}

void PunktwolkenPaletteDG::SetListTabFieldCount(int16_t count)
{
    cloudList.SetTabFieldCount(count);
}

void PunktwolkenPaletteDG::SetListTabFieldBounds(int16_t tabIndex, int16_t begin, int16_t end)
{
    cloudList.SetTabFieldProperties(tabIndex, begin, end, DG::ListBox::Left, DG::ListBox::EndTruncate, false);
}

void PunktwolkenPaletteDG::DeleteListItem(int16_t row)
{
    cloudList.DeleteItem(row);   // 0 (DG::ListBox::AllItems) deletes every row
}

void PunktwolkenPaletteDG::AppendListItem()
{
    cloudList.AppendItem();
}

void PunktwolkenPaletteDG::SetListTabItemText(int16_t row, int16_t tabIndex, const std::string& text)
{
    cloudList.SetTabItemText(row, tabIndex, archicad::ToArchicad(text));
}

int16_t PunktwolkenPaletteDG::GetListSelectedItem(int16_t startIndex) const
{
    return cloudList.GetSelectedItem(startIndex);
}

int16_t PunktwolkenPaletteDG::GetListItemCount() const
{
    return cloudList.GetItemCount();
}

// --- events ------------------------------------------------------------------

void PunktwolkenPaletteDG::PanelOpened(const DG::PanelOpenEvent& /*ev*/)
{
    Forward("PanelOpened", [this] { m_palette.PanelOpened(); });
}

void PunktwolkenPaletteDG::PanelResized(const DG::PanelResizeEvent& ev)
{
    const int16_t dx = ev.GetHorizontalChange();
    const int16_t dy = ev.GetVerticalChange();
    Forward("PanelResized", [this, dx, dy] { m_palette.PanelResized(dx, dy); });
}

void PunktwolkenPaletteDG::PanelCloseRequested(const DG::PanelCloseRequestEvent& /*ev*/, bool* accepted)
{
    Forward("PanelCloseRequested", [this, accepted] { m_palette.PanelCloseRequested(accepted); });
}

void PunktwolkenPaletteDG::ListBoxSelectionChanged(const DG::ListBoxSelectionEvent& ev)
{
    if (ev.GetSource() == &cloudList) {
        Forward("ListBoxSelectionChanged", [this] { m_palette.ListBoxSelectionChanged(PaletteItem::CloudList); });
    }
}

void PunktwolkenPaletteDG::ButtonClicked(const DG::ButtonClickEvent& ev)
{
    const DG::ButtonItem* source = ev.GetSource();
    PaletteItem item;
    if (source == &importButton) {
        item = PaletteItem::ImportButton;
    } else if (source == &reimportButton) {
        item = PaletteItem::ReimportButton;
    } else if (source == &deleteButton) {
        item = PaletteItem::DeleteButton;
    } else {
        return;   // not one of the palette's buttons
    }
    Forward("ButtonClicked", [this, item] { m_palette.ButtonClicked(item); });
}

// --- factory -----------------------------------------------------------------

namespace archicad {

void InstallPaletteViewFactory()
{
    PunktwolkenPalette::SetViewFactory([](PunktwolkenPalette& palette) -> std::unique_ptr<PaletteView> {
        std::unique_ptr<PaletteView> view = std::make_unique<PunktwolkenPaletteDG>(palette);
        // The palette lives to the end of the process: the add-on's code must
        // stay loaded as long as its window exists.
        ACAPI_KeepInMemory(true);
        return view;
    });
}

}  // namespace archicad
