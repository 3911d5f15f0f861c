#pragma once
// The add-on's one window: a modeless palette that lists the imported point
// clouds and carries the import, re-import and delete commands.
//
// The logic here is portable. The window itself is a PaletteView (the nine
// items of palette resource 32400), made by a factory that the binding
// installs: on the host it is a dialog-library palette that forwards each of
// its events to the event methods below; in tests and the session driver it
// is the simulated view (src/host/sim/SimulatedPaletteView.h).
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "host/HostTypes.h"
#include "palette/PaletteView.h"
#include "palette/PointCloudEntry.h"

class PunktwolkenPalette {
public:
    // Makes the window of a palette under construction. The palette is passed
    // so that the window can forward its events to it; the factory must not
    // call any of its methods yet.
    using ViewFactory = std::function<std::unique_ptr<PaletteView>(PunktwolkenPalette& palette)>;

    // Installed once by the binding (tests and the session driver install the
    // simulated view). GetInstance needs it when it creates the palette.
    static void SetViewFactory(ViewFactory factory);

    // The one palette: created on the first call, the same object afterwards.
    // If construction throws, the exception passes on and no palette exists.
    static PunktwolkenPalette* GetInstance();

    // The palette if it was ever created, else null; never creates it.
    static PunktwolkenPalette* Existing() { return s_instance; }

    // The host's palette message callback (registered under 'PWDC'). Works on
    // the existing palette only; returns 0 in every case.
    static host::ErrCode ControlCallback(int32_t referenceID, int32_t messageID, intptr_t param);

    // For tests only: destroys the palette so that the next GetInstance
    // builds a new one. The add-on itself never destroys its palette.
    static void ResetInstanceForTesting();

    virtual ~PunktwolkenPalette();
    PunktwolkenPalette(const PunktwolkenPalette&) = delete;
    PunktwolkenPalette& operator=(const PunktwolkenPalette&) = delete;

    // Rebuilds the catalogue from the host's library parts and refills the list.
    void Refresh();
    // Footer items (re-import, entry density, delete) from the current selection.
    void UpdateFooter();

    // Events of the window, forwarded by the view. `source` names the item
    // that raised the event.
    virtual void PanelOpened();
    virtual void PanelResized(int16_t dx, int16_t dy);
    virtual void PanelCloseRequested(bool* accepted);
    virtual void ListBoxSelectionChanged(PaletteItem source);
    virtual void ButtonClicked(PaletteItem source);

    PaletteView& View() { return *m_view; }
    const PaletteView& View() const { return *m_view; }
    const std::vector<PointCloudEntry>& Entries() const { return entries; }
    int32_t ImportDensity() const { return importDensity; }
    bool ImportBusy() const { return importBusy; }

    // The palette's handle on one dialog item. Each item has its own member,
    // so its address identifies the item in the click trace.
    struct ItemHandle {
        PaletteItem id;
    };
    // The handle of an item; its address is stable for the palette's life.
    const ItemHandle& Item(PaletteItem id) const;

private:
    PunktwolkenPalette();
    const ItemHandle* FindItem(PaletteItem id) const;   // null for an unknown item

    static PunktwolkenPalette* s_instance;

    std::unique_ptr<PaletteView> m_view;

    // The nine items of palette 32400, in item order.
    ItemHandle label1{PaletteItem::Label1};
    ItemHandle importButton{PaletteItem::ImportButton};
    ItemHandle importDensityEdit{PaletteItem::ImportDensityEdit};
    ItemHandle label4{PaletteItem::Label4};
    ItemHandle deleteButton{PaletteItem::DeleteButton};
    ItemHandle cloudList{PaletteItem::CloudList};
    ItemHandle reimportButton{PaletteItem::ReimportButton};
    ItemHandle entryDensityEdit{PaletteItem::EntryDensityEdit};
    ItemHandle label9{PaletteItem::Label9};

    std::vector<PointCloudEntry> entries;   // row r of the list shows entry r - 1
    int32_t importDensity = 10;             // density of the last import started
    bool importBusy = false;                // true while an import runs from here
};
