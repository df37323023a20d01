// The controls that dialogs handle as objects.
#ifndef BRENHOLT_PLATFORM_WINDOW_CONTROLS_H
#define BRENHOLT_PLATFORM_WINDOW_CONTROLS_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/window/dialog.h"
#include "platform/window/image_list.h"

namespace brenholt {

// A list of rows and columns, both counted from 0, with at most one selected row.
class CListCtrl : public CWnd {
 public:
    // A place in the walk over the selected rows; 0 is none.
    using POSITION = int;

    // Adds a column after the last one; `width` in pixels, see ListView::InsertColumn.
    void InsertColumn(std::u16string_view heading, int format, int width);
    // Whether there is a column of that index.
    bool GetColumn(int column) const { return column < m_nColumns; }
    int GetColumnWidth(int column) const { return m_view->GetColumnWidth(column); }
    void SetExtendedStyle(uint32_t style) { m_view->SetExtendedStyle(style); }
    // The small images; `images` outlives the rows.
    void SetImageList(const CImageList* images);
    const CImageList* GetImageList() const { return m_images; }
    // A sentence that is shown while there are no rows.
    void SetEmptyText(std::u16string_view text) { m_view->SetEmptyText(text); }

    int GetItemCount() const { return static_cast<int>(m_rows.size()); }
    void InsertItem(int row, std::u16string_view text, int image);
    // Written into the selected row, a text raises LVN_ITEMCHANGED. It is shown as ShownOnOneLine.
    void SetItemText(int row, int column, std::u16string_view text);
    // Empty for a column past the last one. Good until the row changes.
    std::u16string_view GetItemText(int row, int column) const;
    int GetItemImage(int row) const { return At(row).image; }
    // A pointer of the dialog's, not owned; null at first.
    void SetItemData(int row, void* data) { m_rows[static_cast<size_t>(row)].data = data; }
    void* GetItemData(int row) const { return At(row).data; }
    // If the row was selected, none is after it.
    void DeleteItem(int row);
    void DeleteAllItems();
    // Scrolls as far as it takes to show the row.
    void EnsureVisible(int row) { m_view->EnsureVisible(row); }

    POSITION GetFirstSelectedItemPosition() const { return m_view->GetSelectedItem() + 1; }
    // The selected row, or -1; moves past it.
    int GetNextSelectedItem(POSITION& position) const;

 private:
    struct Row {
        std::vector<std::u16string> texts;
        int image = 0;
        void* data = nullptr;
    };

    void OnAttach(DialogWindow& window) override;
    const Row& At(int row) const { return m_rows[static_cast<size_t>(row)]; }

    ListView* m_view = nullptr;
    const CImageList* m_images = nullptr;
    int m_nColumns = 0;
    std::vector<Row> m_rows;
};

// An IPv4 address in four fields.
class CIPAddressCtrl : public CWnd {
 public:
    // IPM_SETADDRESS: the address as a number, first field in the top byte.
    void SetAddress(uint32_t address);
    // First field first; blank fields read 0. Gives the number of fields that are not blank.
    int GetAddress(std::array<uint8_t, 4>& fields) const { return m_view->GetAddress(fields); }

 private:
    void OnAttach(DialogWindow& window) override { m_view = &window.GetAddress(m_id); }

    AddressView* m_view = nullptr;
};

}  // namespace brenholt

#endif
