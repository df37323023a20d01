#include "platform/qt/list_view.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QScopedValueRollback>
#include <QStyledItemDelegate>
#include <QToolTip>
#include <algorithm>
#include <utility>

#include "platform/qt/painter_dc.h"
#include "platform/qt/text.h"

namespace brenholt {
namespace {

// Rows have room for text that starts 3 pixels below their upper edge, with as much under it.
class RowHeight final : public QStyledItemDelegate {
 public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        QSize size = QStyledItemDelegate::sizeHint(option, index);
        size.setHeight(std::max(size.height(), option.fontMetrics.height() + 6));
        return size;
    }
};

}  // namespace

QtListView::QtListView(const ControlTemplate& control, double scale, Handlers handlers)
    : m_handlers(std::move(handlers)),
      m_scale(scale),
      m_ownerDrawn((control.style & LVS_OWNERDRAWFIXED) != 0),
      m_stretch(control.stretch) {
    setColumnCount(0);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setItemDelegate(new RowHeight(this));
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setHorizontalScrollMode(ScrollPerPixel);
    // The focus frame of a row that its owner draws is drawn and removed as a whole.
    setAllColumnsShowFocus(m_ownerDrawn);
    header()->setSectionsMovable(false);
    header()->setStretchLastSection(false);
    connect(header(), &QHeaderView::sectionResized, this, [this](int column) {
        if (!m_fitting) {
            m_userWidth = m_userWidth || column == m_stretch;
            FitStretchColumn();
        }
    });
    connect(this, &QTreeWidget::itemSelectionChanged, this, [this] {
        if (!m_quiet) {
            m_handlers.notify(LVN_ITEMCHANGED);
        }
    });
}

void QtListView::InsertColumn(std::u16string_view heading, int format, int width) {
    const QScopedValueRollback fitting(m_fitting, true);
    const int column = columnCount();
    // The first column is aligned to the left whatever its format says: its icons would not line up.
    const bool centred = format == LVCFMT_CENTER && column > 0;
    const Qt::Alignment side = centred ? Qt::AlignHCenter : Qt::AlignLeft | Qt::AlignAbsolute;
    m_alignments.push_back(side | Qt::AlignVCenter);
    setColumnCount(column + 1);
    headerItem()->setText(column, ToQString(heading));
    headerItem()->setTextAlignment(column, m_alignments.back());
    const int pixels = qRound(width * m_scale);
    header()->resizeSection(column, pixels);
    if (column == m_stretch) {
        m_leastStretch = pixels / 2;
    }
    FitStretchColumn();
}

int QtListView::GetColumnWidth(int column) const {
    return columnWidth(column);
}

void QtListView::SetExtendedStyle(uint32_t style) {
    setAllColumnsShowFocus(m_ownerDrawn || (style & LVS_EX_FULLROWSELECT) != 0);
}

void QtListView::SetImageList(const ImageStrip& images) {
    const QImage strip = ToQImage(images);
    m_icons.clear();
    for (int i = 0; i < images.count; ++i) {
        const QRect part(i * images.width, 0, images.width, images.height);
        m_icons.emplace_back(QPixmap::fromImage(strip.copy(part)));
    }
    setIconSize(QSize(images.width, images.height));
}

void QtListView::SetEmptyText(std::u16string_view text) {
    m_emptyText = ToQString(text);
    viewport()->update();
}

void QtListView::InsertItem(int row, std::u16string_view text, int image) {
    auto* item = new QTreeWidgetItem;
    item->setText(0, ToQString(text));
    if (image >= 0 && static_cast<size_t>(image) < m_icons.size()) {
        item->setIcon(0, m_icons[static_cast<size_t>(image)]);
    }
    for (size_t column = 0; column < m_alignments.size(); ++column) {
        item->setTextAlignment(static_cast<int>(column), m_alignments[column]);
    }
    const QScopedValueRollback quiet(m_quiet, true);
    insertTopLevelItem(row, item);
}

void QtListView::SetItemText(int row, int column, std::u16string_view text) {
    if (QTreeWidgetItem* item = topLevelItem(row)) {
        item->setText(column, ToQString(text));
    }
}

void QtListView::DeleteItem(int row) {
    const QScopedValueRollback quiet(m_quiet, true);
    QTreeWidgetItem* item = topLevelItem(row);
    // Qt would hand both to a neighbour.
    if (item != nullptr && (item->isSelected() || item == currentItem())) {
        selectionModel()->clear();
    }
    delete item;
}

void QtListView::DeleteAllItems() {
    const QScopedValueRollback quiet(m_quiet, true);
    clear();
}

int QtListView::GetSelectedItem() const {
    const QList<QTreeWidgetItem*> selected = selectedItems();
    return selected.isEmpty() ? -1 : indexOfTopLevelItem(selected.first());
}

