#include "tools/host/panel_path.h"

#include <algorithm>

#include "tools/host/failure.h"
#include "tools/host/text.h"

namespace host {
namespace {

constexpr size_t kMaxText = 255;

}  // namespace

std::u16string PanelText(const std::string& bytes) {
    if (bytes.size() > kMaxText) {
        throw Failure(ExitCode::Failed,
                      Format("\"%s\" has %zu bytes; a command to the panel carries %zu at most",
                             bytes.c_str(), bytes.size(), kMaxText));
    }
    return ForTable(bytes);
}

std::u16string CleanPanelPath(std::u16string path) {
    std::replace(path.begin(), path.end(), u'/', u'\\');
    path.erase(path.find_last_not_of(u'\\') + 1);
    return path;
}

std::u16string LastComponent(const std::u16string& path) {
    return path.substr(path.rfind(u'\\') + 1);
}

std::u16string ParentFolder(const std::u16string& path) {
    return path.substr(0, path.size() - LastComponent(path).size());
}

std::u16string JoinPanelPath(const std::u16string& folder, const std::u16string& name) {
    return CleanPanelPath(folder) + u'\\' + name;
}

}  // namespace host
