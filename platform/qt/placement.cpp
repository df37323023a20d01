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
    const QRect screen = owner->screen()->availableGeometry();
    QRect place(QPoint(), window.size());
    place.moveCenter(owner->frameGeometry().center());
    window.move(std::clamp(place.x(), screen.left(),
                           std::max(screen.left(), screen.right() - place.width())),
                std::clamp(place.y(), screen.top(),
                           std::max(screen.top(), screen.bottom() - place.height())));
}

}  // namespace brenholt