void QtListView::EnsureVisible(int row) {
    scrollToItem(topLevelItem(row));
}

std::vector<int> QtListView::GetColumnWidths() const {
    std::vector<int> widths(m_alignments.size());
    for (size_t i = 0; i < widths.size(); ++i) {
        const int column = static_cast<int>(i);
        widths[i] = column == m_stretch && !m_userWidth ? 0 : columnWidth(column);
    }
    return widths;
}

void QtListView::SetColumnWidths(const std::vector<int>& widths) {
    const QScopedValueRollback fitting(m_fitting, true);
    for (int column = 0; column < std::min(columnCount(), static_cast<int>(widths.size()));
         ++column) {
        if (const int width = widths[static_cast<size_t>(column)]; width > 0) {
            header()->resizeSection(column, width);
            m_userWidth = m_userWidth || column == m_stretch;
        }
    }
}

void QtListView::drawRow(QPainter* painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const {
    if (!m_ownerDrawn) {
        QTreeWidget::drawRow(painter, option, index);
        return;
    }
    PainterDc dc(*painter);
    const int left = -header()->offset();
    DRAWITEMSTRUCT request{
        index.row(),
        ODA_DRAWENTIRE,
        0,
        &dc,
        {left, option.rect.top(), left + header()->length(), option.rect.bottom() + 1}};
    if (selectionModel()->isSelected(index)) {
        request.itemState |= ODS_SELECTED;
    }
    if (hasFocus() && index.row() == currentIndex().row()) {
        request.itemState |= ODS_FOCUS;
    }
    painter->save();
    painter->setFont(option.font);
    painter->fillRect(ToQRect(request.rcItem), ToQColor(SystemColor(COLOR_WINDOW)));
    m_handlers.draw(request);
    painter->restore();
}

void QtListView::keyPressEvent(QKeyEvent* event) {
    const QList<QTreeWidgetItem*> selected = selectedItems();
    const bool steps = event->key() == Qt::Key_Down || event->key() == Qt::Key_Up;
    if (steps && selected.isEmpty() && topLevelItemCount() > 0) {
        // A list that has had no selection yet has a current row all the same, and Qt would start
        // beside it.
        setCurrentItem(currentItem() != nullptr ? currentItem() : topLevelItem(0));
    } else if (event->matches(QKeySequence::Copy)) {
        if (!selected.isEmpty()) {
            QApplication::clipboard()->setText(selected.first()->text(0));
        }
    } else if (event->key() == Qt::Key_Delete && !(event->modifiers() & ~Qt::KeypadModifier)) {
        m_handlers.deleteKey();
    } else {
        QTreeWidget::keyPressEvent(event);
    }
}

void QtListView::mouseDoubleClickEvent(QMouseEvent* event) {
    QTreeWidget::mouseDoubleClickEvent(event);
    if (event->button() == Qt::LeftButton) {
        m_handlers.notify(NM_DBLCLK);
    }
}

void QtListView::paintEvent(QPaintEvent* event) {
    QTreeWidget::paintEvent(event);
    if (topLevelItemCount() == 0) {
        const int margin = fontMetrics().height();
        QPainter painter(viewport());
        painter.drawText(viewport()->rect().adjusted(margin, 0, -margin, 0),
                         Qt::AlignCenter | Qt::TextWordWrap, m_emptyText);
    }
}

bool QtListView::viewportEvent(QEvent* event) {
    if (event->type() != QEvent::ToolTip) {
        return QTreeWidget::viewportEvent(event);
    }
    const auto* help = static_cast<QHelpEvent*>(event);
    const QModelIndex index = indexAt(help->pos());
    const bool cut =
        index.isValid() && sizeHintForIndex(index).width() > columnWidth(index.column());
    // A tool tip may be rich text, and a name from the network never is.
    const QString text = QStringLiteral("<span style='white-space:pre-wrap'>%1</span>")
                             .arg(index.data().toString().toHtmlEscaped());
    QToolTip::showText(help->globalPos(), cut ? text : QString(), viewport(), visualRect(index));
    return true;
}

void QtListView::resizeEvent(QResizeEvent* event) {
    QTreeWidget::resizeEvent(event);
    FitStretchColumn();
}

// The stretch column takes what the others leave, be it somewhat less than it asked for, until the
// user gives it a width.
void QtListView::FitStretchColumn() {
    if (m_stretch < 0 || m_stretch >= columnCount() || m_userWidth) {
        return;
    }
    const QScopedValueRollback fitting(m_fitting, true);
    const int others = header()->length() - columnWidth(m_stretch);
    header()->resizeSection(m_stretch, std::max(m_leastStretch, viewport()->width() - others));
}

}  // namespace brenholt
