#include "tools/host/networks.h"

#include <arpa/inet.h>
#include <brenholt/brenholt.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <memory>
#include <vector>

#include "tools/host/text.h"

namespace host {
namespace {

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

}  // namespace host
