// A window backend that plays the user: each dialog that opens is handed to the next script.
#ifndef BRENHOLT_TESTS_DIALOGS_SCRIPTED_BACKEND_H
#define BRENHOLT_TESTS_DIALOGS_SCRIPTED_BACKEND_H

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/window/backend_loader.h"

namespace brenholt {

using Cells = std::vector<std::u16string>;
class ScriptedWindow;

// What the user is going to do, and what has happened to him.
struct ScriptedUser {
    using Script = std::function<void(ScriptedWindow&)>;
    using Box = std::pair<std::u16string, uint32_t>;  // text and flags

    // The script of the next dialog that opens. One that is left open is escaped from.
    void Then(Script script) { scripts.push_back(std::move(script)); }
    // The boxes since the last call.
    std::vector<Box> TakeBoxes() { return std::exchange(boxes, {}); }

    std::deque<Script> scripts;
    std::deque<int> answers;  // to message boxes; IDOK when there are none left
    std::vector<Box> boxes;
    bool noDisplay = false;
    std::optional<int> rowsUntilNoMemory;  // InsertItem throws when this many more are there
    int waiting = 0;
    int windows = 0;      // open now
    size_t rowsLeft = 0;  // rows that were in lists when their windows went
};

class ScriptedList final : public ListView {
 public:
    struct Column {
        std::u16string heading;
        int format;
        int width;
    };

    explicit ScriptedList(ScriptedUser& user) : m_user(user) {}
    void InsertColumn(std::u16string_view heading, int format, int width) override {
        columns.push_back({std::u16string(heading), format, width});
    }
    int GetColumnWidth(int column) const override {
        return columns.at(static_cast<size_t>(column)).width;
    }
    void SetExtendedStyle(uint32_t style) override { extendedStyle = style; }
    void SetImageList(const ImageStrip& /*images*/) override {}
    void SetEmptyText(std::u16string_view text) override { emptyText = text; }
    void InsertItem(int row, std::u16string_view text, int image) override {
        EXPECT_EQ(image, 0);
        if (m_user.rowsUntilNoMemory && (*m_user.rowsUntilNoMemory)-- == 0) {
            throw std::bad_alloc();
        }
        rows.insert(rows.begin() + row, Cells(columns.size()))->at(0) = text;
        selected += selected >= row ? 1 : 0;
    }
    void SetItemText(int row, int column, std::u16string_view text) override {
        rows.at(static_cast<size_t>(row)).at(static_cast<size_t>(column)) = text;
    }
    void DeleteItem(int row) override {
        rows.erase(rows.begin() + row);
        selected = selected == row ? -1 : selected > row ? selected - 1 : selected;
    }
    void DeleteAllItems() override {
        rows.clear();
        selected = -1;
    }
    int GetSelectedItem() const override { return selected; }
    void EnsureVisible(int row) override { shown = row; }

    std::vector<Column> columns;
    std::vector<Cells> rows;
    uint32_t extendedStyle = 0;
    std::u16string emptyText;
    int selected = -1;
    int shown = -1;  // the row last scrolled to

 private:
    ScriptedUser& m_user;
};

struct ScriptedAddress final : public AddressView {
    void SetAddress(const std::array<uint8_t, 4>& address) override { fields = address; }
    int GetAddress(std::array<uint8_t, 4>& address) const override {
        address = fields;
        return 4;
    }
    std::array<uint8_t, 4> fields{};
};

class ScriptedWindow final : public DialogWindow {
 public:
    ScriptedWindow(ScriptedUser& user, const DialogTemplate& dialog, DialogEvents& events)
        : list(user), m_user(user), m_dialog(dialog), m_events(events) {
        ++m_user.windows;
    }
    ~ScriptedWindow() override {
        m_user.rowsLeft += list.rows.size();
        --m_user.windows;
    }

    // What the user does.
    void Press(int button) { m_events.OnEvent(WM_COMMAND, button, BN_CLICKED); }
    void CloseBox() { m_events.OnEvent(WM_CLOSE, 0, 0); }
    void Select(int row) {
        list.selected = row;
        m_events.OnEvent(WM_NOTIFY, ListId(), LVN_ITEMCHANGED);
    }
    void DoubleClick() { m_events.OnEvent(WM_NOTIFY, ListId(), NM_DBLCLK); }
    void Type(int control, const std::array<uint8_t, 4>& typed) {
        address.fields = typed;
        m_events.OnEvent(WM_NOTIFY, control, IPN_FIELDCHANGED);
    }
    void Draw(DRAWITEMSTRUCT& request) { m_events.OnDrawItem(ListId(), request); }

    // What the user sees.
    bool IsOpen() const { return !m_code; }
    const std::u16string& Shown(int control) { return texts[control]; }
    const std::vector<Cells>& Rows() { return list.rows; }

    int RunModal() override {
        if (m_user.scripts.empty()) {
            ADD_FAILURE() << "a dialog that nobody expected";
            return IDCANCEL;
        }
        const auto script = std::move(m_user.scripts.front());
        m_user.scripts.pop_front();
        script(*this);
        if (IsOpen()) {
            Press(IDCANCEL);
        }
        return m_code.value();
    }
    void EndModal(int code) override { m_code = m_code.value_or(code); }
    WindowLayout GetLayout() const override { return layout; }
    void SetLayout(const WindowLayout& restored) override { layout = restored; }
    void SetIcon(const ImageStrip& image) override { icon = image; }
    void SetText(int control, std::u16string_view text) override { texts[control] = text; }
    std::u16string GetText(int control) const override { return texts.at(control); }
    ListView& GetList(int control) override {
        EXPECT_EQ(control, ListId());
        return list;
    }
    AddressView& GetAddress(int /*control*/) override { return address; }

    ScriptedList list;
    ScriptedAddress address;
    std::map<int, std::u16string> texts;
    WindowLayout layout;
    ImageStrip icon;

 private:
    int ListId() const {
        const auto isList = [](const auto& c) { return c.kind == ControlKind::ListControl; };
        return std::find_if(m_dialog.controls.begin(), m_dialog.controls.end(), isList)->id;
    }

    ScriptedUser& m_user;
    const DialogTemplate& m_dialog;
    DialogEvents& m_events;
    std::optional<int> m_code;
};

// Stands in for the real backend as long as it lives.
class ScriptedBackend final : public WindowBackend, public ScriptedUser {
 public:
    ScriptedBackend() { SetWindowBackend(this); }
    ~ScriptedBackend() { SetWindowBackend(nullptr); }
    ScriptedBackend(const ScriptedBackend&) = delete;
    ScriptedBackend& operator=(const ScriptedBackend&) = delete;

    std::unique_ptr<DialogWindow> CreateDialog(const DialogTemplate& dialog,
                                               DialogEvents& events) override {
        return noDisplay ? nullptr : std::make_unique<ScriptedWindow>(*this, dialog, events);
    }
    int ShowMessageBox(std::u16string_view text, uint32_t flags) override {
        EXPECT_EQ(waiting, 0) << "a question under a busy cursor";
        boxes.emplace_back(text, flags);
        if (answers.empty()) {
            return IDOK;
        }
        const int answer = answers.front();
        answers.pop_front();
        return answer;
    }
    void BeginWaitCursor() override { ++waiting; }
    void EndWaitCursor() override { --waiting; }
    // Its index in a system colour's lowest byte.
    COLORREF GetSysColor(int index) const override {
        return 0xC0FF00 + static_cast<COLORREF>(index);
    }
};

}  // namespace brenholt

#endif
