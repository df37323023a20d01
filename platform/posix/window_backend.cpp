// The window backend of this system is a shared object of its own.
#include <dlfcn.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/window/backend_loader.h"

namespace brenholt {
namespace {

// The module's own path. The loader may know it only relative to the folder that was current when
// the module was loaded, so it is worked out then.
class ModulePath {
 public:
    ModulePath() {
        Dl_info info{};
        if (dladdr(this, &info) == 0 || realpath(info.dli_fname, m_path) == nullptr) {
            m_path[0] = '\0';
        }
    }
    std::string Sibling(std::string_view name) const {
        const std::string_view path = m_path;
        return std::string(path.substr(0, path.rfind('/') + 1)).append(name);
    }

 private:
    char m_path[PATH_MAX]{};
};

const ModulePath g_modulePath;

}  // namespace

WindowBackend* OpenWindowBackend() {
    const std::string path = g_modulePath.Sibling(kWindowBackendFile);
    if (!path.starts_with('/')) {
        return nullptr;  // dlopen would search the system for a bare name
    }
    void* object = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (object == nullptr) {
        return nullptr;
    }
    const auto factory =
        reinterpret_cast<WindowBackendFactory>(dlsym(object, kWindowBackendFactory));
    return factory != nullptr ? factory(kWindowBackendVersion) : nullptr;
}

}  // namespace brenholt
