// UDP sockets. With the clock, the seam through which tests own the wire.
#ifndef BRENHOLT_PLATFORM_SOCKET_H
#define BRENHOLT_PLATFORM_SOCKET_H

#include <cstdint>
#include <span>
#include <string_view>

#include "platform/address.h"
#include "platform/handle.h"
#include "platform/waker.h"

namespace brenholt {

// Which datagrams a socket is there for: those of at most `most` bytes that begin with the prefix, the case
// of ASCII letters ignored. Without a prefix, all.
struct DatagramRule {
    std::string_view prefix;  // at most 255 bytes
    uint32_t most = 0;
};

// A non-blocking IPv4 UDP socket, bound on all interfaces. Before Create, after Close and when no port
// could be had, every send fails and every receive finds nothing. One thread at a time may use it;
// Interrupt is for the others.
class CAsyncSocket {
 public:
    CAsyncSocket() = default;
    virtual ~CAsyncSocket() = default;
    CAsyncSocket(const CAsyncSocket&) = delete;
    CAsyncSocket& operator=(const CAsyncSocket&) = delete;

    // Binds UDP `port` on all interfaces, without sharing it. False when the port is taken or no socket
    // can be had. Broadcasts are received. Where it can, the system drops what does not keep to `rule` before
    // that takes room in the receive queue: a flood of it cannot push other datagrams out. What is received
    // may still not keep to it.
    bool Create(uint16_t port, const DatagramRule& rule = {});

    // Closes the socket; without one, nothing.
    void Close();

    // Takes one waiting datagram: its length (0 for an empty one) and its source, or -1 when none is
    // waiting or the receive fails. A datagram longer than `buffer` is a failed receive and is lost.
    // `waitUs` (microseconds) above 0 waits for it as AwaitDatagram does, but shortly after a send it spins
    // first, as the answer of a panel on the same machine is a matter of microseconds; where the answer
    // before took longer, only now and then.
    int ReceiveFrom(std::span<uint8_t> buffer, Endpoint& from, uint32_t waitUs);

    // Blocks until a datagram is there or an interrupt comes, but no longer than `waitUs`. It may end
    // without any of these. Whether a datagram may be there.
    bool AwaitDatagram(uint32_t waitUs);

    // Sends one datagram; its length, or -1.
    int SendTo(std::span<const uint8_t> data, const Endpoint& to);

    // Between Create and Close, ends a wait that blocks, or else the next that would. Any thread may call
    // it. When there is no handle left for that, each wait ends after 10 ms instead.
    void Interrupt();

 private:
    int TakeDatagram(std::span<uint8_t> buffer, Endpoint& from);

    CSocketHandle m_socket;
    CWaker m_waker;
    [[maybe_unused]] bool m_spins = true;
    [[maybe_unused]] unsigned m_blockedWaits = 0;
    [[maybe_unused]] uint64_t m_sentUs = 0;  // of GetMicroseconds
};

}  // namespace brenholt

#endif
