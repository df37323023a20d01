// The window backend on Qt 6 Widgets, and its one export.
#include "platform/window/backend.h"

#include <QApplication>
#include <QEvent>
#include <QMessageBox>

#include "platform/qt/gui_session.h"
#include "platform/qt/painter_dc.h"
#include "platform/qt/placement.h"
#include "platform/qt/remote_window.h"
#include "platform/qt/text.h"

namespace brenholt {
namespace {

// Its size, and so its place, is known only when it is about to show.
class MessageBox final : public QMessageBox {
 protected:
    void showEvent(QShowEvent* event) override {
        QMessageBox::showEvent(event);
        PlaceOverOwner(*this);
        if (windowTitle().isEmpty()) {
            setWindowTitle(QApplication::applicationDisplayName());
        }
    }
};

int RunMessageBox(std::u16string_view text, uint32_t flags) {
    MessageBox box;
    box.setAttribute(Qt::WA_QuitOnClose, false);
    box.setLayoutDirection(Qt::LeftToRight);
    box.setTextFormat(Qt::PlainText);
    box.setText(ToLines(text));
    box.setIcon((flags & MB_ICONHAND) != 0          ? QMessageBox::Critical
                : (flags & MB_ICONINFORMATION) != 0 ? QMessageBox::Information
                                                    : QMessageBox::NoIcon);
    const bool cancels = (flags & MB_OKCANCEL) != 0;
    box.setStandardButtons(cancels ? QMessageBox::Ok | QMessageBox::Cancel : QMessageBox::Ok);
    box.setDefaultButton(QMessageBox::Ok);
    const int button = box.exec();
    return !cancels || button == QMessageBox::Ok ? IDOK : IDCANCEL;
}

// Drops what the user does before any window sees it.
class InputStopper final : public QObject {
 public:
    bool eventFilter(QObject* /*receiver*/, QEvent* event) override {
        switch (event->type()) {
            case QEvent::MouseButtonPress:
            case QEvent::MouseButtonRelease:
            case QEvent::MouseButtonDblClick:
            case QEvent::Wheel:
            case QEvent::KeyPress:
            case QEvent::KeyRelease:
            case QEvent::ShortcutOverride:
            case QEvent::TouchBegin:
            case QEvent::TouchUpdate:
            case QEvent::TouchEnd:
            case QEvent::Close:
                return event->spontaneous();
            default:
                return false;
        }
    }
};

class QtBackend final : public WindowBackend {
 public:
    std::unique_ptr<DialogWindow> CreateDialog(const DialogTemplate& dialog,
                                               DialogEvents& events) override {
        return MakeRemoteWindow(dialog, events);
    }

    int ShowMessageBox(std::u16string_view text, uint32_t flags) override {
        const GuiSession session;
        return session ? OnGuiThread([&] { return RunMessageBox(text, flags); }) : IDCANCEL;
    }

    void BeginWaitCursor() override {
        const GuiSession session;
        if (session) {
            OnGuiThread([] {
                QApplication::setOverrideCursor(Qt::WaitCursor);
                // What a window that has just closed uncovered, and the pressed button, are painted
                // before the caller goes to work.
                QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
            });
        }
    }

    void EndWaitCursor() override {
        const GuiSession session;
        if (session) {
            OnGuiThread([] {
                InputStopper stopper;
                qApp->installEventFilter(&stopper);
                QCoreApplication::processEvents();
                QApplication::restoreOverrideCursor();
            });
        }
    }

    COLORREF GetSysColor(int index) const override {
        const GuiSession session;
        return session ? OnGuiThread([&] { return SystemColor(index); }) : 0;
    }
};

}  // namespace
}  // namespace brenholt

extern "C" __attribute__((visibility("default"))) brenholt::WindowBackend* BrenholtWindowBackend(
    uint32_t version) {
    static brenholt::QtBackend backend;
    return version == brenholt::kWindowBackendVersion ? &backend : nullptr;
}
