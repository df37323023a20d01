// A list of rows and columns.
#ifndef BRENHOLT_PLATFORM_QT_LIST_VIEW_H
#define BRENHOLT_PLATFORM_QT_LIST_VIEW_H

#include <QTreeWidget>
#include <functional>
#include <vector>

#include "platform/window/backend.h"

namespace brenholt {

// A tree without branches: of Qt's views it alone draws whole rows and lets Tab leave.
class QtListView final : public QTreeWidget, public ListView {
 public:
    struct Handlers {
        std::function<void(uint16_t code)> notify;
        std::function<void(DRAWITEMSTRUCT& request)> draw;  // of an owner-drawn list
        std::function<void()> deleteKey;
    };

    // `scale`: pixels for each pixel of a column width.
    QtListView(const ControlTemplate& control, double scale, Handlers handlers);

    void InsertColumn(std::u16string_view heading, int format, int width) override;
    int GetColumnWidth(int column) const override;
    void SetExtendedStyle(uint32_t style) override;
    void SetImageList(const ImageStrip& images) override;
    void SetEmptyText(std::u16string_view text) override;
    void InsertItem(int row, std::u16string_view text, int image) override;
    void SetItemText(int row, int column, std::u16string_view text) override;
    void DeleteItem(int row) override;
    void DeleteAllItems() override;
    int GetSelectedItem() const override;
    void EnsureVisible(int row) override;

    // As WindowLayout has them.
    std::vector<int> GetColumnWidths() const;
    void SetColumnWidths(const std::vector<int>& widths);

 protected:
    void drawRow(QPainter* painter, const QStyleOptionViewItem& option,
                 const QModelIndex& index) const override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool viewportEvent(QEvent* event) override;

 private:
    void FitStretchColumn();

    Handlers m_handlers;
    double m_scale;
    bool m_ownerDrawn;
    int m_stretch;             // column, or -1
    int m_leastStretch = 0;    // width
    bool m_fitting = false;    // a column's width changes, but not by the user
    bool m_userWidth = false;  // the user gave the stretch column a width
    bool m_quiet = false;      // the selection changes, but not by the user
    std::vector<Qt::Alignment> m_alignments;
    std::vector<QIcon> m_icons;
    QString m_emptyText;
};

}  // namespace brenholt

#endif
