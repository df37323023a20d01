#include <ctime>
#include <memory>

#include "tools/host/commands.h"
#include "tools/host/failure.h"
#include "tools/host/listing.h"
#include "tools/host/output.h"
#include "tools/host/panel_path.h"
#include "tools/host/session.h"
#include "tools/host/text.h"

namespace host {
namespace {

bool IsFolder(const PanelDirEntry& entry) {
    return (entry.dwAttributes & BRENHOLT_ATTRIBUTE_DIRECTORY) != 0;
}

// "2026-01-31 12:00:00" in local time or "2026-01-31T12:00:00Z"; nothing for a time that is not
// set.
std::string TimeText(PanelFileTime time, bool utc) {
    const auto seconds = UnixSeconds(time);
    if (!seconds) {
        return {};
    }
    const time_t value = *seconds;
    tm parts{};
    (utc ? gmtime_r : localtime_r)(&value, &parts);
    return Format(utc ? "%04d-%02d-%02dT%02d:%02d:%02dZ" : "%04d-%02d-%02d %02d:%02d:%02d",
                  parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour,
                  parts.tm_min, parts.tm_sec);
}

void PrintEntry(const PanelDirEntry& entry, bool json) {
    if (!json) {
        PrintLine(Format("%c %10u  %-19s  %s", IsFolder(entry) ? 'd' : '-', entry.dwSize,
                         TimeText(entry.ftLastWrite, false).c_str(), Shown(entry.szName).c_str()));
        return;
    }
    const std::string time = TimeText(entry.ftLastWrite, true);
    Json object;
    PutName(object, "name", entry.szName);
    object["folder"] = IsFolder(entry);
    object["size"] = entry.dwSize;
    object["time"] = time.empty() ? Json() : Json(time);
    object["attributes"] = entry.dwAttributes;
    PrintJson(object);
}

}  // namespace

Action DefineList(CLI::App& app) {
    auto folder = std::make_shared<std::string>();
    app.add_option("FOLDER", *folder, "Panel folder; without it the panel's top folder");
    return [folder](Session& session) {
        const std::u16string path = PanelText(*folder);
        session.Connect();
        const Listing listing = ListFolder(session, path);
        if (!listing.trouble.empty()) {
            throw Failure(ExitCode::Failed,
                          "\"" + *folder + "\" cannot be listed: " + listing.trouble);
        }
        if (listing.entries.empty()) {
            Say("nothing is listed: the folder is empty, or the panel refused");
        }
        for (const PanelDirEntry& entry : listing.entries) {
            PrintEntry(entry, session.options().json);
        }
    };
}

}  // namespace host
