#include "platform/qt/placement.h"

#include <QApplication>
#include <QScreen>
#include <QWidget>
#include <QWindow>
#include <algorithm>

namespace brenholt {

void PlaceOverOwner(QWidget& window) {
    // A modal window is the one in use even while another program is in front.
    const QWidget* modal = QApplication::activeModalWidget();
    const QWidget* owner = modal != nullptr ? modal : QApplication::activeWindow();
    if (owner == nullptr || owner == &window || owner->windowHandle() == nullptr) {
        return;
    }
    window.winId();  // makes the window's handle
    window.windowHandle()->setTransientParent(owner->windowHandle());
    if (window.windowTitle().isEmpty()) {
        window.setWindowTitle(owner->windowTitle());
    }
    if (window.windowIcon().isNull()) {
        window.setWindowIcon(owner->windowIcon());
    }
    const QRect screen = owner->screen()->availableGeometry();
    QRect place(QPoint(), window.size());
    // Not its frame: some window managers report none.
    place.moveCenter(owner->geometry().center());
    window.move(std::clamp(place.x(), screen.left(),
                           std::max(screen.left(), screen.right() - place.width())),
                std::clamp(place.y(), screen.top(),
                           std::max(screen.top(), screen.bottom() - place.height())));
}

}  // namespace brenholt
