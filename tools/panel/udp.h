// UDP sockets over IPv4: non-blocking, closed on exec, without address reuse.
#ifndef BRENHOLT_TOOLS_PANEL_UDP_H
#define BRENHOLT_TOOLS_PANEL_UDP_H

#include <optional>

#include "tools/panel/descriptor.h"
#include "tools/panel/endpoint.h"
#include "tools/panel/wire.h"

namespace tavrin {

// Port 0 takes any free one. Broadcasts may be sent. Throws ServerError.
Descriptor BindUdp(const Endpoint& local);
Endpoint LocalEndpoint(const Descriptor& socket);
// The length of the datagram taken, or nothing when none waits.
std::optional<size_t> ReceiveFrom(const Descriptor& socket, std::span<uint8_t> into,
                                  Endpoint& source);
// A datagram that the system refuses is lost, as any other may be.
void SendTo(const Descriptor& socket, const Endpoint& destination, ByteView bytes);

}  // namespace tavrin

#endif
