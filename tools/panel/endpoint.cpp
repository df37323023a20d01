#include "tools/panel/endpoint.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <array>

namespace tavrin {

std::optional<uint32_t> ParseIp(const std::string& text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1) {
        return std::nullopt;
    }
    return ntohl(address.s_addr);
}

std::string IpText(uint32_t ip) {
    const in_addr address{htonl(ip)};
    std::array<char, INET_ADDRSTRLEN> text{};
    return inet_ntop(AF_INET, &address, text.data(), text.size());
}

std::string EndpointText(const Endpoint& endpoint) {
    return IpText(endpoint.ip) + ":" + std::to_string(endpoint.port);
}

}  // namespace tavrin
