#include "tools/host/listing.h"

#include <algorithm>

#include "tools/host/diagnosis.h"
#include "tools/host/panel_path.h"
#include "tools/host/session.h"
#include "tools/host/text.h"

namespace host {
namespace {

constexpr int32_t kFirstEntries = 10'000;
constexpr int32_t kMaxEntries = 640'000;  // 177 MB; no panel folder comes near it

std::vector<PanelDirEntry> ListOnce(Session& session, const std::u16string& folder) {
    std::vector<PanelDirEntry> entries;
    for (int32_t room = kFirstEntries; room <= kMaxEntries; room *= 8) {
        entries.resize(static_cast<size_t>(room));
        const int32_t count = session.Run(
            [&] { return session.table().CmdDR(folder.c_str(), room, entries.data()); });
        entries.resize(static_cast<size_t>(std::clamp(count, 0, room)));
        if (count < room) {
            break;
        }
    }
    return entries;
}

}  // namespace

Listing ListFolder(Session& session, const std::u16string& folder) {
    Listing listing{ListOnce(session, folder), {}};
    if (!listing.entries.empty()) {
        return listing;
    }
    if (!session.Answers()) {
        listing.trouble = Silence(session);
        return listing;
    }
    const std::u16string path = CleanPanelPath(folder);
    if (path.empty()) {
        return listing;
    }
    const std::string name = ToBytes(LastComponent(path));
    const auto siblings = ListOnce(session, ParentFolder(path));
    const auto self =
        std::find_if(siblings.begin(), siblings.end(),
                     [&](const PanelDirEntry& entry) { return name == entry.szName; });
    if (self == siblings.end()) {
        listing.trouble = "the panel lists no such folder";
    } else if ((self->dwAttributes & BRENHOLT_ATTRIBUTE_DIRECTORY) == 0) {
        listing.trouble = "it is a file on the panel";
    }
    return listing;
}

}  // namespace host
