#include "tools/host/diagnosis.h"

#include <arpa/inet.h>
#include <brenholt/brenholt.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <limits>
#include <memory>
#include <system_error>
#include <vector>

#include "tools/host/session.h"
#include "tools/host/text.h"

namespace host {
namespace {

std::string ErrorText(int error) {
    return std::system_category().message(error);
}

// 0, or the error that keeps a socket from being bound to the port as the module binds it.
int BindError(uint16_t port) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return errno;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    const int error =
        bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
    close(fd);
    return error;
}

in_addr_t AddressOf(const sockaddr* address) {
    return reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr;
}

struct Network {
    in_addr_t address;
    in_addr_t mask;
    std::string name;  // "eth0 (192.168.0.5/24)"
};

std::vector<Network> OurNetworks() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return {};
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> all(first, &freeifaddrs);
    std::vector<Network> ours;
    for (const ifaddrs* at = first; at != nullptr; at = at->ifa_next) {
        if (at->ifa_addr == nullptr || at->ifa_addr->sa_family != AF_INET ||
            at->ifa_netmask == nullptr || (at->ifa_flags & IFF_UP) == 0) {
            continue;
        }
        char own[INET_ADDRSTRLEN] = "";
        const in_addr ip{AddressOf(at->ifa_addr)};
        const in_addr_t mask = AddressOf(at->ifa_netmask);
        inet_ntop(AF_INET, &ip, own, sizeof own);
        ours.push_back(
            {ip.s_addr & mask, mask, Format("%s (%s/%d)", at->ifa_name, own, std::popcount(mask))});
    }
    return ours;
}

std::string NamesOf(const std::vector<Network>& networks) {
    std::string names;
    for (const Network& network : networks) {
        names += (names.empty() ? "" : ", ") + network.name;
    }
    return names.empty() ? "none can be seen" : names;
}

}  // namespace

std::string TakenPorts() {
    struct Port {
        uint16_t number;
        const char* use;
    };
    std::string text;
    for (const Port port :
         {Port{BRENHOLT_PORT_BEACON, "beacons"}, Port{BRENHOLT_PORT_COMMAND, "commands"}}) {
        const int error = BindError(port.number);
        if (error == 0) {
            continue;
        }
        text += text.empty() ? "" : "; ";
        text += Format("UDP port %u, needed for %s, ", unsigned{port.number}, port.use);
        text += error == EADDRINUSE ? "is taken: another host program or `brenholt` may be running"
                                    : "cannot be opened: " + ErrorText(error);
    }
    return text;
}

std::string NothingHeard(double seconds) {
    return Format("no panel was heard in %.3g s; our networks: ", seconds) + NamesOf(OurNetworks());
}

std::string NetworkOf(const std::string& address) {
    in_addr wanted{};
    inet_pton(AF_INET, address.c_str(), &wanted);
    const std::vector<Network> networks = OurNetworks();
    for (const Network& network : networks) {
        if ((wanted.s_addr & network.mask) == network.address) {
            return "is on our network " + network.name;
        }
    }
    return "is on none of our networks: " + NamesOf(networks);
}

std::string Silence(Session& session) {
    const std::string address = session.Target().address;
    return std::string("the panel does not answer an identity query; ") +
           (session.IsHeard(address) ? "its beacons were heard" : "its beacons are gone") + "; " +
           address + " " + NetworkOf(address);
}

std::string PanelState(Session& session) {
    return session.Answers()
               ? "the panel answers an identity query, so it refused this or broke off"
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
