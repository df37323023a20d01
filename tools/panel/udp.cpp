#include "tools/panel/udp.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>

#include "tools/panel/server_error.h"

namespace tavrin {
namespace {

sockaddr_in ToSystem(const Endpoint& endpoint) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(endpoint.port);
    address.sin_addr.s_addr = htonl(endpoint.ip);
    return address;
}

Endpoint FromSystem(const sockaddr_in& address) {
    return {ntohl(address.sin_addr.s_addr), ntohs(address.sin_port)};
}

}  // namespace

Descriptor BindUdp(const Endpoint& local) {
    const int on = 1;
    const sockaddr_in address = ToSystem(local);
    Descriptor bound(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!bound || setsockopt(bound.get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on) != 0 ||
        bind(bound.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw ServerError("cannot bind " + EndpointText(local) + ": " +
                          std::generic_category().message(errno));
    }
    return bound;
}

Endpoint LocalEndpoint(const Descriptor& socket) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &length);
    return FromSystem(address);
}

std::optional<size_t> ReceiveFrom(const Descriptor& socket, std::span<uint8_t> into,
                                  Endpoint& source) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    const ssize_t count = recvfrom(socket.get(), into.data(), into.size(), 0,
                                   reinterpret_cast<sockaddr*>(&address), &length);
    if (count < 0) {
        return std::nullopt;
    }
    source = FromSystem(address);
    return static_cast<size_t>(count);
}

void SendTo(const Descriptor& socket, const Endpoint& destination, ByteView bytes) {
    const sockaddr_in address = ToSystem(destination);
    sendto(socket.get(), bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&address),
           sizeof address);
}

}  // namespace tavrin
