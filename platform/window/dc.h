// Drawing, as the rows of an owner-drawn list need it.
#ifndef BRENHOLT_PLATFORM_WINDOW_DC_H
#define BRENHOLT_PLATFORM_WINDOW_DC_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/window/codes.h"

namespace brenholt {

// Images of one size side by side: pixel (x, y) of image i is pixels[y * count * width + i * width
// + x], as 0xAARRGGBB with alpha 0 or 255.
struct ImageStrip {
    int width = 0;
    int height = 0;
    int count = 0;
    std::vector<uint32_t> pixels;
};

// A device context. Coordinates are device-independent pixels, like those of the draw request that
// carries the context and of CListCtrl::GetColumnWidth. Valid during that request.
class CDC {
 public:
    CDC() = default;
    virtual ~CDC() = default;
    CDC(const CDC&) = delete;
    CDC& operator=(const CDC&) = delete;

    virtual void SetTextColor(COLORREF color) = 0;
    virtual void SetBkColor(COLORREF color) = 0;
    // 0, that is TA_LEFT, TA_TOP and TA_NOUPDATECP: the point of ExtTextOutW is the text's upper
    // left.
    virtual void SetTextAlign(uint32_t align) = 0;
    // GetTextExtentPoint32W: width of `text` in the list's font.
    virtual int GetTextExtent(std::u16string_view text) = 0;
    // Draws `text` as one line at (x, y). ETO_OPAQUE fills `rect` with the background colour first,
    // ETO_CLIPPED keeps the text inside it. Plain text: no marks, no mnemonics, no tabs.
    virtual void ExtTextOutW(int x, int y, uint32_t options, const RECT& rect,
                             std::u16string_view text) = 0;
    virtual void DrawFocusRect(const RECT& rect) = 0;
    // ImageList_Draw: image `index` with its upper left at (x, y). With ILD_TRANSPARENT the pixels
    // of alpha 0 leave what is there.
    virtual void DrawImage(const ImageStrip& images, int index, int x, int y, uint32_t style) = 0;
};

// A request to draw one row. The row's rectangle has been filled with COLOR_WINDOW, text and
// background colour are COLOR_WINDOWTEXT and COLOR_WINDOW. The receiver may change rcItem.
struct DRAWITEMSTRUCT {
    int itemID = 0;           // row
    uint32_t itemAction = 0;  // one of ODA_...
    uint32_t itemState = 0;   // bits of ODS_...
    CDC* hDC = nullptr;
    RECT rcItem;  // the row over all columns, scrolled along with them
};

}  // namespace brenholt

#endif
