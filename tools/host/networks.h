// This host's networks and UDP ports, where messages explain what was not heard.
#ifndef BRENHOLT_TOOLS_HOST_NETWORKS_H
#define BRENHOLT_TOOLS_HOST_NETWORKS_H

#include <string>

namespace host {

// A sentence on the host's UDP ports that something else holds; empty when all are free. Only
// before the link starts, which takes the same ports.
std::string TakenPorts();

// A sentence for when no beacon at all came for that long, with the networks to look on.
std::string NothingHeard(double seconds);

// Whether the address (dotted decimal) is on a network of this host: "is on our network lo
// (127.0.0.1/8)", or "is on none of our networks" with their list.
std::string NetworkOf(const std::string& address);

}  // namespace host

#endif
