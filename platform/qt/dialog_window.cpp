#include "platform/qt/dialog_window.h"

#include <QCloseEvent>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QPushButton>
#include <algorithm>

#include "platform/qt/address_edit.h"
#include "platform/qt/list_view.h"
#include "platform/qt/note_box.h"
#include "platform/qt/placement.h"
#include "platform/qt/text.h"

namespace brenholt {
namespace {

// The measures of the dialog font, in pixels.
struct BaseUnits {
    explicit BaseUnits(const QFontMetrics& font)
        : width((font.horizontalAdvance(
                     QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz")) /
                     26 +
                 1) /
                2),
          height(font.height()) {}

    int X(int units) const { return qRound(units * width / 4.0); }
    int Y(int units) const { return qRound(units * height / 8.0); }

    int width;  // of an average character
    int height;
};

// The average character's width that column widths are given for.
constexpr double kColumnFontWidth = 6;

// One axis of a control in a window that is `growth` larger than its least size.
void Stretch(int& start, int& end, int growth, bool atStart, bool atEnd) {
    start += atEnd && !atStart ? growth : 0;
    end += atEnd ? growth : 0;
}

}  // namespace

QtDialogWindow::QtDialogWindow(const DialogTemplate& dialog, DialogEvents& events)
    : QDialog(nullptr, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                           Qt::WindowCloseButtonHint),
      m_events(events) {
    setAttribute(Qt::WA_QuitOnClose, false);
    setWindowTitle(ToOneLine(dialog.title));
    const BaseUnits units(fontMetrics());
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

// What a control still tells while it goes has no listener.
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
            widget = new QtListView(control, columnScale,
                                    {[this, id](uint16_t code) { Raise(WM_NOTIFY, id, code); },
                                     [this, id](DRAWITEMSTRUCT& request) {
                                         if (Listens()) {
                                             m_events.OnDrawItem(id, request);
                                         }
                                     }});
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
    for (const Control& control : m_controls) {
        const uint32_t anchors = control.data->anchors;
        int left = control.place.left();
        int top = control.place.top();
        int right = control.place.right();
        int bottom = control.place.bottom();
        Stretch(left, right, growth.width(), (anchors & kAnchorLeft) != 0,
                (anchors & kAnchorRight) != 0);
        Stretch(top, bottom, growth.height(), (anchors & kAnchorTop) != 0,
                (anchors & kAnchorBottom) != 0);
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
