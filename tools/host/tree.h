// A panel folder with all that is below it, and the paths of its copy on this host.
#ifndef BRENHOLT_TOOLS_HOST_TREE_H
#define BRENHOLT_TOOLS_HOST_TREE_H

#include <brenholt/brenholt.h>
#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace host {

class Session;

// What identifies the state of a file on this host; a file that was replaced differs in it.
struct FileState {
    bool regular = false;
    uint64_t size = 0;
    ino_t inode = 0;
    int64_t modified = 0;  // whole seconds since 1970
    timespec changed{};    // of the inode

    static FileState Of(const std::string& path);
};

struct TreeFile {
    std::u16string remote;  // path on the panel
    std::string shown;      // path below the folder, bytes, `/` between
    std::string local;      // path on this host
    uint32_t size = 0;
    PanelFileTime time{};
    FileState before;  // of `local` when the tree was read

    // Whether the file with the listed size has come since the tree was read.
    bool Arrived() const;

    // Whether the file was there already with the listed size and time.
    bool WasCurrent() const;
};

struct Tree {
    std::vector<std::string> folders;  // on this host, parents first
    std::vector<TreeFile> files;       // in the order of the walk
    std::vector<std::string> refused;  // what will not be copied, with the reason
    uint64_t bytes = 0;                // sum of the sizes
    size_t widest = 0;                 // entries of the largest folder
};

// Lists `remote` and what is below it, in the order in which the module's walk fetches it. Names
// that could lead out of the folder, what lies too deep, and what goes beyond a million entries are
// refused. Throws Failure(Failed) when the folder itself cannot be listed. `tick` is called for
// each folder.
Tree ReadTree(Session& session, const std::u16string& remote, const std::string& local,
              const std::function<void(const Tree&)>& tick);

}  // namespace host

#endif
