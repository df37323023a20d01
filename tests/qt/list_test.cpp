// Lists: rows, selection, columns, and the drawing of rows by their owner.
#include <QClipboard>
#include <QHeaderView>
#include <QHelpEvent>
#include <QToolTip>
#include <QTreeWidget>

#include "tests/qt/window_fixture.h"

namespace brenholt {
namespace {

const Event kChanged{WM_NOTIFY, IDC_SEARCH_LIST, LVN_ITEMCHANGED};

void Fill(ListView& list, char16_t rows) {
    for (const auto& [heading, width] : {std::pair(u"IP Addr", 120), std::pair(u"Project", 150),
                                         std::pair(u"Port", 50), std::pair(u"Search", 70)}) {
        list.InsertColumn(heading, LVCFMT_CENTER, width);
    }
    list.SetExtendedStyle(LVS_EX_FULLROWSELECT);
    for (char16_t row = 0; row < rows; ++row) {
        list.InsertItem(row, std::u16string(u"192.168.0.") + char16_t(u'1' + row), 0);
    }
}

// What is painted of a widget.
class PaintWatch final : public QObject {
 public:
    bool eventFilter(QObject* /*widget*/, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            painted += static_cast<QPaintEvent*>(event)->region();
        }
        return false;
    }
    QRegion painted;
};

QPoint MiddleOf(const QTreeWidget& tree, int row, int column) {
    const QModelIndex index = tree.model()->index(row, column);
    return tree.visualRect(index).center();
}

class List : public testing::Test {
 protected:
    // Runs the dialog with that many rows in its list.
    void Run(char16_t rows, const std::function<void(QWidget&, QTreeWidget&)>& user) {
        Fill(list, rows);
        open.Run([&](QWidget& window) { user(window, *window.findChild<QTreeWidget*>()); });
    }
    OpenDialog open{kSearchTemplate};
    ListView& list = open.window->GetList(IDC_SEARCH_LIST);
};

TEST_F(List, SelectsByKeysAndTellsEachChangeOnce) {
    Run(3, [&](QWidget&, QTreeWidget&) {
        EXPECT_EQ(list.GetSelectedItem(), -1);
        Key(Qt::Key_Tab);
        Key(Qt::Key_Down);
        EXPECT_EQ(list.GetSelectedItem(), 0);
        Key(Qt::Key_Down);
        EXPECT_EQ(list.GetSelectedItem(), 1);
        EXPECT_EQ(open.listener.events, (std::vector<Event>(2, kChanged)));
        Key(Qt::Key_C, Qt::ControlModifier);
        EXPECT_EQ(QApplication::clipboard()->text(), "192.168.0.2");

        list.InsertItem(0, u"first", 0);
        EXPECT_EQ(list.GetSelectedItem(), 2);
        list.DeleteItem(1);
        EXPECT_EQ(list.GetSelectedItem(), 1);
        list.DeleteItem(1);
        EXPECT_EQ(list.GetSelectedItem(), -1);
        EXPECT_EQ(open.listener.events.size(), 2U);

        Key(Qt::Key_Down);
        EXPECT_EQ(list.GetSelectedItem(), 0);
        list.DeleteAllItems();
        EXPECT_EQ(list.GetSelectedItem(), -1);
        Key(Qt::Key_Down);
        EXPECT_EQ(open.listener.events, (std::vector<Event>(3, kChanged)));
        Key(Qt::Key_Delete, Qt::ShiftModifier);
        Key(Qt::Key_Delete);
        EXPECT_EQ(open.listener.events.size(), 4U);
        EXPECT_EQ(open.listener.events.back(), (Event{WM_COMMAND, IDC_SEARCH_DELETE, BN_CLICKED}));
    });
}

TEST_F(List, SelectsByMouseInAnyColumn) {
    Run(3, [&](QWidget&, QTreeWidget& tree) {
        QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, MiddleOf(tree, 2, 2));
        EXPECT_EQ(list.GetSelectedItem(), 2);
        QTest::mouseDClick(tree.viewport(), Qt::LeftButton, {}, MiddleOf(tree, 2, 0));
        EXPECT_EQ(open.listener.events,
                  (std::vector<Event>{kChanged, {WM_NOTIFY, IDC_SEARCH_LIST, NM_DBLCLK}}));
        Key(Qt::Key_Return);
    });
}

TEST_F(List, ShowsWhatItCannotHoldAndWhenItHoldsNothing) {
    Run(20, [&](QWidget&, QTreeWidget& tree) {
        list.SetItemText(0, 1, u"<b>bold</b> and longer than the column that shows it");
        const auto tip = [&tree](int column) {
            const QPoint place = MiddleOf(tree, 0, column);
            QHelpEvent asked(QEvent::ToolTip, place, tree.viewport()->mapToGlobal(place));
            QApplication::sendEvent(tree.viewport(), &asked);
            return QToolTip::text();
        };
        EXPECT_EQ(tip(0), "");
        EXPECT_TRUE(tip(1).contains("&lt;b&gt;bold&lt;/b&gt; and longer than"));
        list.EnsureVisible(19);
        EXPECT_TRUE(tree.viewport()->rect().contains(MiddleOf(tree, 19, 0)));

        list.DeleteAllItems();
        const QImage empty = tree.viewport()->grab().toImage();
        list.SetEmptyText(u"Nothing here.");
        EXPECT_NE(tree.viewport()->grab().toImage(), empty);
    });
}

