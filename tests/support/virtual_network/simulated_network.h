// The real simulated panel at the other end of the virtual wire, with a seeded plan of faults.
#ifndef BRENHOLT_TESTS_SUPPORT_VIRTUAL_NETWORK_SIMULATED_NETWORK_H
#define BRENHOLT_TESTS_SUPPORT_VIRTUAL_NETWORK_SIMULATED_NETWORK_H

#include <optional>
#include <string>

#include "link/tv_udp.h"
#include "tests/support/virtual_network/virtual_wire.h"
#include "tools/panel/fault_plan.h"
#include "tools/panel/panel.h"

namespace brenholt {

class SimulatedNetwork {
 public:
    static constexpr const char* kAddress = "192.168.0.1";
    static constexpr uint64_t kOneWayUs = 500;

    explicit SimulatedNetwork(const std::string& root) : panel(root) {
        VirtualWire& wire = VirtualWire::Get();
        wire.Reset();
        wire.onSend = [this](const WireDatagram& request) { Take(request); };
    }
    ~SimulatedNetwork() { VirtualWire::Get().onSend = nullptr; }

    // From now on these faults befall what passes.
    void SetFaults(const tavrin::FaultSettings& faults) { plan = tavrin::FaultPlan(faults); }

    tavrin::Panel panel;
    tavrin::FaultPlan plan;
    // Lets a reply through only while the request that it answers is the latest: what a host could
    // reach if each reply named its request.
    bool knowsRequests = false;
    uint64_t requests = 0;

 private:
    static tavrin::Time Now() { return std::chrono::microseconds(VirtualWire::Get().NowUs()); }

    void Take(const WireDatagram& request) {
        ++requests;
        if (request.bytes != m_latest) {
            m_latest = request.bytes;
            ++m_latestNumber;
        }
        VirtualWire::Get().At(kOneWayUs, [this, bytes = request.bytes, number = m_latestNumber] {
            Answer(bytes, number);
        });
    }

    void Answer(const std::string& request, uint64_t number) {
        const tavrin::Time now = Now();
        if (!plan.Arrive(now).Empty()) {
            return;
        }
        const tavrin::ByteView view(reinterpret_cast<const uint8_t*>(request.data()),
                                    request.size());
        tavrin::Replies replies;
        panel.Receive({0x0A000001, kCommandPort}, view, replies);
        for (tavrin::Reply& reply : replies) {
            std::vector<tavrin::Outgoing> out;
            plan.Apply(now, std::move(reply), out);
            for (tavrin::Outgoing& outgoing : out) {
                Deliver(outgoing, number);
            }
        }
    }

    void Deliver(const tavrin::Outgoing& outgoing, uint64_t number) {
        const auto delay =
            std::chrono::duration_cast<std::chrono::microseconds>(outgoing.due - Now());
        const uint64_t delayUs =
            static_cast<uint64_t>(std::max<int64_t>(delay.count(), 0)) + kOneWayUs;
        const uint16_t port = outgoing.other_port ? kPanelPort + 1000 : kPanelPort;
        WireDatagram datagram{kAddress, port, kCommandPort,
                              std::string(outgoing.bytes.begin(), outgoing.bytes.end())};
        VirtualWire& wire = VirtualWire::Get();
        wire.At(delayUs, [this, number, datagram = std::move(datagram)] {
            if (!knowsRequests || number == m_latestNumber) {
                VirtualWire::Get().Arrive(0, datagram);
            }
        });
    }

    std::string m_latest;
    uint64_t m_latestNumber = 0;
};

}  // namespace brenholt

#endif
