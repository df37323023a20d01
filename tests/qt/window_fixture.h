// A user in front of the real backend: its windows, keys and mouse.
#ifndef BRENHOLT_TESTS_QT_WINDOW_FIXTURE_H
#define BRENHOLT_TESTS_QT_WINDOW_FIXTURE_H

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <functional>
#include <memory>
#include <tuple>
#include <vector>

#include "dialogs/resources.h"
#include "platform/window/backend.h"

namespace brenholt {

inline WindowBackend& Backend() {
    static void* object = dlopen(BACKEND_FILE, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    static const auto factory =
        reinterpret_cast<WindowBackendFactory>(dlsym(object, kWindowBackendFactory));
    return *factory(kWindowBackendVersion);
}

using Event = std::tuple<uint32_t, int, uint16_t>;

// What a dialog hears; it ends at OK, Cancel and the close box as a dialog of the framework would.
class Listener : public DialogEvents {
 public:
    void OnEvent(uint32_t message, int control, uint16_t code) noexcept override {
        events.emplace_back(message, control, code);
        if (onEvent) {
            onEvent(message, control);
        }
        const bool ends = message == WM_COMMAND && (control == IDOK || control == IDCANCEL);
        if (window != nullptr && (ends || message == WM_CLOSE)) {
            window->EndModal(message == WM_CLOSE ? kClosed : control);
        }
    }
    void OnDrawItem(int control, DRAWITEMSTRUCT& request) noexcept override {
        if (onDraw) {
            onDraw(control, request);
        }
    }

    static constexpr int kClosed = 77;
    std::vector<Event> events;
    std::function<void(uint32_t message, int control)> onEvent;
    std::function<void(int control, DRAWITEMSTRUCT& request)> onDraw;
    DialogWindow* window = nullptr;
};

// Calls `user`, on the GUI thread, with the window that becomes the modal one and active, once it is
// there.
inline void WhenOpen(std::function<void(QWidget&)> user) {
    QMetaObject::invokeMethod(qApp, [user, before = QApplication::activeModalWidget()] {
        auto* timer = new QTimer(qApp);
        QObject::connect(timer, &QTimer::timeout, timer, [timer, user, before] {
            QWidget* now = QApplication::activeModalWidget();
            if (now != nullptr && now != before && now->isActiveWindow()) {
                timer->stop();
                timer->deleteLater();
                user(*now);
            }
        });
        timer->start(1);
    });
}

// The application of a host that calls on its thread. Kept: see the backend's own.
inline void MakeHost() {
    static int count = 1;
    static char name[] = "host";
    static char* arguments[] = {name, nullptr};
    new QApplication(count, arguments);
}

// A dialog of a template with its listener.
struct OpenDialog {
    explicit OpenDialog(const DialogTemplate& dialog) {
        if (QCoreApplication::instance() == nullptr) {
            MakeHost();
        }
        window = Backend().CreateDialog(dialog, listener);
        listener.window = window.get();
    }
    // Runs the dialog; `user` acts in it, and presses Escape in the end where it is still open.
    int Run(const std::function<void(QWidget&)>& user) {
        WhenOpen([user](QWidget& shown) {
            user(shown);
            if (shown.isVisible()) {
                QTest::keyClick(&shown, Qt::Key_Escape);
            }
        });
        return window->RunModal();
    }
    Listener listener;
    std::unique_ptr<DialogWindow> window;
};

inline void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyClick(QApplication::focusWidget(), key, modifiers);
}

inline void Type(const char* text) {
    for (; *text != '\0'; ++text) {
        QTest::keyClick(QApplication::focusWidget(), *text);
    }
}

inline QPushButton& Button(const QWidget& window, const char* caption) {
    for (QPushButton* button : window.findChildren<QPushButton*>()) {
        if (button->text() == caption) {
            return *button;
        }
    }
    throw std::out_of_range(caption);
}

inline void Click(const QWidget& window, const char* caption) {
    QTest::mouseClick(&Button(window, caption), Qt::LeftButton);
}

}  // namespace brenholt

#endif