TEST_F(List, ColumnsFillTheListAndFollowTheUser) {
    Run(1, [&](QWidget& window, QTreeWidget& tree) {
        QHeaderView& header = *tree.header();
        EXPECT_EQ(header.length(), tree.viewport()->width());
        EXPECT_NEAR(list.GetColumnWidth(0) * 50.0, list.GetColumnWidth(2) * 120.0, 120.0);

        const int project = list.GetColumnWidth(1);
        window.resize(window.width() + 60, window.height());
        EXPECT_EQ(list.GetColumnWidth(1), project + 60);

        const auto widen = [&](int column, int by) {
            const QPoint edge(header.sectionPosition(column + 1) - 1, header.height() / 2);
            QTest::mousePress(header.viewport(), Qt::LeftButton, {}, edge);
            QTest::mouseMove(header.viewport(), edge + QPoint(by / 2, 0));
            QTest::mouseMove(header.viewport(), edge + QPoint(by, 0));
            QTest::mouseRelease(header.viewport(), Qt::LeftButton, {}, edge + QPoint(by, 0));
        };
        const int address = list.GetColumnWidth(0);
        widen(0, 20);
        EXPECT_EQ(list.GetColumnWidth(0), address + 20);
        EXPECT_EQ(list.GetColumnWidth(1), project + 40);
        widen(1, 200);
        window.resize(window.width() + 10, window.height());
        EXPECT_EQ(list.GetColumnWidth(1), project + 240);
    });
    // All of it comes back in the next dialog, which may be larger than its screen.
    WindowLayout layout = open.window->GetLayout();
    const WindowLayout unchanged = OpenDialog(kSearchTemplate).window->GetLayout();
    EXPECT_EQ(layout.width, unchanged.width + 70);
    for (const int height : {layout.height, 100'000}) {
        layout.height = height;
        OpenDialog next(kSearchTemplate);
        ListView& restored = next.window->GetList(IDC_SEARCH_LIST);
        Fill(restored, 1);
        next.window->SetLayout(layout);
        next.Run([&](QWidget& window) {
            EXPECT_EQ(window.width(), layout.width);
            EXPECT_LE(window.height(), window.screen()->size().height());
            for (int column = 0; column < 4; ++column) {
                EXPECT_EQ(restored.GetColumnWidth(column), list.GetColumnWidth(column));
            }
        });
    }
}

TEST(OwnedList, ItsOwnerDrawsTheRows) {
    OpenDialog open(kPickerTemplate);
    ListView& list = open.window->GetList(IDC_PICKER_LIST);
    Fill(list, 2);
    list.SetExtendedStyle(0);
    const ImageStrip images{2, 1, 2, {0xFF010203, 0, 0xFFFF0000, 0}};
    const uint32_t colour = 0x00332211;
    std::vector<DRAWITEMSTRUCT> requests;
    open.listener.onDraw = [&](int control, DRAWITEMSTRUCT& request) {
        EXPECT_EQ(control, IDC_PICKER_LIST);
        requests.push_back(request);
        CDC& dc = *request.hDC;
        const RECT& row = request.rcItem;
        EXPECT_EQ(dc.GetTextExtent(u"...") + dc.GetTextExtent(u"ab"), dc.GetTextExtent(u"...ab"));
        dc.SetBkColor(colour);
        dc.ExtTextOutW(row.left + 10, row.top + 3, ETO_OPAQUE | ETO_CLIPPED,
                       {row.left + 10, row.top, row.left + 30, row.bottom},
                       u"\x2588\x2588\x2588\x2588\x2588");
        dc.DrawImage(images, 1, row.left, row.top, ILD_TRANSPARENT);
    };
    open.Run([&](QWidget& window) {
        const auto& tree = *window.findChild<QTreeWidget*>();
        const QPoint frameEnd(tree.viewport()->width() - 1,
                              tree.visualRect(tree.currentIndex()).top());
        QApplication::processEvents();
        PaintWatch watch;
        tree.viewport()->installEventFilter(&watch);
        QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, MiddleOf(tree, 1, 0));
        QApplication::processEvents();
        EXPECT_TRUE(watch.painted.contains(frameEnd)) << "a part of the focus frame is left";
        requests.clear();
        const QImage shown = tree.viewport()->grab().toImage();
        ASSERT_EQ(requests.size(), 2U);
        EXPECT_EQ(requests[0].itemState, 0U);
        EXPECT_EQ(requests[1].itemState, ODS_SELECTED | ODS_FOCUS);
        EXPECT_EQ(requests[1].itemID, 1);
        EXPECT_EQ(requests[1].itemAction, ODA_DRAWENTIRE);
        int width = 0;
        for (int column = 0; column < 4; ++column) {
            width += list.GetColumnWidth(column);
        }
        const RECT& row = requests[0].rcItem;
        EXPECT_EQ(row.right - row.left, width);
        EXPECT_EQ(requests[1].rcItem.top, row.bottom);
        EXPECT_GE(row.bottom - row.top, tree.fontMetrics().height() + 6);

        const QColor windowColour = tree.palette().color(QPalette::Base);
        EXPECT_EQ(shown.pixelColor(0, row.top), QColor(255, 0, 0));
        EXPECT_EQ(shown.pixelColor(1, row.top), windowColour);  // transparent
        EXPECT_EQ(shown.pixelColor(10, row.top), QColor(0x11, 0x22, 0x33));
        EXPECT_EQ(shown.pixelColor(30, row.top + 10), windowColour);  // clipped
    });
}

}  // namespace
}  // namespace brenholt
