#include "platform/qt/remote_window.h"

#include <map>
#include <optional>

#include "platform/qt/dialog_window.h"
#include "platform/qt/gui_session.h"

namespace brenholt {
namespace {

class RemoteList final : public ListView {
 public:
    explicit RemoteList(ListView& list) : m_list(list) {}

    void InsertColumn(std::u16string_view heading, int format, int width) override {
        OnGuiThread([&] { m_list.InsertColumn(heading, format, width); });
    }
    int GetColumnWidth(int column) const override {
        return OnGuiThread([&] { return m_list.GetColumnWidth(column); });
    }
    void SetExtendedStyle(uint32_t style) override {
        OnGuiThread([&] { m_list.SetExtendedStyle(style); });
    }
    void SetImageList(const ImageStrip& images) override {
        OnGuiThread([&] { m_list.SetImageList(images); });
    }
    void SetEmptyText(std::u16string_view text) override {
        OnGuiThread([&] { m_list.SetEmptyText(text); });
    }
    void InsertItem(int row, std::u16string_view text, int image) override {
        OnGuiThread([&] { m_list.InsertItem(row, text, image); });
    }
    void SetItemText(int row, int column, std::u16string_view text) override {
        OnGuiThread([&] { m_list.SetItemText(row, column, text); });
    }
    void DeleteItem(int row) override {
        OnGuiThread([&] { m_list.DeleteItem(row); });
    }
    void DeleteAllItems() override {
        OnGuiThread([&] { m_list.DeleteAllItems(); });
    }
    int GetSelectedItem() const override {
        return OnGuiThread([&] { return m_list.GetSelectedItem(); });
    }
    void EnsureVisible(int row) override {
        OnGuiThread([&] { m_list.EnsureVisible(row); });
    }

 private:
    ListView& m_list;
};

class RemoteAddress final : public AddressView {
 public:
    explicit RemoteAddress(AddressView& address) : m_address(address) {}

    void SetAddress(const std::array<uint8_t, 4>& fields) override {
        OnGuiThread([&] { m_address.SetAddress(fields); });
    }
    int GetAddress(std::array<uint8_t, 4>& fields) const override {
        return OnGuiThread([&] { return m_address.GetAddress(fields); });
    }

 private:
    AddressView& m_address;
};

class RemoteDc final : public CDC {
 public:
    explicit RemoteDc(CDC& dc) : m_dc(dc) {}

    void SetTextColor(COLORREF color) override {
        OnGuiThread([&] { m_dc.SetTextColor(color); });
    }
    void SetBkColor(COLORREF color) override {
        OnGuiThread([&] { m_dc.SetBkColor(color); });
    }
    void SetTextAlign(uint32_t align) override {
        OnGuiThread([&] { m_dc.SetTextAlign(align); });
    }
    int GetTextExtent(std::u16string_view text) override {
        return OnGuiThread([&] { return m_dc.GetTextExtent(text); });
    }
    void ExtTextOutW(int x, int y, uint32_t options, const RECT& rect,
                     std::u16string_view text) override {
        OnGuiThread([&] { m_dc.ExtTextOutW(x, y, options, rect, text); });
    }
    void DrawFocusRect(const RECT& rect) override {
        OnGuiThread([&] { m_dc.DrawFocusRect(rect); });
    }
    void DrawImage(const ImageStrip& images, int index, int x, int y, uint32_t style) override {
        OnGuiThread([&] { m_dc.DrawImage(images, index, x, y, style); });
    }

 private:
    CDC& m_dc;
};

// The dialog, as the window on the GUI thread sees it.
class RemoteEvents final : public DialogEvents {
 public:
    explicit RemoteEvents(DialogEvents& events) : m_events(events) {}

    void OnEvent(uint32_t message, int control, uint16_t code) noexcept override {
        RunOnCaller([&] { m_events.OnEvent(message, control, code); });
    }
    void OnDrawItem(int control, DRAWITEMSTRUCT& request) noexcept override {
        RemoteDc dc(*request.hDC);
        request.hDC = &dc;
        RunOnCaller([&] { m_events.OnDrawItem(control, request); });
    }

 private:
    DialogEvents& m_events;
};

class RemoteWindow final : public DialogWindow {
 public:
    RemoteWindow(const DialogTemplate& dialog, DialogEvents& events) : m_events(events) {
        if (m_session) {
            OnGuiThread([&] { m_window.emplace(dialog, m_events); });
        }
    }
    ~RemoteWindow() override {
        if (m_session) {
            OnGuiThread([&] { m_window.reset(); });
        }
    }
    bool IsThere() const { return m_window.has_value(); }

    int RunModal() override {
        return OnGuiThread([&] { return m_window->RunModal(); });
    }
    void EndModal(int code) override {
        OnGuiThread([&] { m_window->EndModal(code); });
    }
    WindowLayout GetLayout() const override {
        return OnGuiThread([&] { return m_window->GetLayout(); });
    }
    void SetLayout(const WindowLayout& layout) override {
        OnGuiThread([&] { m_window->SetLayout(layout); });
    }
    void SetIcon(const ImageStrip& image) override {
        OnGuiThread([&] { m_window->SetIcon(image); });
    }
    void SetText(int control, std::u16string_view text) override {
        OnGuiThread([&] { m_window->SetText(control, text); });
    }
    std::u16string GetText(int control) const override {
        return OnGuiThread([&] { return m_window->GetText(control); });
    }
    ListView& GetList(int control) override {
        ListView* list = OnGuiThread([&] { return &m_window->GetList(control); });
        return m_lists.try_emplace(control, *list).first->second;
    }
    AddressView& GetAddress(int control) override {
        AddressView* address = OnGuiThread([&] { return &m_window->GetAddress(control); });
        return m_addresses.try_emplace(control, *address).first->second;
    }

 private:
    GuiSession m_session;
    RemoteEvents m_events;
    std::optional<QtDialogWindow> m_window;
    std::map<int, RemoteList> m_lists;
    std::map<int, RemoteAddress> m_addresses;
};

}  // namespace

std::unique_ptr<DialogWindow> MakeRemoteWindow(const DialogTemplate& dialog, DialogEvents& events) {
    auto window = std::make_unique<RemoteWindow>(dialog, events);
    return window->IsThere() ? std::move(window) : nullptr;
}

}  // namespace brenholt
