#include "tools/host/diagnosis.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>

#include "tools/host/networks.h"
#include "tools/host/session.h"
#include "tools/host/text.h"

namespace host {

std::string Silence(Session& session) {
    const std::string address = session.Target().address;
    return std::string("the panel does not answer the version query; ") +
           (session.IsHeard(address) ? "its beacons were heard" : "its beacons are gone") + "; " +
           address + " " + NetworkOf(address);
}

std::string PanelState(Session& session) {
    return session.Answers()
               ? "the panel answers the version query, so it refused this or broke off"
               : Silence(session);
}

std::string FolderTrouble(const std::string& folder) {
    struct stat status {};
    if (stat(folder.c_str(), &status) != 0) {
        return "the folder \"" + folder + "\": " + ErrorText(errno);
    }
    if (!S_ISDIR(status.st_mode)) {
        return "\"" + folder + "\" is not a folder";
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        return "the folder \"" + folder + "\" cannot be written to: " + ErrorText(errno);
    }
    return {};
}

std::string FileTrouble(const std::string& file, uint64_t& size) {
    struct stat status {};
    if (stat(file.c_str(), &status) != 0 || access(file.c_str(), R_OK) != 0) {
        return "\"" + file + "\": " + ErrorText(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "\"" + file + "\" is not a file";
    }
    size = static_cast<uint64_t>(status.st_size);
    if (size == 0) {
        return "\"" + file + "\" is empty: the link has no way to send nothing";
    }
    if (size > static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) {
        return "\"" + file + "\" is too large: the link sends less than 2 GiB";
    }
    return {};
}

}  // namespace host
