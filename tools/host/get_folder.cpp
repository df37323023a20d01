#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "tools/host/commands.h"
#include "tools/host/failure.h"
#include "tools/host/output.h"
#include "tools/host/session.h"
#include "tools/host/text.h"
#include "tools/host/tree.h"

namespace host {
namespace {

constexpr size_t kWalkWidth = 1000;  // entries of one folder that the module's walk takes
constexpr size_t kLookAhead = 64;    // files that a watcher looks beyond one that has not come

// What a copy came to.
struct Outcome {
    size_t files = 0;
    size_t skipped = 0;
    uint64_t bytes = 0;
    std::vector<std::string> failed;
};

// Counts the files of a running walk as they appear. The walk goes through them in order, and one
// that fails never comes.
class Watcher {
 public:
    Watcher(const Tree& tree, Progress& progress) : m_tree(tree), m_progress(progress) {}

    void Look() {
        if (!m_progress.Due()) {
            return;
        }
        for (size_t i = m_next; i < std::min(m_next + kLookAhead, m_tree.files.size()); ++i) {
            if (m_tree.files[i].Arrived()) {
                ++m_files;
                m_bytes += m_tree.files[i].size;
                m_next = i + 1;
            }
        }
        Show(m_files, m_bytes);
    }

    void Show(size_t files, uint64_t bytes) {
        m_progress.Show(Format("%zu of %zu files, %s of %s, %.0f s", files, m_tree.files.size(),
                               SizeText(bytes).c_str(), SizeText(m_tree.bytes).c_str(),
                               SecondsSince(m_start)));
    }

 private:
    const Tree& m_tree;
    Progress& m_progress;
    Clock::time_point m_start = Clock::now();
    size_t m_next = 0;
    size_t m_files = 0;
    uint64_t m_bytes = 0;
};

// Makes the folder, if it is missing. A link in its place is not followed: it may lead anywhere.
bool MakeFolder(const std::string& path) {
    struct stat status {};
    if (mkdir(path.c_str(), 0777) != 0 && errno != EEXIST) {
        return false;
    }
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The module walks; what has come is seen on the disk.
Outcome Walk(Session& session, const std::u16string& remote, const std::string& local,
             const Tree& tree) {
    Progress progress;
    Watcher watcher(tree, progress);
    const bool ok =
        session.Run(
            [&] { return session.table().CmdGF(remote.c_str(), LocalForTable(local).c_str()); },
            [&] { watcher.Look(); }) != 0;
    Outcome outcome;
    for (const TreeFile& file : tree.files) {
        if (file.Arrived()) {
            ++outcome.files;
            outcome.bytes += file.size;
        } else {
            outcome.failed.push_back(file.shown);
        }
    }
    if (!ok && outcome.failed.empty() && tree.refused.empty()) {
        outcome.failed.push_back("something that was not listed beforehand");
    }
    return outcome;
}

// One fetch a file: leaves out what is current, and takes folders of any width.
Outcome FetchEach(Session& session, const Tree& tree, bool update) {
    Progress progress;
    Watcher watcher(tree, progress);
    Outcome outcome;
    std::vector<std::string> blocked;  // folders that could not be made
    for (const std::string& folder : tree.folders) {
        if (!MakeFolder(folder)) {
            blocked.push_back(folder + "/");
        }
    }
    for (const TreeFile& file : tree.files) {
        watcher.Show(outcome.files + outcome.skipped, outcome.bytes);
        if (update && file.WasCurrent()) {
            ++outcome.skipped;
            continue;
        }
        const std::string folder = std::filesystem::path(file.local).parent_path();
        if (std::any_of(blocked.begin(), blocked.end(),
                        [&](const std::string& stop) { return file.local.starts_with(stop); })) {
            outcome.failed.push_back(file.shown + ": its folder is a link or cannot be made");
        } else if (session.Run([&] {
                       return session.table().CmdUP(file.remote.c_str(),
                                                    LocalForTable(folder).c_str());
                   }) != 0) {
            ++outcome.files;
            outcome.bytes += file.size;
        } else {
            outcome.failed.push_back(file.shown);
        }
    }
    return outcome;
}

void PrintSummary(Session& session, const std::string& remote, const std::string& local,
                  const Outcome& outcome, double seconds) {
    if (session.options().json) {
        Json object;
        PutName(object, "remote", remote);
        PutName(object, "local", local);
        object["ok"] = outcome.failed.empty();
        object["files"] = outcome.files;
        object["bytes"] = outcome.bytes;
        object["skipped"] = outcome.skipped;
        object["seconds"] = seconds;
        object["failed"] = Json::array();
        for (const std::string& name : outcome.failed) {
            Json failure;
            PutName(failure, "name", name);
            object["failed"].push_back(failure);
        }
        PrintJson(object);
        return;
    }
    for (const std::string& name : outcome.failed) {
        Say("failed: " + name);
    }
    Say(Format("%s: %zu files, %s in %.1f s, %zu skipped, %zu failed", local.c_str(), outcome.files,
               SizeText(outcome.bytes).c_str(), seconds, outcome.skipped, outcome.failed.size()));
}

}  // namespace

bool GetFolder(Session& session, const std::string& remote, const std::string& local, bool update) {
    const auto start = Clock::now();
    const std::u16string path = ForTable(remote);
    Outcome outcome;
    try {
        Progress progress;
        const Tree tree = ReadTree(session, path, local, [&](const Tree& soFar) {
            progress.Show(Format("listing: %zu files, %s", soFar.files.size(),
                                 SizeText(soFar.bytes).c_str()));
        });
        std::error_code error;
        std::filesystem::create_directories(local, error);
        outcome = update || tree.widest > kWalkWidth ? FetchEach(session, tree, update)
                                                     : Walk(session, path, local, tree);
        outcome.failed.insert(outcome.failed.end(), tree.refused.begin(), tree.refused.end());
    } catch (const Failure& failure) {
        if (failure.code() != ExitCode::Failed) {
            throw;
        }
        outcome.failed.emplace_back(failure.what());
    }
    PrintSummary(session, remote, local, outcome, SecondsSince(start));
    return outcome.failed.empty();
}

}  // namespace host
