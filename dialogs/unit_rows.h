// Panels as rows of a list, and the records of those rows.
#ifndef BRENHOLT_DIALOGS_UNIT_ROWS_H
#define BRENHOLT_DIALOGS_UNIT_ROWS_H

#include <cstdint>
#include <list>
#include <string>

#include "discovery/tavrin_unit.h"
#include "platform/window/controls.h"

namespace brenholt {

// The record of one row.
struct UnitRowData {
    int32_t nVersion = 0;  // hundredths; 0 while nothing is known
    int32_t nCpu = kCpuUnknown;
};

// Columns of every list of panels.
enum : int { kColumnIp, kColumnProject, kColumnPort, kColumnSearch };

// Fills a list of a dialog. A row holds copies only, never a pointer to a unit; its record
// is its item data, owned here from Add until the row goes or the object does.
class UnitRows {
 public:
    explicit UnitRows(CListCtrl& list) : m_list(list) {}

    // Adds a column with a heading from the string table, centred.
    void InsertColumn(int headingId, int width);
    // Sets the icon of the rows, and gives it.
    const CImageList& CreateIcon();

    // Adds a row after the last one: icon, address, project and port of `unit`. Gives its index.
    int Add(const CTavrinUnit& unit);
    void Remove(int row);
    // Also drops the records.
    void RemoveAll();
    // As RemoveAll, and drops the icon.
    void Destroy();

    // The row whose address is exactly `ip`, or -1.
    int Find(std::u16string_view ip) const;
    // The selected row, or -1.
    int Selected() const;
    UnitRowData& Data(int row) const;
    std::u16string Text(int row, int column) const {
        return std::u16string(m_list.GetItemText(row, column));
    }

 private:
    CListCtrl& m_list;
    std::list<UnitRowData> m_records;
    CImageList m_imageList;
};

}  // namespace brenholt

#endif
