#include "platform/qt/dialog_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <algorithm>
#include <cmath>

#include "platform/qt/address_edit.h"
#include "platform/qt/list_view.h"
#include "platform/qt/note_box.h"
#include "platform/qt/painter_dc.h"
#include "platform/qt/placement.h"
#include "platform/qt/text.h"

namespace brenholt {
namespace {

// The measures of the dialog font, in pixels.
struct BaseUnits {
    explicit BaseUnits(const QFont& font)
        : width((QFontMetrics(font).horizontalAdvance(
                     QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz")) /
                     26 +
                 1) /
                2),
          height(qCeil(std::max(QFontMetricsF(font).height(), QFontMetricsF(font).lineSpacing()))) {
    }

    int X(int units) const { return qRound(units * width / 4.0); }
    int Y(int units) const { return qRound(units * height / 8.0); }

    int width;   // of an average character
    int height;  // of a line, so that a box is as many lines high as its template says
};

// The average character's width that column widths are given for.
constexpr double kColumnFontWidth = 6;

// One axis of a control in a window that is `growth` larger than its least size. Its first and last
// pixel come to lie on multiples of `grid`.
void Stretch(int& start, int& end, int growth, bool atStart, bool atEnd, int grid) {
    start += atEnd && !atStart ? growth : 0;
    end += atEnd ? growth : 0;
    start -= start % grid;
    end -= end % grid;
}

// The least distance in pixels that is a whole number of the screen's, on the usual scales. A side
// of a frame that begins between two of the screen's pixels may not be seen.
int PixelGrid(double ratio) {
    for (const int distance : {1, 2, 4}) {
        if (std::abs(distance * ratio - std::round(distance * ratio)) < 0.01) {
            return distance;
        }
    }
    return 1;
}

}  // namespace

QtDialogWindow::QtDialogWindow(const DialogTemplate& dialog, DialogEvents& events)
    : QDialog(nullptr, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                           Qt::WindowCloseButtonHint),
      m_events(events) {
    setAttribute(Qt::WA_QuitOnClose, false);
    // All texts are English.
    setLayoutDirection(Qt::LeftToRight);
    setWindowTitle(ToQString(dialog.title));
    const BaseUnits units(font());
    m_leastSize = QSize(units.X(dialog.cx), units.Y(dialog.cy));
    uint32_t anchors = 0;
    for (const ControlTemplate& control : dialog.controls) {
        const QRect place(
            QPoint(units.X(control.x), units.Y(control.y)),
            QPoint(units.X(control.x + control.cx) - 1, units.Y(control.y + control.cy) - 1));
        QWidget* widget = MakeControl(control, units.width / kColumnFontWidth);
        m_controls.push_back({&control, place, widget});
        anchors |= control.anchors;
    }
    setMinimumSize(m_leastSize);
    if ((anchors & (kAnchorRight | kAnchorBottom)) == 0) {
        setMaximumSize(m_leastSize);
    }
    resize(m_leastSize);
}

// Signals of a control that is being destroyed have no receiver.
QtDialogWindow::~QtDialogWindow() {
    m_running = false;
    for (const Control& control : m_controls) {
        delete control.widget;
    }
}

QWidget* QtDialogWindow::MakeControl(const ControlTemplate& control, double columnScale) {
    const int id = control.id;
    QWidget* widget = nullptr;
    switch (control.kind) {
        case ControlKind::PushButton: {
            auto* button = new QPushButton(ToQString(control.caption));
            button->setDefault((control.style & BS_DEFPUSHBUTTON) != 0);
            connect(button, &QPushButton::clicked, this,
                    [this, id] { Raise(WM_COMMAND, id, BN_CLICKED); });
            widget = button;
            break;
        }
        case ControlKind::EditBox:
            widget = new NoteBox(control);
            break;
        case ControlKind::ListControl:
            m_list = new QtListView(control, columnScale,
                                    {[this, id](uint16_t code) { Raise(WM_NOTIFY, id, code); },
                                     [this, id](DRAWITEMSTRUCT& request) {
                                         if (Listens()) {
                                             m_events.OnDrawItem(id, request);
                                         }
                                     },
                                     [this] {
                                         if (QPushButton* button = FindButton(BS_DELETEKEY)) {
                                             button->click();
                                         }
                                     }});
            widget = m_list;
            break;
        case ControlKind::IpAddress:
            widget =
                new AddressEdit(control, [this, id] { Raise(WM_NOTIFY, id, IPN_FIELDCHANGED); });
            break;
    }
    // In this order: a child takes its place in the tab order when it comes.
    widget->setParent(this);
    widget->setAccessibleName(ToQString(control.caption));
    return widget;
}

int QtDialogWindow::RunModal() {
    if (!m_code) {
        PlaceOverOwner(*this);
        if (!m_controls.empty()) {
            m_controls.front().widget->setFocus();
        }
        m_running = true;
        exec();
        m_running = false;
    }
    return m_code.value_or(IDCANCEL);
}

void QtDialogWindow::EndModal(int code) {
    if (!m_code) {
        m_code = code;
        done(code);
    }
}

WindowLayout QtDialogWindow::GetLayout() const {
    WindowLayout layout{width(), height(), {}};
    if (m_list != nullptr) {
        layout.columns = m_list->GetColumnWidths();
    }
    return layout;
}

void QtDialogWindow::SetLayout(const WindowLayout& layout) {
    resize(QSize(layout.width, layout.height).boundedTo(screen()->availableSize()));
    if (m_list != nullptr) {
        m_list->SetColumnWidths(layout.columns);
    }
}

void QtDialogWindow::SetIcon(const ImageStrip& image) {
    if (QApplication::windowIcon().isNull()) {
        const QPixmap picture = QPixmap::fromImage(ToQImage(image).copy());
        QIcon icon(picture);
        // Larger ones are asked for too, and keep the hard edges of a small picture.
        for (const int times : {2, 3}) {
            icon.addPixmap(picture.scaled(picture.size() * times));
        }
        setWindowIcon(icon);
    }
}

void QtDialogWindow::Raise(uint32_t message, int control, uint16_t code) {
    if (Listens()) {
        m_events.OnEvent(message, control, code);
    }
}

void QtDialogWindow::closeEvent(QCloseEvent* event) {
    Raise(WM_CLOSE, 0, 0);
    event->setAccepted(!Listens());
}

void QtDialogWindow::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Cancel)) {
        Raise(WM_COMMAND, IDCANCEL, BN_CLICKED);
    } else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        const QList<QPushButton*> buttons = findChildren<QPushButton*>();
        const auto found = std::find_if(buttons.begin(), buttons.end(),
                                        [](const QPushButton* each) { return each->isDefault(); });
        if (found != buttons.end()) {
            (*found)->click();
        } else {
            Raise(WM_COMMAND, IDOK, BN_CLICKED);
        }
    } else {
        event->ignore();
    }
}

