#include "platform/window/controls.h"

#include "platform/window/shown_text.h"

namespace brenholt {

void CListCtrl::OnAttach(DialogWindow& window) {
    m_view = &window.GetList(m_id);
    m_images = nullptr;
    m_nColumns = 0;
    m_rows.clear();
}

void CListCtrl::InsertColumn(std::u16string_view heading, int format, int width) {
    m_view->InsertColumn(heading, format, width);
    ++m_nColumns;
}

void CListCtrl::SetImageList(const CImageList* images) {
    m_images = images;
    m_view->SetImageList(images->GetStrip());
}

void CListCtrl::InsertItem(int row, std::u16string_view text, int image) {
    Row inserted;
    inserted.texts.resize(static_cast<size_t>(m_nColumns));
    inserted.texts.front() = text;
    inserted.image = image;
    m_rows.insert(m_rows.begin() + row, std::move(inserted));
    m_view->InsertItem(row, ShownOnOneLine(text), image);
}

void CListCtrl::SetItemText(int row, int column, std::u16string_view text) {
    m_rows[static_cast<size_t>(row)].texts[static_cast<size_t>(column)] = text;
    m_view->SetItemText(row, column, ShownOnOneLine(text));
    if (m_view->GetSelectedItem() == row) {
        m_parent->SendNotify(m_id, LVN_ITEMCHANGED);
    }
}

std::u16string_view CListCtrl::GetItemText(int row, int column) const {
    return GetColumn(column) ? At(row).texts[static_cast<size_t>(column)] : std::u16string_view();
}

void CListCtrl::DeleteItem(int row) {
    m_rows.erase(m_rows.begin() + row);
    m_view->DeleteItem(row);
}

void CListCtrl::DeleteAllItems() {
    // Rows mean that the control is there: a dialog that could not bind it may still clean up.
    if (!m_rows.empty()) {
        m_rows.clear();
        m_view->DeleteAllItems();
    }
}

int CListCtrl::GetNextSelectedItem(POSITION& position) const {
    const int row = position - 1;
    position = 0;
    return row;
}

void CIPAddressCtrl::SetAddress(uint32_t address) {
    std::array<uint8_t, 4> fields{};
    for (size_t i = 0; i < fields.size(); ++i) {
        fields[i] = static_cast<uint8_t>(address >> (24 - 8 * i));
    }
    m_view->SetAddress(fields);
}

}  // namespace brenholt
