// The module, loaded while an object of this class lives.
#ifndef BRENHOLT_TOOLS_HOST_MODULE_H
#define BRENHOLT_TOOLS_HOST_MODULE_H

#include <brenholt/brenholt.h>

#include <memory>
#include <string>

namespace host {

class Module {
 public:
    // Loads the file `path`; if that is empty, brenholt.so beside this program, else the installed
    // one. Throws Failure(NoLink) when it cannot be loaded or has no table.
    explicit Module(const std::string& path);

    const BrenholtTable& table() const { return *m_table; }

 private:
    std::unique_ptr<void, int (*)(void*)> m_handle;
    const BrenholtTable* m_table = nullptr;
};

}  // namespace host

#endif
