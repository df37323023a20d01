#include "platform/qt/painter_dc.h"

#include <QApplication>
#include <QFontMetrics>
#include <QPalette>
#include <QPen>

#include "platform/qt/text.h"

namespace brenholt {

COLORREF SystemColor(int index) {
    const QPalette palette = QApplication::palette("QAbstractItemView");
    switch (index) {
        case COLOR_WINDOW:
            return ToColorRef(palette.color(QPalette::Active, QPalette::Base));
        case COLOR_WINDOWTEXT:
            return ToColorRef(palette.color(QPalette::Active, QPalette::Text));
        case COLOR_HIGHLIGHT:
            return ToColorRef(palette.color(QPalette::Active, QPalette::Highlight));
        case COLOR_HIGHLIGHTTEXT:
            return ToColorRef(palette.color(QPalette::Active, QPalette::HighlightedText));
        default:
            return 0;
    }
}

QImage ToQImage(const ImageStrip& images) {
    const int width = images.width * images.count;
    return {reinterpret_cast<const uchar*>(images.pixels.data()), width, images.height,
            width * static_cast<qsizetype>(sizeof(uint32_t)), QImage::Format_ARGB32};
}

int PainterDc::GetTextExtent(std::u16string_view text) {
    return m_painter.fontMetrics().horizontalAdvance(ToQString(text));
}

void PainterDc::ExtTextOutW(int x, int y, uint32_t options, const RECT& rect,
                            std::u16string_view text) {
    if ((options & ETO_OPAQUE) != 0) {
        m_painter.fillRect(ToQRect(rect), m_background);
    }
    m_painter.save();
    if ((options & ETO_CLIPPED) != 0) {
        m_painter.setClipRect(ToQRect(rect), Qt::IntersectClip);
    }
    m_painter.setPen(m_text);
    m_painter.drawText(QPoint(x, y + m_painter.fontMetrics().ascent()), ToQString(text));
    m_painter.restore();
}

// Inverted dots, so that they show on any background.
void PainterDc::DrawFocusRect(const RECT& rect) {
    m_painter.save();
    m_painter.setCompositionMode(QPainter::CompositionMode_Difference);
    m_painter.setPen(QPen(Qt::white, 1, Qt::DotLine));
    m_painter.setBrush(Qt::NoBrush);
    m_painter.drawRect(ToQRect(rect).adjusted(0, 0, -1, -1));
    m_painter.restore();
}

void PainterDc::DrawImage(const ImageStrip& images, int index, int x, int y, uint32_t style) {
    if (index < 0 || index >= images.count) {
        return;
    }
    if ((style & ILD_TRANSPARENT) == 0) {
        m_painter.fillRect(x, y, images.width, images.height, m_background);
    }
    m_painter.drawImage(QPoint(x, y), ToQImage(images),
                        QRect(index * images.width, 0, images.width, images.height));
}

}  // namespace brenholt
