// A list that draws its own rows.
#ifndef BRENHOLT_DIALOGS_LIST_CTRL_EX_H
#define BRENHOLT_DIALOGS_LIST_CTRL_EX_H

#include <string>

#include "platform/window/controls.h"

namespace brenholt {

// Characters that a cell's text may have when it is drawn.
inline constexpr size_t kMaxCellChars = 254;

// Cell text is drawn from the left, whatever the column's format, and ends in "..." where it is too
// long for the column.
class CListCtrlEx : public CListCtrl {
 public:
    void DrawItem(DRAWITEMSTRUCT& request) override;

 private:
    void DrawCell(DRAWITEMSTRUCT& request, int column, RECT cell) const;
};

// Shortens `text` so that, with "..." appended, it takes no more than `width` less 4 pixels; it
// stays whole if it fits, if not even "..." does, or if `width` is below 4.
void FitText(CDC& dc, std::u16string& text, int width);

}  // namespace brenholt

#endif
