#include "tests/dialogs/scripted_backend.h"

#include <gtest/gtest.h>

#include <new>

namespace brenholt {
namespace {

size_t Index(int number) {
    return static_cast<size_t>(number);
}

}  // namespace

void ScriptedList::InsertColumn(std::u16string_view heading, int format, int width) {
    columns.push_back({std::u16string(heading), format, width});
}

int ScriptedList::GetColumnWidth(int column) const {
    return columns.at(Index(column)).width;
}

void ScriptedList::InsertItem(int row, std::u16string_view text, int image) {
    EXPECT_EQ(image, 0);
    if (rowsUntilNoMemory && (*rowsUntilNoMemory)-- == 0) {
        throw std::bad_alloc();
    }
    Cells cells(columns.size());
    cells.at(0) = text;
    rows.insert(rows.begin() + row, std::move(cells));
    if (selected >= row) {
        ++selected;
    }
}

void ScriptedList::SetItemText(int row, int column, std::u16string_view text) {
    rows.at(Index(row)).at(Index(column)) = text;
}

void ScriptedList::DeleteItem(int row) {
    rows.erase(rows.begin() + row);
    selected = selected == row ? -1 : selected > row ? selected - 1 : selected;
}

void ScriptedList::DeleteAllItems() {
    rows.clear();
    selected = -1;
}

ScriptedWindow::~ScriptedWindow() {
    m_backend.rowsLeft += list.rows.size();
    --m_backend.windows;
}

void ScriptedWindow::Select(int row) {
    list.selected = row;
    m_events.OnEvent(WM_NOTIFY, ListId(), LVN_ITEMCHANGED);
}

void ScriptedWindow::Type(int control, const std::array<uint8_t, 4>& typed) {
    address.fields = typed;
    m_events.OnEvent(WM_NOTIFY, control, IPN_FIELDCHANGED);
}

int ScriptedWindow::RunModal() {
    if (m_backend.scripts.empty()) {
        ADD_FAILURE() << "a dialog that nobody expected";
        return IDCANCEL;
    }
    const auto script = std::move(m_backend.scripts.front());
    m_backend.scripts.pop_front();
    list.rowsUntilNoMemory = m_backend.rowsUntilNoMemory;
    script(*this);
    EXPECT_TRUE(m_code) << "the script left its dialog open";
    return m_code.value_or(IDCANCEL);
}

void ScriptedWindow::EndModal(int code) {
    if (!m_code) {
        m_code = code;
    }
}

int ScriptedWindow::ListId() const {
    for (const ControlTemplate& control : dialog.controls) {
        if (control.kind == ControlKind::ListControl) {
            return control.id;
        }
    }
    ADD_FAILURE() << "no list";
    return 0;
}

ListView& ScriptedWindow::GetList(int control) {
    EXPECT_EQ(control, ListId());
    return list;
}

AddressView& ScriptedWindow::GetAddress(int /*control*/) {
    return address;
}

std::unique_ptr<DialogWindow> ScriptedBackend::CreateDialog(const DialogTemplate& dialog,
                                                            DialogEvents& events) {
    if (noDisplay) {
        return nullptr;
    }
    ++windows;
    return std::make_unique<ScriptedWindow>(*this, dialog, events);
}

int ScriptedBackend::ShowMessageBox(std::u16string_view text, uint32_t flags) {
    EXPECT_EQ(waiting, 0) << "a question under a busy cursor";
    boxes.push_back({std::u16string(text), flags});
    if (answers.empty()) {
        return IDOK;
    }
    const int answer = answers.front();
    answers.pop_front();
    return answer;
}

}  // namespace brenholt
