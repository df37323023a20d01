// Drawing on a widget while it is being painted.
#ifndef BRENHOLT_PLATFORM_QT_PAINTER_DC_H
#define BRENHOLT_PLATFORM_QT_PAINTER_DC_H

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QRect>

#include "platform/window/dc.h"

namespace brenholt {

inline QColor ToQColor(COLORREF color) {
    return {static_cast<int>(color & 0xFF), static_cast<int>(color >> 8 & 0xFF),
            static_cast<int>(color >> 16 & 0xFF)};
}

inline COLORREF ToColorRef(const QColor& color) {
    return static_cast<COLORREF>(color.red() | color.green() << 8 | color.blue() << 16);
}

inline QRect ToQRect(const RECT& rect) {
    return {rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
}

// A colour of the desktop, by COLOR_ index; black for an unknown index.
COLORREF SystemColor(int index);

// The whole strip as one image, which is a view: `images` outlives it unchanged.
QImage ToQImage(const ImageStrip& images);

// Text is drawn in the painter's font.
class PainterDc final : public CDC {
 public:
    explicit PainterDc(QPainter& painter) : m_painter(painter) {}

    void SetTextColor(COLORREF color) override { m_text = ToQColor(color); }
    void SetBkColor(COLORREF color) override { m_background = ToQColor(color); }
    void SetTextAlign(uint32_t /*align*/) override {}  // there is one alignment only
    int GetTextExtent(std::u16string_view text) override;
    void ExtTextOutW(int x, int y, uint32_t options, const RECT& rect,
                     std::u16string_view text) override;
    void DrawFocusRect(const RECT& rect) override;
    void DrawImage(const ImageStrip& images, int index, int x, int y, uint32_t style) override;

 private:
    QPainter& m_painter;
    QColor m_text = ToQColor(SystemColor(COLOR_WINDOWTEXT));
    QColor m_background = ToQColor(SystemColor(COLOR_WINDOW));
};

}  // namespace brenholt

#endif
