// A clock and a wire whose owner is a test or a fuzz target: link this library in the place of brenholt_wire. Everything
// happens in the order of virtual time, the same on each run: on one thread, or on those that take turns.
#ifndef BRENHOLT_TESTS_SUPPORT_VIRTUAL_NETWORK_VIRTUAL_WIRE_H
#define BRENHOLT_TESTS_SUPPORT_VIRTUAL_NETWORK_VIRTUAL_WIRE_H

#include <cstdint>
#include <functional>
#include <map>
#include <queue>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace brenholt {

class CAsyncSocket;

// A datagram between the module and the world; addresses in dotted text.
struct WireDatagram {
    std::string peer;        // source when it arrives, destination when the module sends
    uint16_t peerPort = 0;   // likewise
    uint16_t localPort = 0;  // the module's port
    std::string bytes;
};

// How several threads share clock and wire.
class WireTurns {
 public:
    virtual ~WireTurns() = default;
    // Around each call of the module.
    virtual void Enter() = 0;
    virtual void Leave() = 0;
    // Returns at the time `untilUs`, or earlier when `ready` holds.
    virtual void Wait(uint64_t untilUs, const std::function<bool()>& ready) = 0;
};

class VirtualWire {
 public:
    static VirtualWire& Get();
    // Without it there is one thread, and time passes where that waits.
    WireTurns* turns = nullptr;

    // An empty wire at `tickMs`, with nobody listening to what is sent.
    void Reset(uint64_t tickMs = 1'000'000);

    uint64_t NowUs() const { return m_nowUs; }
    // Called for each datagram that the module sends.
    std::function<void(const WireDatagram&)> onSend;
    // Puts a datagram into the receive queue of its local port, `delayUs` from now.
    void Arrive(uint64_t delayUs, WireDatagram datagram);
    // Runs `event` when the clock passes the time, `delayUs` from now.
    void At(uint64_t delayUs, std::function<void()> event);
    // Lets time pass.
    void Advance(uint64_t us);
    // Lets it pass up to the next event, or to `untilUs` if that comes first.
    void AdvanceTowards(uint64_t untilUs);
    // When the next event is due; UINT64_MAX without one.
    uint64_t NextUs() const { return m_events.empty() ? UINT64_MAX : m_events.top().dueUs; }
    // Blocks the calling thread until then, or until `ready` holds.
    void Wait(uint64_t untilUs, const std::function<bool()>& ready);

    // Sends and receives on a socket that had no port.
    size_t astray = 0;
    // Datagrams that wait in the queue of a port.
    size_t Waiting(uint16_t localPort) const;

 private:
    friend class CAsyncSocket;
    struct Event {
        uint64_t dueUs;
        uint64_t order;
        std::function<void()> run;
        bool operator>(const Event& other) const {
            return dueUs != other.dueUs ? dueUs > other.dueUs : order > other.order;
        }
    };

    uint64_t m_nowUs = 0;
    uint64_t m_order = 0;
    std::priority_queue<Event, std::vector<Event>, std::greater<>> m_events;
    std::map<uint16_t, std::queue<WireDatagram>> m_queues;
    std::map<const CAsyncSocket*, uint16_t> m_ports;
    std::set<const CAsyncSocket*> m_interrupted;  // the wait under way or, without one, the next
};

}  // namespace brenholt

#endif
