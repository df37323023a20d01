// GF: a panel folder with its subfolders to the host. A composite: the panel sees listings and file
// fetches only. A failure does not stop the walk, but makes the result 0.
#include <new>

#include "commands/file_record.h"
#include "commands/listing.h"
#include "link/command_run.h"
#include "link/tv_udp.h"
#include "platform/folder.h"
#include "platform/path.h"
#include "platform/text.h"

namespace brenholt {

// The position of a walk.
struct WalkPlace {
    const CFolder& folder;  // the host folder of this level; not open if that failed
    int depth;              // levels below the first
    int& foldersLeft;       // how many more folders the whole walk may list
};

namespace {

constexpr int kMaxFolderEntries = 1000;
constexpr uint32_t kDirectory = BRENHOLT_ATTRIBUTE_DIRECTORY;

// A faulty panel can list a tree without end; real ones are a few levels deep.
constexpr int kMaxDepth = 32;
constexpr int kMaxFolders = 10'000;

std::u16string NormalFolder(std::u16string_view path) {
    const size_t end = path.find_last_not_of(u" \t\n\v\f\r");
    return FolderPath(path.substr(0, end == std::u16string_view::npos ? 0 : end + 1));
}

}  // namespace

int CTvUdp::CmdGF(const char16_t* remote, const char16_t* local, int async) {
    const std::u16string source = remote != nullptr ? remote : u"";
    const std::u16string destination = local != nullptr ? local : u"";
    if (const std::optional<int> early = Enter(u"GF", async, remote, local)) {
        return *early;
    }
    CommandRun run(*this);
    CFolder folder;
    folder.Open(NormalFolder(destination));
    int foldersLeft = kMaxFolders;
    return run.End(WalkFolder(source, destination, {folder, 0, foldersLeft}) ? 1 : 0);
}

bool CTvUdp::WalkFolder(const std::u16string& remote, const std::u16string& local,
                        const WalkPlace& place) {
    if (place.depth > kMaxDepth || --place.foldersLeft < 0) {
        return false;
    }
    const std::unique_ptr<PanelDirEntry[]> entries(new (std::nothrow)
                                                       PanelDirEntry[kMaxFolderEntries]);
    if (!entries) {
        return false;
    }
    BeginCommand(u"DR0", 0, remote.c_str(), nullptr, kMaxFolderEntries, entries.get(), nullptr,
                 nullptr);
    const Listing listing = ListFolder(kMaxFolderEntries, entries.get());
    // A folder that the panel does not list counts as empty; one whose listing is malformed or was
    // cut short does not count as copied.
    bool allOk = listing.end == Listing::Whole || listing.end == Listing::Unanswered;

    const std::u16string source = NormalFolder(remote);
    const std::u16string destination = NormalFolder(local);
    for (int i = 0; i < listing.Count() && !Stopping(); ++i) {
        const std::string name = entries[static_cast<size_t>(i)].szName;
        const std::u16string wideName = WidenName(name);
        if (name == "." || name == "..") {
            continue;
        }
        if (!IsPlainName(wideName)) {
            allOk = false;
            continue;
        }
        const std::u16string child = source + wideName;
        if ((entries[static_cast<size_t>(i)].dwAttributes & kDirectory) != 0) {
            const std::u16string childLocal = destination + wideName;
            BeginCommand(u"GF", 0, child.c_str(), childLocal.c_str(), 0, nullptr, nullptr, nullptr);
            CFolder folder;
            folder.OpenChild(place.folder, wideName);
            allOk &= WalkFolder(child, childLocal, {folder, place.depth + 1, place.foldersLeft});
        } else {
            BeginCommand(u"UP00000000", 0, child.c_str(), destination.c_str(), 0, nullptr, nullptr,
                         nullptr);
            allOk &= FetchFile(child, place.folder);
        }
    }
    return allOk && !Stopping();
}

}  // namespace brenholt
