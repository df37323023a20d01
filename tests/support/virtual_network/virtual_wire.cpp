#include "tests/support/virtual_network/virtual_wire.h"

#include <algorithm>
#include <utility>

#include "platform/address.h"
#include "platform/clock.h"
#include "platform/socket.h"

namespace brenholt {

VirtualWire& VirtualWire::Get() {
    static VirtualWire wire;
    return wire;
}

void VirtualWire::Reset(uint64_t tickMs) {
    m_nowUs = tickMs * 1000;
    m_events = {};
    m_queues.clear();
    m_interrupted.clear();
    astray = 0;
    onSend = nullptr;
}

void VirtualWire::Arrive(uint64_t delayUs, WireDatagram datagram) {
    At(delayUs,
       [this, datagram = std::move(datagram)] { m_queues[datagram.localPort].push(datagram); });
}

void VirtualWire::At(uint64_t delayUs, std::function<void()> event) {
    m_events.push({m_nowUs + delayUs, m_order++, std::move(event)});
}

void VirtualWire::Advance(uint64_t us) {
    const uint64_t until = m_nowUs + us;
    while (!m_events.empty() && m_events.top().dueUs <= until) {
        const Event event = m_events.top();
        m_events.pop();
        m_nowUs = std::max(m_nowUs, event.dueUs);
        event.run();
    }
    m_nowUs = std::max(m_nowUs, until);
}

void VirtualWire::AdvanceTowards(uint64_t untilUs) {
    Advance(std::max(std::min(NextUs(), untilUs), m_nowUs) - m_nowUs);
}

void VirtualWire::Wait(uint64_t untilUs, const std::function<bool()>& ready) {
    if (turns != nullptr) {
        turns->Wait(untilUs, ready);
        return;
    }
    while (m_nowUs < untilUs && !ready()) {
        AdvanceTowards(untilUs);
    }
}

namespace {

// A call of the module.
class Call {
 public:
    Call() {
        if (wire.turns != nullptr) {
            wire.turns->Enter();
        }
    }
    ~Call() {
        if (wire.turns != nullptr) {
            wire.turns->Leave();
        }
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    VirtualWire& wire = VirtualWire::Get();
};

}  // namespace

uint64_t GetMicroseconds() {
    return VirtualWire::Get().NowUs();
}

uint32_t GetTickCount() {
    return static_cast<uint32_t>(GetMicroseconds() / 1000);
}

void Sleep(uint32_t milliseconds) {
    const Call call;
    call.wire.Wait(call.wire.NowUs() + uint64_t{milliseconds} * 1000, [] { return false; });
}

bool CAsyncSocket::Create(uint16_t port, const DatagramRule&) {
    const Call call;
    call.wire.m_ports[this] = port;
    return true;
}

void CAsyncSocket::Close() {
    const Call call;
    call.wire.m_ports.erase(this);
    call.wire.m_interrupted.erase(this);
}

int CAsyncSocket::TakeDatagram(std::span<uint8_t> buffer, Endpoint& from) {
    const Call call;
    from = {};
    const auto port = call.wire.m_ports.find(this);
    if (port == call.wire.m_ports.end()) {
        ++call.wire.astray;
        return -1;
    }
    auto& queue = call.wire.m_queues[port->second];
    if (queue.empty()) {
        return -1;
    }
    const WireDatagram datagram = std::move(queue.front());
    queue.pop();
    if (datagram.bytes.size() > buffer.size()) {
        return -1;
    }
    std::copy(datagram.bytes.begin(), datagram.bytes.end(), buffer.begin());
    from = {inet_addr(datagram.peer), datagram.peerPort};
    return static_cast<int>(datagram.bytes.size());
}

int CAsyncSocket::ReceiveFrom(std::span<uint8_t> buffer, Endpoint& from, uint32_t waitUs) {
    AwaitDatagram(waitUs);
    return TakeDatagram(buffer, from);
}

bool CAsyncSocket::AwaitDatagram(uint32_t waitUs) {
    const Call call;
    VirtualWire& wire = call.wire;
    wire.Advance(0);
    const auto waiting = [&] {
        const auto port = wire.m_ports.find(this);
        return port != wire.m_ports.end() && !wire.m_queues[port->second].empty();
    };
    wire.Wait(wire.m_nowUs + waitUs,
              [&] { return waiting() || wire.m_interrupted.count(this) != 0; });
    return waiting() || wire.m_interrupted.erase(this) != 0;
}

void CAsyncSocket::Interrupt() {
    const Call call;
    call.wire.m_interrupted.insert(this);
}

int CAsyncSocket::SendTo(std::span<const uint8_t> data, const Endpoint& to) {
    const Call call;
    const auto port = call.wire.m_ports.find(this);
    if (port == call.wire.m_ports.end()) {
        ++call.wire.astray;
        return -1;
    }
    if (call.wire.onSend) {
        call.wire.onSend(
            {inet_ntoa(to.address), to.port, port->second, std::string(data.begin(), data.end())});
    }
    return static_cast<int>(data.size());
}

}  // namespace brenholt
