#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

#include "tools/host/commands.h"
#include "tools/host/diagnosis.h"
#include "tools/host/failure.h"
#include "tools/host/listing.h"
#include "tools/host/output.h"
#include "tools/host/panel_path.h"
#include "tools/host/session.h"
#include "tools/host/text.h"
#include "tools/host/transfer.h"

namespace host {
namespace {

struct GetArguments {
    std::vector<std::string> paths;
    bool recursive = false;
    bool update = false;
};

// The paths with the host folder split off: the last of several, else the current folder.
std::pair<std::vector<std::string>, std::string> Split(const std::vector<std::string>& paths) {
    if (paths.size() == 1) {
        return {paths, "."};
    }
    return {{paths.begin(), paths.end() - 1}, paths.back()};
}

const PanelDirEntry* Find(const Listing& listing, const std::string& name) {
    for (const PanelDirEntry& entry : listing.entries) {
        if (name == entry.szName) {
            return &entry;
        }
    }
    return nullptr;
}

// Why a file did not come.
std::string WhyNotFetched(Session& session, const std::u16string& path, const std::string& folder) {
    std::string trouble = FolderTrouble(folder);
    if (!trouble.empty()) {
        return trouble;
    }
    if (!session.Answers()) {
        return Silence(session);
    }
    const std::string name = ToBytes(LastComponent(path));
    const Listing listing = ListFolder(session, ParentFolder(path));
    const PanelDirEntry* entry = Find(listing, name);
    if (entry == nullptr) {
        return "the panel lists no such file";
    }
    if ((entry->dwAttributes & BRENHOLT_ATTRIBUTE_DIRECTORY) != 0) {
        return "it is a folder on the panel: use --recursive";
    }
    return "the panel lists the file but refused it or broke off; is there room in \"" + folder +
           "\"?";
}

// Its size as a note for the progress line, from the listing of its folder.
std::string SizeNote(Session& session, const std::u16string& path) {
    const Listing listing = ListFolder(session, ParentFolder(path));
    const PanelDirEntry* entry = Find(listing, ToBytes(LastComponent(path)));
    return entry == nullptr ? "size unknown" : SizeText(entry->dwSize);
}

bool GetFile(Session& session, const std::string& remote, const std::string& folder) {
    const std::u16string path = CleanPanelPath(PanelText(remote));
    const std::u16string target = LocalForTable(folder);
    const std::string local = folder + "/" + ToBytes(LastComponent(path));
    const std::string note = Progress().shown() ? SizeNote(session, path) : "";
    const auto [ok, seconds] = Transfer(
        session, note, [&] { return session.table().CmdUP(path.c_str(), target.c_str()); });
    std::error_code error;
    const auto bytes = ok ? std::filesystem::file_size(local, error) : 0;
    if (session.options().json) {
        Json object;
        PutName(object, "remote", remote);
        PutName(object, "local", local);
        object["ok"] = ok;
        object["bytes"] = bytes;
        object["seconds"] = seconds;
        PrintJson(object);
    }
    if (ok) {
        Say(Format("%s: %s in %.1f s", local.c_str(), SizeText(bytes).c_str(), seconds));
    } else {
        Say("\"" + remote + "\" was not fetched: " + WhyNotFetched(session, path, folder));
    }
    return ok;
}

void Get(Session& session, const GetArguments& args) {
    const auto [remotes, folder] = Split(args.paths);
    const std::string trouble = FolderTrouble(folder);
    if (!trouble.empty() && !(args.recursive && !std::filesystem::exists(folder))) {
        throw Failure(ExitCode::Failed, trouble + " (the last of several paths is where files go)");
    }
    std::for_each(remotes.begin(), remotes.end(), PanelText);
    session.Connect();
    size_t failed = 0;
    for (const std::string& remote : remotes) {
        bool ok = false;
        if (!args.recursive) {
            ok = GetFile(session, remote, folder);
        } else if (remotes.size() == 1) {
            ok = GetFolder(session, remote, folder, args.update);
        } else {
            const auto name = ToBytes(LastComponent(CleanPanelPath(ForTable(remote))));
            ok = GetFolder(session, remote, std::filesystem::path(folder) / name, args.update);
        }
        failed += ok ? 0 : 1;
    }
    if (failed != 0) {
        throw Failure(ExitCode::Failed, Format("%zu of %zu not fetched", failed, remotes.size()));
    }
}

}  // namespace

Action DefineGet(CLI::App& app) {
    auto args = std::make_shared<GetArguments>();
    app.add_option("PATH", args->paths,
                   "Panel files; the last of several paths is the host folder that they go into, "
                   "else the current one")
        ->required();
    auto* recursive = app.add_flag(
        "-r,--recursive", args->recursive,
        "The panel paths are folders: copy what is in one, or several under their own names");
    app.add_flag("-u,--update", args->update,
                 "Skip files whose size and time, in whole seconds, already match")
        ->needs(recursive);
    return [args](Session& session) { Get(session, *args); };
}

}  // namespace host
