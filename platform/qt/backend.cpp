// The window backend on Qt 6 Widgets, and its one export.
#include "platform/window/backend.h"

#include <QApplication>
#include <QMessageBox>

#include "platform/qt/application.h"
#include "platform/qt/dialog_window.h"
#include "platform/qt/painter_dc.h"
#include "platform/qt/placement.h"
#include "platform/qt/text.h"

namespace brenholt {
namespace {

// Its size, and so its place, is known only when it is about to show.
class MessageBox final : public QMessageBox {
 protected:
    void showEvent(QShowEvent* event) override {
        QMessageBox::showEvent(event);
        PlaceOverOwner(*this);
    }
};

class QtBackend final : public WindowBackend {
 public:
    std::unique_ptr<DialogWindow> CreateDialog(const DialogTemplate& dialog,
                                               DialogEvents& events) override {
        if (!EnsureApplication()) {
            return nullptr;
        }
        return std::make_unique<QtDialogWindow>(dialog, events);
    }

    int ShowMessageBox(std::u16string_view text, uint32_t flags) override {
        if (!EnsureApplication()) {
            return IDCANCEL;
        }
        MessageBox box;
        box.setAttribute(Qt::WA_QuitOnClose, false);
        box.setWindowTitle(QApplication::applicationDisplayName());
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

    void BeginWaitCursor() override {
        if (EnsureApplication()) {
            QApplication::setOverrideCursor(Qt::WaitCursor);
            // What a window that has just closed uncovered, and the pressed button, are painted
            // before the caller goes to work.
            QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        }
    }

    void EndWaitCursor() override {
        if (EnsureApplication()) {
            QApplication::restoreOverrideCursor();
        }
    }

    COLORREF GetSysColor(int index) const override { return SystemColor(index); }
};

}  // namespace
}  // namespace brenholt

extern "C" __attribute__((visibility("default"))) brenholt::WindowBackend* BrenholtWindowBackend(
    uint32_t version) {
    static brenholt::QtBackend backend;
    return version == brenholt::kWindowBackendVersion ? &backend : nullptr;
}
