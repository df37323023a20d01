#include "tools/host/module.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

#include "tools/host/failure.h"

namespace host {
namespace {

std::string FindModule() {
    std::error_code error;
    const auto beside =
        std::filesystem::read_symlink("/proc/self/exe", error).parent_path() / "brenholt.so";
    return std::filesystem::exists(beside, error) ? beside.string()
                                                  : BRENHOLT_MODULE_DIR "/brenholt.so";
}

// dlopen looks for a bare name in the library path; an option names a file.
std::string AsFile(const std::string& path) {
    return path.find('/') == std::string::npos ? "./" + path : path;
}

}  // namespace

Module::Module(const std::string& path)
    : handle_(dlopen((path.empty() ? FindModule() : AsFile(path)).c_str(), RTLD_NOW | RTLD_LOCAL),
              &dlclose) {
    if (!handle_) {
        // glibc keeps this text per thread. NOLINTNEXTLINE(concurrency-mt-unsafe)
        throw Failure(ExitCode::NoLink, std::string("the module cannot be loaded: ") + dlerror());
    }
    table_ = static_cast<const BrenholtTable*>(dlsym(handle_.get(), BRENHOLT_TABLE_SYMBOL));
    if (table_ == nullptr) {
        throw Failure(ExitCode::NoLink,
                      "the module has no symbol " BRENHOLT_TABLE_SYMBOL ": not a link module");
    }
}

}  // namespace host
