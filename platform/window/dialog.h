// Dialogs and what binds their controls to them.
#ifndef BRENHOLT_PLATFORM_WINDOW_DIALOG_H
#define BRENHOLT_PLATFORM_WINDOW_DIALOG_H

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/window/backend.h"

namespace brenholt {

class CDialog;
class CImageList;

// A control of a dialog. Its operations may be called from CDialog::OnInitDialog on until OnDestroy
// has returned.
class CWnd {
 public:
    CWnd() = default;
    virtual ~CWnd() = default;
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;

 protected:
    // The dialog that the control is bound to, or null.
    CDialog* m_parent = nullptr;
    int m_id = 0;

 private:
    friend class CDialog;
    // The control of `window` with the id m_id is there.
    virtual void OnAttach(DialogWindow& window) = 0;
    // A row is to be drawn.
    virtual void DrawItem(DRAWITEMSTRUCT& /*request*/) {}
};

// One pass between the controls and the fields of a dialog.
struct CDataExchange {
    CDialog& m_dialog;
    DialogWindow& m_window;
    bool m_bSaveAndValidate;  // controls to fields, else fields to controls
};

// Binds a control to its object, in the first pass.
void DDX_Control(CDataExchange* pDX, int id, CWnd& control);
// Moves the text of an edit box.
void DDX_Text(CDataExchange* pDX, int id, std::u16string& text);

// A modal dialog. What happens in it comes to the members that its message map names; without an
// entry, button IDOK comes to OnOK, IDCANCEL (and Escape) to OnCancel, the close box to OnClose. All
// notifications give 0.
class CDialog : private DialogEvents {
 public:
    explicit CDialog(const DialogTemplate& dialog) : m_template(dialog) {}
    virtual ~CDialog() = default;
    CDialog(const CDialog&) = delete;
    CDialog& operator=(const CDialog&) = delete;

    // Runs the dialog on the calling thread until EndDialog; gives its code. -1 when there can be
    // no window, or no memory while it is open. WM_DESTROY comes on every way out of an open
    // dialog. The window opens with the size and column widths of the last one of its template.
    int DoModal();

    // 0: fields to controls; else controls to fields.
    void UpdateData(int save);

    // Brings a control's notification to the message map.
    void SendNotify(int control, uint16_t code) { Dispatch(WM_NOTIFY, control, code); }

 protected:
    struct MessageMapEntry {
        uint32_t message;
        uint16_t code;
        int id;
        void (CDialog::*member)();
    };

    virtual std::span<const MessageMapEntry> GetMessageMap() const { return {}; }
    virtual void DoDataExchange(CDataExchange* /*pDX*/) {}
    // The controls exist and are about to be shown. The base binds them and writes the fields into
    // them.
    virtual void OnInitDialog() { UpdateData(0); }
    // Reads the controls into the fields and ends the dialog with IDOK.
    virtual void OnOK();
    virtual void OnCancel() { EndDialog(IDCANCEL); }
    void OnClose() { OnCancel(); }

    void EndDialog(int code) { m_window->EndModal(code); }

    // Gives the window its icon, the first of `images`, from OnInitDialog.
    void SetIcon(const CImageList& images);

 private:
    class OpenWindow;
    friend void DDX_Control(CDataExchange* pDX, int id, CWnd& control);

    void OnEvent(uint32_t message, int control, uint16_t code) noexcept override;
    void OnDrawItem(int control, DRAWITEMSTRUCT& request) noexcept override;
    template <class Body>
    void Guarded(Body body) noexcept;
    void Dispatch(uint32_t message, int control, uint16_t code);
    void Bind(CWnd& control, int id);
    void Unbind();

    const DialogTemplate& m_template;
    std::unique_ptr<DialogWindow> m_window;  // while DoModal runs
    std::vector<CWnd*> m_controls;           // bound to it
};

// Shows a message box over the active window: IDOK or IDCANCEL; 0 without a window backend.
int AfxMessageBox(std::u16string_view text, uint32_t flags);

// The pointer is busy as long as one of these lives.
class CWaitCursor {
 public:
    CWaitCursor();
    ~CWaitCursor();
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;

 private:
    WindowBackend* m_backend;
};

// A colour of the desktop, by COLOR_ index; black without a window backend.
COLORREF GetSysColor(int index);

}  // namespace brenholt

#endif
