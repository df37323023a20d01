#include "platform/window/image_list.h"

namespace brenholt {
namespace {

uint32_t DigitValue(char digit) {
    return static_cast<uint32_t>(digit <= '9' ? digit - '0' : digit - 'A' + 10);
}

// 0x00BBGGRR to opaque 0xAARRGGBB.
uint32_t Opaque(COLORREF color) {
    return 0xFF000000U | (color & 0xFFU) << 16U | (color & 0xFF00U) | (color >> 16U & 0xFFU);
}

}  // namespace

void CImageList::Create(const BitmapData& bitmap, int width, COLORREF mask) {
    m_strip = {};
    m_strip.width = width;
    m_strip.height = static_cast<int>(bitmap.rows.size());
    m_strip.count = static_cast<int>(bitmap.rows.front().size()) / width;
    for (const std::string_view row : bitmap.rows) {
        for (const char digit : row) {
            const COLORREF color = bitmap.palette[DigitValue(digit)];
            m_strip.pixels.push_back(color == mask ? 0 : Opaque(color));
        }
    }
}

}  // namespace brenholt
