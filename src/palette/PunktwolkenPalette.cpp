#include "palette/PunktwolkenPalette.h"

#include <cstdio>
#include <stdexcept>
#include <string>
#include <utility>

#include "host/Host.h"
#include "import/DoImport.h"
#include "main/Log.h"
#include "objects/AutoPlaceEntry.h"
#include "objects/DoAdjustDensity.h"
#include "objects/TryDeleteEntry.h"
#include "palette/CollectOurLibParts.h"

namespace {

PunktwolkenPalette::ViewFactory& Factory()
{
    static PunktwolkenPalette::ViewFactory factory;
    return factory;
}

constexpr int16_t kNoReferenceDialog = -32768;   // Show(): no dialog to place it next to

// Palette message codes of the host.
enum PaletteMessage : int32_t {
    ClosePalette = 1,
    HidePaletteBegin = 2,
    HidePaletteEnd = 3,
    DisableItemsBegin = 4,
    DisableItemsEnd = 5,
    OpenPalette = 6,
    IsPaletteVisible = 7,
};

std::string RowText(const PointCloudEntry& entry, int32_t density)
{
    return entry.name + " - " + std::to_string(density) + "%";
}

}  // namespace

PunktwolkenPalette* PunktwolkenPalette::s_instance = nullptr;

void PunktwolkenPalette::SetViewFactory(ViewFactory factory)
{
    Factory() = std::move(factory);
}

PunktwolkenPalette* PunktwolkenPalette::GetInstance()
{
    if (s_instance == nullptr) {
        s_instance = new PunktwolkenPalette();   // a throwing constructor frees the memory
    }
    return s_instance;
}

void PunktwolkenPalette::ResetInstanceForTesting()
{
    delete s_instance;
    s_instance = nullptr;
}

host::ErrCode PunktwolkenPalette::ControlCallback(int32_t /*referenceID*/, int32_t messageID, intptr_t param)
{
    PunktwolkenPalette* palette = s_instance;
    if (palette == nullptr) {
        if (messageID == IsPaletteVisible && param != 0) {
            *reinterpret_cast<bool*>(param) = false;
        }
        return host::NoError;
    }
    PaletteView& view = palette->View();
    switch (messageID) {
    case ClosePalette:
        view.SendCloseRequest();
        break;
    case HidePaletteBegin:
        view.Hide();
        break;
    case HidePaletteEnd:
    case OpenPalette:
        view.Show(kNoReferenceDialog);
        break;
    case DisableItemsBegin:
        view.DisableItems();
        break;
    case DisableItemsEnd:
        view.EnableItems();
        break;
    case IsPaletteVisible:
        if (param != 0) {
            *reinterpret_cast<bool*>(param) = view.IsVisible();
        }
        break;
    default:
        break;
    }
    return host::NoError;
}

PunktwolkenPalette::PunktwolkenPalette()
{
    const ViewFactory& factory = Factory();
    if (!factory) {
        throw std::logic_error("no palette view factory installed");
    }
    m_view = factory(*this);
    if (!m_view) {
        throw std::runtime_error("the palette view could not be created");
    }
    PaletteView& view = *m_view;

    Log("Palette-Konstruktor: Items initialisiert.");

    view.SetEditMin(PaletteItem::ImportDensityEdit, 1);
    view.SetEditMax(PaletteItem::ImportDensityEdit, 100);
    view.SetEditValue(PaletteItem::ImportDensityEdit, importDensity);

    view.SetListTabFieldCount(1);
    view.SetListTabFieldBounds(1, 0, 339);

    view.SetEditMin(PaletteItem::EntryDensityEdit, 1);
    view.SetEditMax(PaletteItem::EntryDensityEdit, 100);
    view.SetEditValue(PaletteItem::EntryDensityEdit, 25);

    view.SetMinClientSize(100, 150);

    // The view forwards panel, button and list events to this object from here on.

    view.DisableItem(PaletteItem::ReimportButton);
    view.DisableItem(PaletteItem::EntryDensityEdit);
    view.DisableItem(PaletteItem::DeleteButton);

    Log("Palette-Konstruktor: rufe BeginEventProcessing...");
    view.BeginEventProcessing();
    Log("Palette-Konstruktor: fertig.");
}

PunktwolkenPalette::~PunktwolkenPalette()
{
    if (m_view) {
        m_view->EndEventProcessing();
    }
}

const PunktwolkenPalette::ItemHandle& PunktwolkenPalette::Item(PaletteItem id) const
{
    if (const ItemHandle* handle = FindItem(id)) {
        return *handle;
    }
    throw std::out_of_range("no such palette item");
}

const PunktwolkenPalette::ItemHandle* PunktwolkenPalette::FindItem(PaletteItem id) const
{
    switch (id) {
    case PaletteItem::Label1: return &label1;
    case PaletteItem::ImportButton: return &importButton;
    case PaletteItem::ImportDensityEdit: return &importDensityEdit;
    case PaletteItem::Label4: return &label4;
    case PaletteItem::DeleteButton: return &deleteButton;
    case PaletteItem::CloudList: return &cloudList;
    case PaletteItem::ReimportButton: return &reimportButton;
    case PaletteItem::EntryDensityEdit: return &entryDensityEdit;
    case PaletteItem::Label9: return &label9;
    }
    return nullptr;
}

