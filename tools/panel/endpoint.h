// An IPv4 address with a UDP port.
#ifndef BRENHOLT_TOOLS_PANEL_ENDPOINT_H
#define BRENHOLT_TOOLS_PANEL_ENDPOINT_H

#include <cstdint>
#include <optional>
#include <string>

namespace tavrin {

struct Endpoint {
    uint32_t ip = 0;  // host byte order
    uint16_t port = 0;

    bool operator==(const Endpoint&) const = default;
};

// The address in dotted decimal, as 32 bits in host byte order; nothing for any other text.
std::optional<uint32_t> ParseIp(const std::string& text);
std::string IpText(uint32_t ip);
// "127.0.0.2:10251"
std::string EndpointText(const Endpoint& endpoint);

}  // namespace tavrin

#endif
