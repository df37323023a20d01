// A window backend that plays the user: each dialog that opens is handed to the next script.
#ifndef BRENHOLT_TESTS_DIALOGS_SCRIPTED_BACKEND_H
#define BRENHOLT_TESTS_DIALOGS_SCRIPTED_BACKEND_H

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/window/backend_loader.h"

namespace brenholt {

using Cells = std::vector<std::u16string>;

class ScriptedList final : public ListView {
 public:
    struct Column {
        std::u16string heading;
        int format;
        int width;
    };

    void InsertColumn(std::u16string_view heading, int format, int width) override;
    int GetColumnWidth(int column) const override;
    void SetExtendedStyle(uint32_t style) override { extendedStyle = style; }
    void SetImageList(const ImageStrip& images) override { icons = images; }
    void SetEmptyText(std::u16string_view text) override { emptyText = text; }
    void InsertItem(int row, std::u16string_view text, int image) override;
    void SetItemText(int row, int column, std::u16string_view text) override;
    void DeleteItem(int row) override;
    void DeleteAllItems() override;
    int GetSelectedItem() const override { return selected; }
    void EnsureVisible(int row) override { shown = row; }

    std::vector<Column> columns;
    std::vector<Cells> rows;
    uint32_t extendedStyle = 0;
    ImageStrip icons;
    std::u16string emptyText;
    int selected = -1;
    int shown = -1;                        // the row last scrolled to
    std::optional<int> rowsUntilNoMemory;  // InsertItem throws when this many more are there
};

class ScriptedAddress final : public AddressView {
 public:
    void SetAddress(const std::array<uint8_t, 4>& address) override { fields = address; }
    int GetAddress(std::array<uint8_t, 4>& address) const override {
        address = fields;
        return 4;
    }

    std::array<uint8_t, 4> fields{};
};

class ScriptedBackend;

class ScriptedWindow final : public DialogWindow {
 public:
    ScriptedWindow(ScriptedBackend& backend, const DialogTemplate& dialog, DialogEvents& events)
        : dialog(dialog), m_backend(backend), m_events(events) {}
    ~ScriptedWindow() override;

    // What the user does.
    void Press(int button) { m_events.OnEvent(WM_COMMAND, button, BN_CLICKED); }
    void Escape() { Press(IDCANCEL); }
    void CloseBox() { m_events.OnEvent(WM_CLOSE, 0, 0); }
    void Select(int row);
    void DoubleClick() { m_events.OnEvent(WM_NOTIFY, ListId(), NM_DBLCLK); }
    void Type(int control, const std::array<uint8_t, 4>& address);
    void Draw(DRAWITEMSTRUCT& request) { m_events.OnDrawItem(ListId(), request); }

    // What the user sees.
    bool IsOpen() const { return !m_code; }
    const std::u16string& Shown(int control) { return texts[control]; }
    const std::vector<Cells>& Rows() { return list.rows; }

    int RunModal() override;
    void EndModal(int code) override;
    WindowLayout GetLayout() const override { return layout; }
    void SetLayout(const WindowLayout& restored) override { layout = restored; }
    void SetIcon(const ImageStrip& image) override { icon = image; }
    void SetText(int control, std::u16string_view text) override { texts[control] = text; }
    std::u16string GetText(int control) const override { return texts.at(control); }
    ListView& GetList(int control) override;
    AddressView& GetAddress(int control) override;

    const DialogTemplate& dialog;
    ScriptedList list;
    ScriptedAddress address;
    std::map<int, std::u16string> texts;
    WindowLayout layout;
    ImageStrip icon;

 private:
    int ListId() const;

    ScriptedBackend& m_backend;
    DialogEvents& m_events;
    std::optional<int> m_code;
};

// Stands in for the real backend as long as it lives.
class ScriptedBackend final : public WindowBackend {
 public:
    using Script = std::function<void(ScriptedWindow&)>;
    struct Box {
        std::u16string text;
        uint32_t flags;
        bool operator==(const Box& other) const {
            return text == other.text && flags == other.flags;
        }
    };

    ScriptedBackend() { SetWindowBackend(this); }
    ~ScriptedBackend() { SetWindowBackend(nullptr); }
    ScriptedBackend(const ScriptedBackend&) = delete;
    ScriptedBackend& operator=(const ScriptedBackend&) = delete;

    // The script of the next dialog that opens; it must end the dialog.
    void Then(Script script) { scripts.push_back(std::move(script)); }
    // The boxes since the last call.
    std::vector<Box> TakeBoxes() { return std::exchange(boxes, {}); }

    std::unique_ptr<DialogWindow> CreateDialog(const DialogTemplate& dialog,
                                               DialogEvents& events) override;
    int ShowMessageBox(std::u16string_view text, uint32_t flags) override;
    void BeginWaitCursor() override { ++waiting; }
    void EndWaitCursor() override { --waiting; }
    // Its index in a system colour's lowest byte.
    COLORREF GetSysColor(int index) const override {
        return 0xC0FF00 + static_cast<COLORREF>(index);
    }

    std::deque<Script> scripts;
    std::deque<int> answers;  // to message boxes; IDOK when there are none left
    std::vector<Box> boxes;
    bool noDisplay = false;
    std::optional<int> rowsUntilNoMemory;
    int waiting = 0;
    int windows = 0;      // open now
    size_t rowsLeft = 0;  // rows that were in lists when their windows went
};

}  // namespace brenholt

#endif