void QtDialogWindow::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    const QSize growth = size() - m_leastSize;
    const int grid = PixelGrid(devicePixelRatioF());
    for (const Control& control : m_controls) {
        const uint32_t anchors = control.data->anchors;
        int left = control.place.left();
        int top = control.place.top();
        int right = control.place.right();
        int bottom = control.place.bottom();
        Stretch(left, right, growth.width(), (anchors & kAnchorLeft) != 0,
                (anchors & kAnchorRight) != 0, grid);
        Stretch(top, bottom, growth.height(), (anchors & kAnchorTop) != 0,
                (anchors & kAnchorBottom) != 0, grid);
        control.widget->setGeometry(QRect(QPoint(left, top), QPoint(right, bottom)));
    }
}

template <class Widget>
Widget& QtDialogWindow::Find(int control) const {
    const auto found =
        std::find_if(m_controls.begin(), m_controls.end(),
                     [control](const Control& each) { return each.data->id == control; });
    return static_cast<Widget&>(*found->widget);
}

QPushButton* QtDialogWindow::FindButton(uint32_t style) const {
    const auto found =
        std::find_if(m_controls.begin(), m_controls.end(), [style](const Control& each) {
            return each.data->kind == ControlKind::PushButton && (each.data->style & style) != 0;
        });
    return found != m_controls.end() ? static_cast<QPushButton*>(found->widget) : nullptr;
}

void QtDialogWindow::SetText(int control, std::u16string_view text) {
    Find<NoteBox>(control).SetText(text);
}

std::u16string QtDialogWindow::GetText(int control) const {
    return Find<NoteBox>(control).GetText();
}

ListView& QtDialogWindow::GetList(int control) {
    return Find<QtListView>(control);
}

AddressView& QtDialogWindow::GetAddress(int control) {
    return Find<AddressEdit>(control);
}

}  // namespace brenholt
