#include "tools/host/module.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

#include "tools/host/failure.h"

namespace host {
namespace {

// Beside the program, as in the build folder, or where it is installed: BRENHOLT_MODULE_DIR leads
// there from the program's folder.
std::string FindModule() {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const auto beside = folder / "brenholt.so";
    return std::filesystem::exists(beside, error)
               ? beside.string()
               : (folder / BRENHOLT_MODULE_DIR / "brenholt.so").string();
}

// dlopen looks for a bare name in the library path; an option names a file.
std::string AsFile(const std::string& path) {
    return path.find('/') == std::string::npos ? "./" + path : path;
}

}  // namespace

Module::Module(const std::string& path)
    : m_handle(dlopen((path.empty() ? FindModule() : AsFile(path)).c_str(), RTLD_NOW | RTLD_LOCAL),
               &dlclose) {
    if (!m_handle) {
        // glibc keeps this text per thread. NOLINTNEXTLINE(concurrency-mt-unsafe)
        throw Failure(ExitCode::NoLink, std::string("the module cannot be loaded: ") + dlerror());
    }
    m_table = static_cast<const BrenholtTable*>(dlsym(m_handle.get(), BRENHOLT_TABLE_SYMBOL));
    if (m_table == nullptr) {
        throw Failure(ExitCode::NoLink,
                      "the module has no symbol " BRENHOLT_TABLE_SYMBOL ": not a link module");
    }
}

}  // namespace host
