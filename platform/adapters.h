// The host's network adapters.
#ifndef BRENHOLT_PLATFORM_ADAPTERS_H
#define BRENHOLT_PLATFORM_ADAPTERS_H

#include <optional>
#include <string>
#include <vector>

namespace brenholt {

// One adapter. Addresses are dotted decimal, "0.0.0.0" where there is none.
struct IP_ADAPTER_INFO {
    std::string AdapterName;
    std::string Description;            // the kernel has none: the name again
    std::string IpAddress = "0.0.0.0";  // first IPv4 address; none while the adapter is down
    std::string IpMask = "0.0.0.0";     // of that address
    std::string Gateway = "0.0.0.0";    // first gateway of the main routing table
};

// All adapters in the kernel's order, the loopback one included. Nothing when the kernel gives
// none.
std::optional<std::vector<IP_ADAPTER_INFO>> GetAdaptersInfo();

}  // namespace brenholt

#endif
