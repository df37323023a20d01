#include "platform/adapters.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <net/route.h>
#include <netinet/in.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string_view>

#include "platform/address.h"

namespace brenholt {
namespace {

struct InterfacesFreer {
    void operator()(ifaddrs* list) const { freeifaddrs(list); }
};

std::string AddressText(const sockaddr* address) {
    return inet_ntoa(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
}

// The first gateway of each adapter, by its name.
//
// A line of the kernel's table: name, destination, gateway, flags and more, blank-separated, the
// numbers in hexadecimal, addresses as words in network byte order. The heading has no number in
// it.
std::map<std::string, std::string> ReadGateways() {
    std::map<std::string, std::string> gateways;
    std::ifstream table("/proc/net/route");
    for (std::string line; std::getline(table, line);) {
        std::istringstream fields(line);
        std::string name;
        uint32_t destination = 0;
        uint32_t gateway = 0;
        uint32_t flags = 0;
        fields >> name >> std::hex >> destination >> gateway >> flags;
        if (fields && (flags & RTF_GATEWAY) != 0) {
            gateways.emplace(name, inet_ntoa(gateway));
        }
    }
    return gateways;
}

IP_ADAPTER_INFO& FindOrAdd(std::vector<IP_ADAPTER_INFO>& adapters, const std::string& name) {
    const auto found = std::find_if(adapters.begin(), adapters.end(), [&](const auto& adapter) {
        return adapter.AdapterName == name;
    });
    return found != adapters.end() ? *found : adapters.emplace_back(IP_ADAPTER_INFO{name, name});
}

}  // namespace

std::optional<std::vector<IP_ADAPTER_INFO>> GetAdaptersInfo() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return std::nullopt;
    }
    const std::unique_ptr<ifaddrs, InterfacesFreer> list(first);
    std::vector<IP_ADAPTER_INFO> adapters;
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        // A further address may carry a label, "eth0:1".
        const std::string_view label = entry->ifa_name;
        IP_ADAPTER_INFO& adapter =
            FindOrAdd(adapters, std::string(label.substr(0, label.find(':'))));
        const bool isIpv4 = entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET;
        if (isIpv4 && entry->ifa_netmask != nullptr && (entry->ifa_flags & IFF_UP) != 0 &&
            adapter.IpAddress == IP_ADAPTER_INFO().IpAddress) {
            adapter.IpAddress = AddressText(entry->ifa_addr);
            adapter.IpMask = AddressText(entry->ifa_netmask);
        }
    }
    const auto gateways = ReadGateways();
    for (IP_ADAPTER_INFO& adapter : adapters) {
        if (const auto found = gateways.find(adapter.AdapterName); found != gateways.end()) {
            adapter.Gateway = found->second;
        }
    }
    return adapters;
}

}  // namespace brenholt
