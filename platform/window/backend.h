// The seam between the dialog framework and whatever shows real windows.
//
// A backend is a shared object of its own beside the module, "brenholt-window-qt.so", opened when
// the first dialog is, with RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE, and never closed. It exports one
// function, declared at the end; everything else passes through the abstract classes below. It
// needs nothing of the module but these headers. Tests put a scripted backend in its place
// (SetWindowBackend).
//
// Threads. Any thread may call CreateDialog; all calls for that window come on it, and events go
// back on it. Which thread the toolkit lives on is up to the backend. While one thread has a
// window, another is refused (CreateDialog gives null).
//
// Failures. CreateDialog gives null when there can be no windows: no display, none any more, no
// toolkit. Nothing is shown, aborted or printed; DoModal then gives -1. No other operation fails. Any
// operation of a backend may throw std::bad_alloc; DialogEvents throw nothing, so that no exception
// crosses the toolkit's frames.
//
// Ownership. The backend is a singleton that nobody deletes. The caller of CreateDialog owns the
// window; list and address views live in their window. Texts, templates and images that are passed
// in are copied if they are needed after the call, except that the template outlives its window.
//
// Texts are UTF-16 and plain: they may come from the network and are never taken for markup. They
// may hold lone surrogates. Lines are separated by CR LF; only notes and message boxes have several,
// and no other text holds a control character. They are English, and so are read from left to
// right, on a desktop of another language too.
//
// Events report what the user did. No call of the framework raises one.
#ifndef BRENHOLT_PLATFORM_WINDOW_BACKEND_H
#define BRENHOLT_PLATFORM_WINDOW_BACKEND_H

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/window/codes.h"
#include "platform/window/dc.h"
#include "platform/window/template.h"

namespace brenholt {

// What a window reports to its dialog, only while RunModal runs. A call may come back into the same
// window (insert rows, ask for the selection, EndModal) and may run nested dialogs and message
// boxes; it does not destroy the window.
class DialogEvents {
 public:
    // `message`, `control`, `code`:
    //    WM_COMMAND, id, BN_CLICKED       a button was pressed. Escape sends it with IDCANCEL,
    //                                     Enter with the default button's id, whether or not such
    //                                     a button exists
    //    WM_NOTIFY, id, LVN_ITEMCHANGED   the list's selection changed: once for each change, after
    //                                     it
    //    WM_NOTIFY, id, NM_DBLCLK         double click in the list
    //    WM_NOTIFY, id, IPN_FIELDCHANGED  the user changed a field of an address control
    //    WM_CLOSE, 0, 0                   the close box. The window stays until EndModal
    virtual void OnEvent(uint32_t message, int control, uint16_t code) noexcept = 0;

    // A row of an owner-drawn list is to be drawn, now, on `request.hDC`.
    virtual void OnDrawItem(int control, DRAWITEMSTRUCT& request) noexcept = 0;

 protected:
    ~DialogEvents() = default;
};

// A list control as shown. The framework keeps texts, headings and images itself: nothing but
// widths and the selection is ever read back. Rows and columns count from 0. A tool tip shows the
// whole of a text that its column cuts short; Ctrl+C copies column 0 of the selected row.
class ListView {
 public:
    // Adds a column after the last one. `width` is in pixels of a dialog font whose average
    // character is 6 pixels wide; the backend scales it to its own font. The user can widen it.
    virtual void InsertColumn(std::u16string_view heading, int format, int width) = 0;
    // The present width in device-independent pixels.
    virtual int GetColumnWidth(int column) const = 0;
    virtual void SetExtendedStyle(uint32_t style) = 0;
    // The icons of column 0, from InsertItem's index on; copied.
    virtual void SetImageList(const ImageStrip& images) = 0;
    // A sentence that the list shows while it has no rows, wrapped.
    virtual void SetEmptyText(std::u16string_view text) = 0;

