#include "dialogs/list_ctrl_ex.h"

#include <algorithm>

#include "dialogs/resources.h"
#include "platform/window/shown_text.h"

namespace brenholt {
namespace {

constexpr int kTextMargin = 3;  // left of the text and above it
constexpr int kFitMargin = 4;
constexpr std::u16string_view kEllipsis = u"...";

}  // namespace

void CListCtrlEx::DrawItem(DRAWITEMSTRUCT& request) {
    if (request.itemAction != ODA_DRAWENTIRE && request.itemAction != ODA_SELECT &&
        request.itemAction != ODA_FOCUS) {
        return;
    }
    CDC& dc = *request.hDC;
    if ((request.itemState & ODS_SELECTED) != 0) {
        dc.SetTextColor(GetSysColor(COLOR_HIGHLIGHTTEXT));
        dc.SetBkColor(GetSysColor(COLOR_HIGHLIGHT));
    }
    RECT cell = request.rcItem;
    cell.right = cell.left;
    for (int column = 0; GetColumn(column); ++column) {
        cell.left = cell.right;
        cell.right = cell.left + GetColumnWidth(column);
        DrawCell(request, column, cell);
    }
    dc.SetTextColor(GetSysColor(COLOR_WINDOWTEXT));
    dc.SetBkColor(GetSysColor(COLOR_WINDOW));
    if ((request.itemState & ODS_FOCUS) != 0) {
        dc.DrawFocusRect(request.rcItem);
    }
}

void CListCtrlEx::DrawCell(DRAWITEMSTRUCT& request, int column, RECT cell) const {
    CDC& dc = *request.hDC;
    std::u16string text = ShownOnOneLine(GetItemText(request.itemID, column));
    text.resize(std::min(text.size(), kMaxCellChars));
    dc.SetTextAlign(TA_LEFT | TA_TOP | TA_NOUPDATECP);
    FitText(dc, text, cell.right - cell.left);
    int x = cell.left + kTextMargin;
    if (column == 0 && GetImageList() != nullptr) {
        GetImageList()->Draw(dc, GetItemImage(request.itemID), cell.left, cell.top,
                             ILD_TRANSPARENT);
        x += kUnitImageWidth;
        cell.left += kUnitImageWidth;
        // The focus frame starts to the right of the icon.
        request.rcItem.left = cell.left;
    }
    dc.ExtTextOutW(x, cell.top + kTextMargin, ETO_OPAQUE | ETO_CLIPPED, cell, text);
}

void FitText(CDC& dc, std::u16string& text, int width) {
    // Below the margin the limit wraps to a huge one.
    const unsigned limit = static_cast<unsigned>(width) - kFitMargin;
    const auto extent = [&dc](std::u16string_view part) {
        return static_cast<unsigned>(dc.GetTextExtent(part));
    };
    if (extent(text) <= limit) {
        return;
    }
    const unsigned ellipsis = extent(kEllipsis);
    std::u16string_view shorter = text;
    while (!shorter.empty()) {
        shorter.remove_suffix(1);
        if (extent(shorter) + ellipsis <= limit &&
            shorter.size() + kEllipsis.size() <= kMaxCellChars) {
            text.resize(shorter.size());
            text.append(kEllipsis);
            return;
        }
    }
}

}  // namespace brenholt
