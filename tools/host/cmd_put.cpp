#include <algorithm>
#include <filesystem>
#include <memory>
#include <vector>

#include "tools/host/commands.h"
#include "tools/host/diagnosis.h"
#include "tools/host/failure.h"
#include "tools/host/output.h"
#include "tools/host/panel_path.h"
#include "tools/host/session.h"
#include "tools/host/text.h"
#include "tools/host/transfer.h"

namespace host {
namespace {

struct Item {
    std::string local;
    std::string remote;
    std::u16string text{};  // `remote` for the table
    uint64_t size = 0;
};

bool EndsInSeparator(const std::string& path) {
    return path.ends_with('/') || path.ends_with('\\');
}

// What goes where. One file goes under its own name or the one given, several go into the panel
// folder that is named last.
std::vector<Item> Plan(const std::vector<std::string>& paths) {
    const size_t files = std::max<size_t>(paths.size() - 1, 1);
    std::string target = paths.size() == 1 ? "" : paths.back();
    if (files > 1 && !EndsInSeparator(target)) {
        if (std::filesystem::is_regular_file(target)) {
            throw Failure(ExitCode::Usage,
                          "the last of several paths is the panel folder, but \"" + target +
                              "\" is a file here; end it with / if the folder has that name");
        }
        target += '\\';
    }
    std::vector<Item> items;
    for (size_t i = 0; i < files; ++i) {
        const std::string name = std::filesystem::path(paths[i]).filename();
        const bool whole = !target.empty() && !EndsInSeparator(target);
        items.push_back({paths[i], whole ? target : target + name});
    }
    return items;
}

bool PutFile(Session& session, const Item& item) {
    const std::u16string local = LocalForTable(item.local);
    const auto [ok, seconds] = Transfer(session, SizeText(item.size), [&] {
        return session.table().CmdDL(local.c_str(), item.text.c_str());
    });
    if (session.options().json) {
        Json object;
        PutName(object, "local", item.local);
        PutName(object, "remote", item.remote);
        object["ok"] = ok;
        object["bytes"] = item.size;
        object["seconds"] = seconds;
        PrintJson(object);
    }
    if (ok) {
        Say(Format("%s: %s in %.1f s", item.remote.c_str(), SizeText(item.size).c_str(), seconds));
        return true;
    }
    uint64_t size = 0;
    const std::string trouble = FileTrouble(item.local, size);
    Say("\"" + item.local +
        "\" was not sent: " + (trouble.empty() ? PanelState(session) : trouble));
    return false;
}

void Put(Session& session, const std::vector<std::string>& paths) {
    std::vector<Item> items = Plan(paths);
    for (Item& item : items) {
        item.text = PanelText(item.remote);
        const std::string trouble = FileTrouble(item.local, item.size);
        if (!trouble.empty()) {
            throw Failure(ExitCode::Failed, trouble + "; nothing was sent");
        }
    }
    session.Connect();
    const auto failed = std::count_if(items.begin(), items.end(),
                                      [&](const Item& item) { return !PutFile(session, item); });
    if (failed != 0) {
        throw Failure(ExitCode::Failed, Format("%td of %zu not sent", failed, items.size()));
    }
}

}  // namespace

Action DefinePut(CLI::App& app) {
    auto paths = std::make_shared<std::vector<std::string>>();
    app.add_option("PATH", *paths,
                   "A host file and where it goes on the panel (without that, its own name); or "
                   "several files and the panel folder they go into")
        ->required();
    return [paths](Session& session) { Put(session, *paths); };
}

}  // namespace host
