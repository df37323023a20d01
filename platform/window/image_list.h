// Bitmaps as data, and the images cut from them.
#ifndef BRENHOLT_PLATFORM_WINDOW_IMAGE_LIST_H
#define BRENHOLT_PLATFORM_WINDOW_IMAGE_LIST_H

#include <array>
#include <span>
#include <string_view>

#include "platform/window/dc.h"

namespace brenholt {

// A picture in 16 colours: each row a text of one hexadecimal digit a pixel, all of one length.
struct BitmapData {
    std::array<COLORREF, 16> palette;
    std::span<const std::string_view> rows;
};

class CImageList {
 public:
    // Cuts `bitmap` into images of `width` pixels; pixels of the colour `mask` become transparent.
    void Create(const BitmapData& bitmap, int width, COLORREF mask);
    void DeleteImageList() { m_strip = {}; }

    // ImageList_Draw.
    void Draw(CDC& dc, int index, int x, int y, uint32_t style) const {
        dc.DrawImage(m_strip, index, x, y, style);
    }
    const ImageStrip& GetStrip() const { return m_strip; }

 private:
    ImageStrip m_strip;
};

}  // namespace brenholt

#endif
