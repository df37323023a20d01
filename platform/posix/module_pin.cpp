#include "platform/module_pin.h"

#include <dlfcn.h>
#include <pthread.h>

#include <utility>

namespace brenholt {
namespace {

void* g_ownReference = nullptr;

}  // namespace

void PinModule() {
    Dl_info own{};
    if (g_ownReference == nullptr && dladdr(&g_ownReference, &own) != 0) {
        g_ownReference = dlopen(own.dli_fname, RTLD_NOW | RTLD_NOLOAD);
    }
}

void UnpinModule() {
    if (void* const reference = std::exchange(g_ownReference, nullptr)) {
        dlclose(reference);
    }
}

void OnFork(void (*before)(), void (*inParent)(), void (*inChild)()) {
    static const int registered = pthread_atfork(before, inParent, inChild);
    static_cast<void>(registered);
}

}  // namespace brenholt
