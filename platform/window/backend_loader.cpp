#include "platform/window/backend_loader.h"

#include <atomic>

namespace brenholt {
namespace {

std::atomic<WindowBackend*> g_backend{nullptr};

}  // namespace

WindowBackend* GetWindowBackend() {
    WindowBackend* backend = g_backend;
    if (backend == nullptr) {
        // Two threads that come here together open the same singleton.
        backend = OpenWindowBackend();
        g_backend = backend;
    }
    return backend;
}

void SetWindowBackend(WindowBackend* backend) {
    g_backend = backend;
}

}  // namespace brenholt
