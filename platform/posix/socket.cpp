#include "platform/socket.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>

#include "platform/clock.h"
#include "platform/posix/datagram_filter.h"
#include "platform/posix/descriptor.h"

namespace brenholt {
namespace {

// How long a wait lasts at most that nothing can interrupt.
constexpr uint32_t kSliceUs = 10'000;

// After a send, where the answer before came within that time. The wake-up of a thread may take as
// long by itself, and would hide how fast answers are: so a wait spins each so many times, too.
constexpr uint64_t kSpinUs = 50;
constexpr unsigned kTryToSpin = 16;

sockaddr_in SystemAddress(const Endpoint& endpoint) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(endpoint.port);
    address.sin_addr.s_addr = endpoint.address;
    return address;
}

}  // namespace

bool CAsyncSocket::Create(uint16_t port, const DatagramRule& rule) {
    // Whoever waits is to be interrupted also where there is no port to hear from.
    m_waker.Open();
    CSocketHandle socket(
        AboveStandard(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)));
    if (!socket) {
        return false;
    }
    if (!rule.prefix.empty()) {
        // The filter comes before the port: nothing unfiltered queues.
        AttachFilter(Descriptor(socket), rule);
    }
    const sockaddr_in local = SystemAddress({INADDR_ANY, port});
    if (bind(Descriptor(socket), reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        return false;
    }
    m_socket = std::move(socket);
    return true;
}

void CAsyncSocket::Close() {
    m_socket.Close();
    m_waker.Close();
}

int CAsyncSocket::TakeDatagram(std::span<uint8_t> buffer, Endpoint& from) {
    sockaddr_in source{};
    const ssize_t n = Uninterrupted([&] {
        socklen_t length = sizeof source;
        return recvfrom(Descriptor(m_socket), buffer.data(), buffer.size(), MSG_TRUNC,
                        reinterpret_cast<sockaddr*>(&source), &length);
    });
    from = {source.sin_addr.s_addr, ntohs(source.sin_port)};
    // The real length, also of a datagram that was cut to the buffer.
    return n < 0 || static_cast<size_t>(n) > buffer.size() ? -1 : static_cast<int>(n);
}

int CAsyncSocket::ReceiveFrom(std::span<uint8_t> buffer, Endpoint& from, uint32_t waitUs) {
    if (waitUs == 0) {
        return TakeDatagram(buffer, from);
    }
    const bool spins = m_spins || ++m_blockedWaits % kTryToSpin == 0;
    while (spins && GetMicroseconds() - m_sentUs < kSpinUs) {
        const int n = TakeDatagram(buffer, from);
        if (n >= 0) {
            m_spins = true;
            return n;
        }
    }
    m_spins = AwaitDatagram(waitUs) && GetMicroseconds() - m_sentUs < kSpinUs;
    return TakeDatagram(buffer, from);
}

bool CAsyncSocket::AwaitDatagram(uint32_t waitUs) {
    std::array<pollfd, 2> waiting{
        {{Descriptor(m_socket), POLLIN, 0}, {static_cast<int>(m_waker.Get()), POLLIN, 0}}};
    if (waiting[1].fd < 0) {
        waitUs = std::min(waitUs, kSliceUs);
    }
    const timespec time{waitUs / 1'000'000, waitUs % 1'000'000 * 1000L};
    if (ppoll(waiting.data(), waiting.size(), &time, nullptr) <= 0) {
        return false;
    }
    if (waiting[1].revents != 0) {
        m_waker.Clear();
    }
    return true;
}

int CAsyncSocket::SendTo(std::span<const uint8_t> data, const Endpoint& to) {
    const sockaddr_in destination = SystemAddress(to);
    const ssize_t n = Uninterrupted([&] {
        return sendto(Descriptor(m_socket), data.data(), data.size(), 0,
                      reinterpret_cast<const sockaddr*>(&destination), sizeof destination);
    });
    m_sentUs = GetMicroseconds();
    return static_cast<int>(n);
}

void CAsyncSocket::Interrupt() {
    m_waker.Wake();
}

}  // namespace brenholt
