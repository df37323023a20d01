#include "platform/window/dialog.h"

#include <map>
#include <mutex>
#include <utility>

#include "platform/window/backend_loader.h"
#include "platform/window/image_list.h"

namespace brenholt {
namespace {

// How the user left the windows, by template, for the life of the module.
class LayoutMemory {
 public:
    void Keep(int dialog, WindowLayout layout) {
        const std::lock_guard lock(m_mutex);
        m_layouts[dialog] = std::move(layout);
    }
    void Restore(int dialog, DialogWindow& window) {
        const std::lock_guard lock(m_mutex);
        if (const auto found = m_layouts.find(dialog); found != m_layouts.end()) {
            window.SetLayout(found->second);
        }
    }

 private:
    std::mutex m_mutex;
    std::map<int, WindowLayout> m_layouts;
};

LayoutMemory g_layoutMemory;

}  // namespace

void DDX_Control(CDataExchange* pDX, int id, CWnd& control) {
    pDX->m_dialog.Bind(control, id);
}

void DDX_Text(CDataExchange* pDX, int id, std::u16string& text) {
    if (pDX->m_bSaveAndValidate) {
        text = pDX->m_window.GetText(id);
    } else {
        pDX->m_window.SetText(id, text);
    }
}

// The time in which the window exists.
class CDialog::OpenWindow {
 public:
    explicit OpenWindow(CDialog& dialog) : m_dialog(dialog) {}
    ~OpenWindow() {
        m_dialog.Dispatch(WM_DESTROY, 0, 0);
        m_dialog.Unbind();
        m_dialog.m_window.reset();
    }
    OpenWindow(const OpenWindow&) = delete;
    OpenWindow& operator=(const OpenWindow&) = delete;

 private:
    CDialog& m_dialog;
};

int CDialog::DoModal() {
    WindowBackend* backend = GetWindowBackend();
    if (backend == nullptr) {
        return -1;
    }
    m_window = backend->CreateDialog(m_template, *this);
    if (!m_window) {
        return -1;
    }
    const OpenWindow open(*this);
    OnInitDialog();
    g_layoutMemory.Restore(m_template.id, *m_window);
    const int code = m_window->RunModal();
    g_layoutMemory.Keep(m_template.id, m_window->GetLayout());
    return code;
}

void CDialog::UpdateData(int save) {
    CDataExchange exchange{*this, *m_window, save != 0};
    DoDataExchange(&exchange);
}

void CDialog::SetIcon(const CImageList& images) {
    m_window->SetIcon(images.GetStrip());
}

void CDialog::OnOK() {
    UpdateData(1);
    EndDialog(IDOK);
}

void CDialog::Bind(CWnd& control, int id) {
    if (control.m_parent == nullptr) {
        m_controls.push_back(&control);
        control.m_parent = this;
        control.m_id = id;
        control.OnAttach(*m_window);
    }
}

void CDialog::Unbind() {
    for (CWnd* control : m_controls) {
        control->m_parent = nullptr;
    }
    m_controls.clear();
}

// Nothing that is thrown may cross the backend's frames.
template <class Body>
void CDialog::Guarded(Body body) noexcept {
    try {
        body();
    } catch (...) {
        m_window->EndModal(-1);
    }
}

void CDialog::OnEvent(uint32_t message, int control, uint16_t code) noexcept {
    Guarded([&] { Dispatch(message, control, code); });
}

void CDialog::OnDrawItem(int control, DRAWITEMSTRUCT& request) noexcept {
    Guarded([&] {
        for (CWnd* bound : m_controls) {
            if (bound->m_id == control) {
                bound->DrawItem(request);
            }
        }
    });
}

void CDialog::Dispatch(uint32_t message, int control, uint16_t code) {
    for (const MessageMapEntry& entry : GetMessageMap()) {
        if (entry.message == message && entry.id == control && entry.code == code) {
            (this->*entry.member)();
            return;
        }
    }
    if (message == WM_COMMAND && control == IDOK) {
        OnOK();
    } else if (message == WM_COMMAND && control == IDCANCEL) {
        OnCancel();
    } else if (message == WM_CLOSE) {
        OnClose();
    }
}

int AfxMessageBox(std::u16string_view text, uint32_t flags) {
    WindowBackend* backend = GetWindowBackend();
    return backend != nullptr ? backend->ShowMessageBox(text, flags) : 0;
}

CWaitCursor::CWaitCursor() : m_backend(GetWindowBackend()) {
    if (m_backend != nullptr) {
        m_backend->BeginWaitCursor();
    }
}

CWaitCursor::~CWaitCursor() {
    if (m_backend != nullptr) {
        m_backend->EndWaitCursor();
    }
}

COLORREF GetSysColor(int index) {
    const WindowBackend* backend = GetWindowBackend();
    return backend != nullptr ? backend->GetSysColor(index) : 0;
}

}  // namespace brenholt
