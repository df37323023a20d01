#include "tools/host/tree.h"

#include <sys/stat.h>

#include <string_view>

#include "tools/host/failure.h"
#include "tools/host/listing.h"
#include "tools/host/output.h"
#include "tools/host/panel_path.h"
#include "tools/host/session.h"
#include "tools/host/text.h"

namespace host {
namespace {

constexpr int kMaxDepth = 32;
constexpr size_t kMaxListed = 1'000'000;

bool IsPlainName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of("/\\") == std::string_view::npos;
}

class Reader {
 public:
    Reader(Session& session, const std::function<void(const Tree&)>& tick)
        : m_session(session), m_tick(tick) {}

    void Read(const std::u16string& remote, const std::string& shown, const std::string& local,
              int depth);
    Tree tree;

 private:
    void Take(const PanelDirEntry& entry, const std::u16string& remote, const std::string& shown,
              const std::string& local, int depth);

    Session& m_session;
    const std::function<void(const Tree&)>& m_tick;
};

void Reader::Read(const std::u16string& remote, const std::string& shown, const std::string& local,
                  int depth) {
    const Listing listing = ListFolder(m_session, remote);
    if (!listing.trouble.empty()) {
        if (depth == 0) {
            throw Failure(ExitCode::Failed,
                          "\"" + ToBytes(remote) + "\" cannot be listed: " + listing.trouble);
        }
        tree.refused.push_back(shown + ": " + listing.trouble);
    }
    tree.widest = std::max(tree.widest, listing.entries.size());
    m_tick(tree);
    for (const PanelDirEntry& entry : listing.entries) {
        Take(entry, remote, shown, local, depth);
    }
}

void Reader::Take(const PanelDirEntry& entry, const std::u16string& remote,
                  const std::string& shown, const std::string& local, int depth) {
    const std::string name = entry.szName;
    const std::string below = shown.empty() ? name : shown + "/" + name;
    if (!IsPlainName(name)) {
        tree.refused.push_back(below + ": not a name of its own");
        return;
    }
    if (tree.files.size() + tree.folders.size() >= kMaxListed) {
        tree.refused.push_back(below + ": too many entries");
        return;
    }
    const std::u16string path = JoinPanelPath(remote, ForTable(name));
    const std::string copy = local + "/" + name;
    if ((entry.dwAttributes & BRENHOLT_ATTRIBUTE_DIRECTORY) == 0) {
        tree.files.push_back(
            {path, below, copy, entry.dwSize, entry.ftLastWrite, FileState::Of(copy)});
        tree.bytes += entry.dwSize;
    } else if (depth + 1 >= kMaxDepth) {
        tree.refused.push_back(below + ": too deep");
    } else {
        tree.folders.push_back(copy);
        Read(path, below, copy, depth + 1);
    }
}

}  // namespace

FileState FileState::Of(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return {};
    }
    return {true, static_cast<uint64_t>(status.st_size), status.st_ino, status.st_mtim.tv_sec,
            status.st_ctim};
}

bool TreeFile::Arrived() const {
    const FileState now = FileState::Of(local);
    return now.regular && now.size == size &&
           (now.inode != before.inode || now.changed.tv_sec != before.changed.tv_sec ||
            now.changed.tv_nsec != before.changed.tv_nsec);
}

bool TreeFile::WasCurrent() const {
    return before.regular && before.size == size && UnixSeconds(time) == before.modified;
}

Tree ReadTree(Session& session, const std::u16string& remote, const std::string& local,
              const std::function<void(const Tree&)>& tick) {
    Reader reader(session, tick);
    reader.Read(remote, "", local, 0);
    return std::move(reader.tree);
}

}  // namespace host
