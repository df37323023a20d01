#include "dialogs/unit_rows.h"

#include "dialogs/resources.h"
#include "dialogs/text_format.h"

namespace brenholt {

void UnitRows::InsertColumn(int headingId, int width) {
    m_list.InsertColumn(LoadString(headingId), LVCFMT_CENTER, width);
}

const CImageList& UnitRows::CreateIcon() {
    m_imageList.Create(kUnitBitmap, kUnitImageWidth, kUnitBitmapMask);
    m_list.SetImageList(&m_imageList);
    return m_imageList;
}

int UnitRows::Add(const CTavrinUnit& unit) {
    UnitRowData& record = m_records.emplace_back(UnitRowData{unit.m_nVersion, unit.m_nCpu});
    const int row = m_list.GetItemCount();
    m_list.InsertItem(row, unit.m_strIp, 0);
    m_list.SetItemData(row, &record);
    m_list.SetItemText(row, kColumnProject, unit.m_strProject);
    m_list.SetItemText(row, kColumnPort, FormatNumber(unit.m_nPort));
    return row;
}

void UnitRows::Remove(int row) {
    const UnitRowData* data = &Data(row);
    m_list.DeleteItem(row);
    m_records.remove_if([data](const UnitRowData& record) { return &record == data; });
}

void UnitRows::RemoveAll() {
    m_list.DeleteAllItems();
    m_records.clear();
}

void UnitRows::Destroy() {
    RemoveAll();
    m_imageList.DeleteImageList();
}

int UnitRows::Find(std::u16string_view ip) const {
    for (int row = 0; row < m_list.GetItemCount(); ++row) {
        if (m_list.GetItemText(row, kColumnIp) == ip) {
            return row;
        }
    }
    return -1;
}

int UnitRows::Selected() const {
    CListCtrl::POSITION position = m_list.GetFirstSelectedItemPosition();
    return m_list.GetNextSelectedItem(position);
}

UnitRowData& UnitRows::Data(int row) const {
    return *static_cast<UnitRowData*>(m_list.GetItemData(row));
}

}  // namespace brenholt
