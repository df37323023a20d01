// A host without Qt of its own: opens the search dialog of a backend, and prints a line for all
// that happens.
//   window_probe BACKEND          "refused", or "opened" and the process's locale
//   window_probe BACKEND run      also runs the dialog until OK, Cancel or the close box. Refresh
//                                 makes the user wait for a line on stdin; after another line the
//                                 dialog is opened a second time
#include <dlfcn.h>

#include <clocale>
#include <cstdio>
#include <string_view>

#include "dialogs/resources.h"
#include "platform/window/backend.h"

namespace {

using namespace brenholt;

class Printer : public DialogEvents {
 public:
    void OnEvent(uint32_t message, int control, uint16_t code) noexcept override {
        std::printf("event %#x %d %d row %d\n", message, control, static_cast<int16_t>(code),
                    window->GetList(IDC_SEARCH_LIST).GetSelectedItem());
        if (control == IDC_SEARCH_REFRESH) {
            backend->BeginWaitCursor();
            std::puts("waits");
            std::getchar();
            backend->EndWaitCursor();
            std::puts("waited");
        } else if (control == IDC_SEARCH_TEST) {
            std::printf("answer %d\n", backend->ShowMessageBox(u"Sure?", MB_OKCANCEL));
        } else if (message == WM_CLOSE || control == IDOK || control == IDCANCEL) {
            window->EndModal(control);
        }
    }
    void OnDrawItem(int /*control*/, DRAWITEMSTRUCT& /*request*/) noexcept override {}

    WindowBackend* backend = nullptr;
    std::unique_ptr<DialogWindow> window;
};

}  // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    void* object = argc > 1 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE) : nullptr;
    if (object == nullptr) {
        std::fputs("usage: window_probe BACKEND [run]\n", stderr);
        return 2;
    }
    Printer printer;
    printer.backend = reinterpret_cast<WindowBackendFactory>(dlsym(object, kWindowBackendFactory))(
        kWindowBackendVersion);
    printer.window = printer.backend->CreateDialog(kSearchTemplate, printer);
    if (!printer.window) {
        std::puts("refused");
        return 0;
    }
    if (argc > 2 && std::string_view(argv[2]) == "run") {
        ListView& list = printer.window->GetList(IDC_SEARCH_LIST);
        list.InsertColumn(u"IP Addr", LVCFMT_CENTER, 120);
        list.InsertItem(0, u"192.168.0.10", 0);
        list.InsertItem(1, u"192.168.0.11", 0);
        std::printf("ended %d\n", printer.window->RunModal());
    }
    printer.window.reset();
    if (argc > 2) {
        std::getchar();
        std::puts(printer.backend->CreateDialog(kSearchTemplate, printer) ? "again" : "refused");
    }
    std::printf("opened locale %s\n",
                std::setlocale(LC_ALL, nullptr));  // NOLINT(concurrency-mt-unsafe)
    return 0;
}
