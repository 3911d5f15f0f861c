#pragma once
// What the palette logic needs of its window: the nine dialog items of
// palette resource 32400 and the window itself. The binding implements it
// with the host's dialog library; the simulated host records it.
#include <cstdint>
#include <string>

enum class PaletteItem : int16_t {
    Label1 = 1,            // DG::LeftText
    ImportButton = 2,      // DG::Button
    ImportDensityEdit = 3, // DG::IntEdit
    Label4 = 4,            // DG::LeftText
    DeleteButton = 5,      // DG::IconButton
    CloudList = 6,         // DG::SingleSelListBox
    ReimportButton = 7,    // DG::IconButton
    EntryDensityEdit = 8,  // DG::IntEdit
    Label9 = 9,            // DG::LeftText
};

class PaletteView {
public:
    virtual ~PaletteView() = default;

    // Window.
    virtual void Show(int16_t refItem) = 0;          // DG::ModelessBase::Show (-32768 = no reference)
    virtual void Hide() = 0;
    virtual bool IsVisible() const = 0;
    virtual void SendCloseRequest() = 0;
    virtual void EnableItems() = 0;                  // all items
    virtual void DisableItems() = 0;                 // all items
    virtual void SetMinClientSize(int16_t width, int16_t height) = 0;
    virtual void SetClientSize(int16_t width, int16_t height, int16_t fixPoint, bool keepOld) = 0;
    virtual int16_t GetOriginalClientWidth() const = 0;
    virtual int16_t GetOriginalClientHeight() const = 0;
    virtual void BeginEventProcessing() = 0;
    virtual void EndEventProcessing() = 0;
    virtual void BeginMoveResizeItems() = 0;
    virtual void EndMoveResizeItems() = 0;

    // Items.
    virtual void EnableItem(PaletteItem item) = 0;
    virtual void DisableItem(PaletteItem item) = 0;
    virtual void MoveItem(PaletteItem item, int16_t dx, int16_t dy) = 0;
    virtual void ResizeItem(PaletteItem item, int16_t dx, int16_t dy) = 0;
    virtual int16_t GetItemWidth(PaletteItem item) const = 0;

    // Integer edits (items 3 and 8).
    virtual void SetEditMin(PaletteItem item, int32_t value) = 0;
    virtual void SetEditMax(PaletteItem item, int32_t value) = 0;
    virtual void SetEditValue(PaletteItem item, int32_t value) = 0;
    virtual int32_t GetEditValue(PaletteItem item) const = 0;

    // The list (item 6). Rows are 1-based; DeleteListItem(0) deletes all rows.
    virtual void SetListTabFieldCount(int16_t count) = 0;
    virtual void SetListTabFieldBounds(int16_t tabIndex, int16_t begin, int16_t end) = 0;
    virtual void DeleteListItem(int16_t row) = 0;
    virtual void AppendListItem() = 0;
    virtual void SetListTabItemText(int16_t row, int16_t tabIndex, const std::string& text) = 0;
    virtual int16_t GetListSelectedItem(int16_t startIndex) const = 0;   // 0 when none
    virtual int16_t GetListItemCount() const = 0;
};
