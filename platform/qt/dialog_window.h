// A dialog of a template.
#ifndef BRENHOLT_PLATFORM_QT_DIALOG_WINDOW_H
#define BRENHOLT_PLATFORM_QT_DIALOG_WINDOW_H

#include <QDialog>
#include <QRect>
#include <optional>
#include <vector>

#include "platform/window/backend.h"

class QPushButton;

namespace brenholt {

class QtListView;

class QtDialogWindow final : public QDialog, public DialogWindow {
 public:
    QtDialogWindow(const DialogTemplate& dialog, DialogEvents& events);
    ~QtDialogWindow() override;

    int RunModal() override;
    void EndModal(int code) override;
    WindowLayout GetLayout() const override;
    void SetLayout(const WindowLayout& layout) override;
    void SetIcon(const ImageStrip& image) override;
    void SetText(int control, std::u16string_view text) override;
    std::u16string GetText(int control) const override;
    ListView& GetList(int control) override;
    AddressView& GetAddress(int control) override;

 protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

 private:
    struct Control {
        const ControlTemplate* data;
        QRect place;  // while the window has its least size
        QWidget* widget;
    };

    QWidget* MakeControl(const ControlTemplate& control, double columnScale);
    template <class Widget>
    Widget& Find(int control) const;
    // The button that has `style`, or null.
    QPushButton* FindButton(uint32_t style) const;
    bool Listens() const { return m_running && !m_code; }
    void Raise(uint32_t message, int control, uint16_t code);

    DialogEvents& m_events;
    std::vector<Control> m_controls;
    QtListView* m_list = nullptr;  // the last one, if any
    QSize m_leastSize;
    bool m_running = false;
    std::optional<int> m_code;
};

}  // namespace brenholt

#endif
