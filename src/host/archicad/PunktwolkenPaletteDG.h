#pragma once
// The palette window on the host: palette resource 32400 as a dialog-library
// palette. It is the PaletteView of the portable PunktwolkenPalette and hands
// every event of the dialog library on to it.
#include <cstdint>
#include <string>

#include "palette/PunktwolkenPalette.h"

// The kit after the C++ and system headers (see ArchicadAdapters.h).
#include "DGModule.hpp"   // the dialog library: DG::Palette, items, observers

class PunktwolkenPaletteDG final : public DG::Palette,
                                   public DG::PanelObserver,
                                   public DG::ButtonItemObserver,
                                   public DG::ListBoxObserver,
                                   public PaletteView {
public:
    explicit PunktwolkenPaletteDG(PunktwolkenPalette& palette);
    ~PunktwolkenPaletteDG() override;

    PunktwolkenPaletteDG(const PunktwolkenPaletteDG&) = delete;
    PunktwolkenPaletteDG& operator=(const PunktwolkenPaletteDG&) = delete;

    // PaletteView: the window.
    void Show(int16_t refItem) override;
    void Hide() override;
    bool IsVisible() const override;
    void SendCloseRequest() override;
    void EnableItems() override;
    void DisableItems() override;
    void SetMinClientSize(int16_t width, int16_t height) override;
    void SetClientSize(int16_t width, int16_t height, int16_t fixPoint, bool keepOld) override;
    int16_t GetOriginalClientWidth() const override;
    int16_t GetOriginalClientHeight() const override;
    void BeginEventProcessing() override;
    void EndEventProcessing() override;
    void BeginMoveResizeItems() override;
    void EndMoveResizeItems() override;

    // PaletteView: the items.
    void EnableItem(PaletteItem item) override;
    void DisableItem(PaletteItem item) override;
    void MoveItem(PaletteItem item, int16_t dx, int16_t dy) override;
    void ResizeItem(PaletteItem item, int16_t dx, int16_t dy) override;
    int16_t GetItemWidth(PaletteItem item) const override;
    void SetEditMin(PaletteItem item, int32_t value) override;
    void SetEditMax(PaletteItem item, int32_t value) override;
    void SetEditValue(PaletteItem item, int32_t value) override;
    int32_t GetEditValue(PaletteItem item) const override;
    void SetListTabFieldCount(int16_t count) override;
    void SetListTabFieldBounds(int16_t tabIndex, int16_t begin, int16_t end) override;
    void DeleteListItem(int16_t row) override;
    void AppendListItem() override;
    void SetListTabItemText(int16_t row, int16_t tabIndex, const std::string& text) override;
    int16_t GetListSelectedItem(int16_t startIndex) const override;
    int16_t GetListItemCount() const override;

protected:
    // Events of the dialog library.
    void PanelOpened(const DG::PanelOpenEvent& ev) override;
    void PanelResized(const DG::PanelResizeEvent& ev) override;
    void PanelCloseRequested(const DG::PanelCloseRequestEvent& ev, bool* accepted) override;
    void ListBoxSelectionChanged(const DG::ListBoxSelectionEvent& ev) override;
    void ButtonClicked(const DG::ButtonClickEvent& ev) override;

private:
    DG::Item& ItemOf(PaletteItem item);
    const DG::Item& ItemOf(PaletteItem item) const;
    DG::IntEdit* EditOf(PaletteItem item);
    const DG::IntEdit* EditOf(PaletteItem item) const;

    // The nine items of palette resource 32400, in item order.
    DG::LeftText label1;
    DG::Button importButton;
    DG::IntEdit importDensityEdit;
    DG::LeftText label4;
    DG::IconButton deleteButton;
    DG::SingleSelListBox cloudList;
    DG::IconButton reimportButton;
    DG::IntEdit entryDensityEdit;
    DG::LeftText label9;

    PunktwolkenPalette& m_palette;
    bool m_processing = false;   // between BeginEventProcessing and EndEventProcessing
};