    // Inserts a row in front of row `row` (at the end: the number of rows), its other cells empty.
    // The selection stays on its row.
    virtual void InsertItem(int row, std::u16string_view text, int image) = 0;
    virtual void SetItemText(int row, int column, std::u16string_view text) = 0;
    // Removes a row. If it was the selected one, no row is selected after it.
    virtual void DeleteItem(int row) = 0;
    virtual void DeleteAllItems() = 0;
    // The selected row, or -1.
    virtual int GetSelectedItem() const = 0;
    // Scrolls as far as it takes to show the row. The selection stays.
    virtual void EnsureVisible(int row) = 0;

 protected:
    ~ListView() = default;
};

// An address control as shown.
class AddressView {
 public:
    // First field first.
    virtual void SetAddress(const std::array<uint8_t, 4>& fields) = 0;
    // As SetAddress; blank fields are 0. Gives the number of fields that are not blank.
    virtual int GetAddress(std::array<uint8_t, 4>& fields) const = 0;

 protected:
    ~AddressView() = default;
};

// What the user can change of a window's looks, in device-independent pixels.
struct WindowLayout {
    int width = 0;  // without caption and frame
    int height = 0;
    std::vector<int> columns;  // of its list; 0 for one that takes what the others leave
};

// A dialog's window. Made hidden; its destructor removes it, and no event comes any more.
class DialogWindow {
 public:
    DialogWindow() = default;
    virtual ~DialogWindow() = default;
    DialogWindow(const DialogWindow&) = delete;
    DialogWindow& operator=(const DialogWindow&) = delete;

    // Shows the window, with the focus on its first control, blocks until EndModal, hides the
    // window and gives EndModal's code; IDCANCEL when the application left the loop by itself. Once
    // at most.
    virtual int RunModal() = 0;
    // Makes RunModal return `code` as soon as the running event is over. The first call counts.
    virtual void EndModal(int code) = 0;

    virtual WindowLayout GetLayout() const = 0;
    // A layout of a window of the same template, with the columns there. The window stays within
    // its screen and its least size. Before RunModal.
    virtual void SetLayout(const WindowLayout& layout) = 0;
    // The window's icon, unless the host's application has one. Windows that it owns take it over.
    virtual void SetIcon(const ImageStrip& image) = 0;

    // Text of an edit box of the template.
    virtual void SetText(int control, std::u16string_view text) = 0;
    virtual std::u16string GetText(int control) const = 0;

    // A control of that id and kind in the template.
    virtual ListView& GetList(int control) = 0;
    virtual AddressView& GetAddress(int control) = 0;
};

class WindowBackend {
 public:
    // A window of `dialog`, not yet shown, or null (see above). Its owner is the application's
    // active window, if there is one. `events` outlives the window.
    virtual std::unique_ptr<DialogWindow> CreateDialog(const DialogTemplate& dialog,
                                                       DialogEvents& events) = 0;

    // Shows a message box over the active window, under its title, and waits for its button: IDOK,
    // or IDCANCEL; Escape and the close box are Cancel, or OK where there is no Cancel. `flags` are
    // MB_ values.
    virtual int ShowMessageBox(std::u16string_view text, uint32_t flags) = 0;

    // The pointer shows that the user has to wait; input in the meantime is dropped. Calls nest.
    virtual void BeginWaitCursor() = 0;
    virtual void EndWaitCursor() = 0;

    // A colour of the desktop, by COLOR_ index.
    virtual COLORREF GetSysColor(int index) const = 0;

 protected:
    ~WindowBackend() = default;
};

// Grows with every change of these headers: module and backend of different builds refuse each
// other.
inline constexpr uint32_t kWindowBackendVersion = 2;

// The one export of a backend: extern "C" WindowBackend* BrenholtWindowBackend(uint32_t version),
// with default visibility. Gives the singleton, or null for a version other than its own. Touches
// neither the display nor the toolkit: that waits for CreateDialog.
using WindowBackendFactory = WindowBackend* (*)(uint32_t version);
inline constexpr char kWindowBackendFactory[] = "BrenholtWindowBackend";
inline constexpr char kWindowBackendFile[] = "brenholt-window-qt.so";

}  // namespace brenholt

#endif