void PunktwolkenPalette::Refresh()
{
    entries = CollectOurLibParts(host::CurrentHost().libParts);

    PaletteView& view = *m_view;
    view.DeleteListItem(0);   // 0 = all rows
    for (size_t i = 0; i < entries.size(); ++i) {
        view.AppendListItem();
        view.SetListTabItemText(static_cast<int16_t>(i + 1), 1, RowText(entries[i], entries[i].densityPercent));
    }
    UpdateFooter();
}

void PunktwolkenPalette::UpdateFooter()
{
    PaletteView& view = *m_view;
    const int16_t s = view.GetListSelectedItem(1);
    const int16_t n = static_cast<int16_t>(entries.size());
    if (0 < s && s <= n) {
        view.SetEditValue(PaletteItem::EntryDensityEdit, entries[static_cast<size_t>(s - 1)].densityPercent);
        view.EnableItem(PaletteItem::ReimportButton);
        view.EnableItem(PaletteItem::EntryDensityEdit);
        view.EnableItem(PaletteItem::DeleteButton);
    } else {
        view.DisableItem(PaletteItem::ReimportButton);
        view.DisableItem(PaletteItem::EntryDensityEdit);
        view.DisableItem(PaletteItem::DeleteButton);
    }
}

void PunktwolkenPalette::PanelOpened()
{
    Log("PanelOpened aufgerufen.");
    // Every opening starts at the size of the resource, not at the size the user left.
    PaletteView& view = *m_view;
    view.SetClientSize(view.GetOriginalClientWidth(), view.GetOriginalClientHeight(), 1, false);
    Refresh();
}

void PunktwolkenPalette::PanelResized(int16_t dx, int16_t dy)
{
    PaletteView& view = *m_view;
    view.BeginMoveResizeItems();
    view.MoveItem(PaletteItem::DeleteButton, dx, 0);
    view.ResizeItem(PaletteItem::CloudList, dx, dy);
    view.MoveItem(PaletteItem::ReimportButton, 0, dy);
    view.MoveItem(PaletteItem::EntryDensityEdit, 0, dy);
    view.MoveItem(PaletteItem::Label9, 0, dy);
    view.EndMoveResizeItems();
    // The one column always fills the list.
    view.SetListTabFieldBounds(1, 0, view.GetItemWidth(PaletteItem::CloudList));
}

void PunktwolkenPalette::PanelCloseRequested(bool* accepted)
{
    Log("PanelCloseRequested aufgerufen \xE2\x86\x92 Hide()");
    if (accepted != nullptr) {
        *accepted = false;   // the palette is only ever hidden, never closed
    }
    m_view->Hide();
}

void PunktwolkenPalette::ListBoxSelectionChanged(PaletteItem source)
{
    if (source == PaletteItem::CloudList) {
        UpdateFooter();
    }
}

void PunktwolkenPalette::ButtonClicked(PaletteItem source)
{
    Log("ButtonClicked aufgerufen");
    char line[128];
    std::snprintf(line, sizeof line, "  src=%p  addBtn=%p  relBtn=%p  delBtn=%p",
                  static_cast<const void*>(FindItem(source)), static_cast<const void*>(&importButton),
                  static_cast<const void*>(&reimportButton), static_cast<const void*>(&deleteButton));
    Log(line);

    host::Host& host = host::CurrentHost();
    PaletteView& view = *m_view;

    if (source == PaletteItem::ImportButton) {
        if (importBusy) {
            return;   // a click that arrives while an import runs does nothing
        }
        importBusy = true;
        importDensity = view.GetEditValue(PaletteItem::ImportDensityEdit);
        std::string name;
        try {
            name = DoImport(host, importDensity);
        } catch (...) {
            importBusy = false;
            throw;
        }
        Refresh();
        if (!name.empty()) {
            for (const PointCloudEntry& entry : entries) {
                if (entry.name == name) {
                    AutoPlaceEntry(host, entry);
                    break;
                }
            }
        }
        importBusy = false;
        return;
    }

    const int16_t s = view.GetListSelectedItem(1);
    const int i = s - 1;
    const bool validRow = s > 0 && static_cast<size_t>(i) < entries.size();

    if (source == PaletteItem::ReimportButton && validRow) {
        const int32_t d = view.GetEditValue(PaletteItem::EntryDensityEdit);
        if (!DoAdjustDensity(host, entries[static_cast<size_t>(i)], d)) {
            return;
        }
        // Patch the one row; the catalogue is not re-read, so the selection stays.
        PointCloudEntry& entry = entries[static_cast<size_t>(i)];
        entry.densityPercent = d;
        view.SetListTabItemText(s, 1, RowText(entry, d));
        UpdateFooter();
    } else if (source == PaletteItem::DeleteButton && validRow) {
        if (TryDeleteEntry(host, entries[static_cast<size_t>(i)])) {
            Refresh();
        }
    }
}
