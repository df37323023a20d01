// Two simulated panels at the other end of the virtual wire, with a fate for each datagram.
#ifndef BRENHOLT_TESTS_NETWORK_NETWORK_H
#define BRENHOLT_TESTS_NETWORK_NETWORK_H

#include <algorithm>
#include <array>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "link/tv_udp.h"
#include "tests/support/virtual_network/virtual_wire.h"
#include "tools/panel/panel.h"

namespace brenholt {

inline constexpr uint64_t kTimeoutUs = 1'000'000;
inline constexpr uint64_t kRoundTripUs = 1'000;
inline constexpr uint64_t kJitterUs = kRoundTripUs / 4;

// What befalls one datagram of the host, or its reply.
struct Fate {
    bool losesRequest = false;
    bool losesReply = false;
    bool doublesRequest = false;  // the twin follows by a tenth of a round trip
    bool doublesReply = false;    // likewise
    bool cancels = false;         // half a round trip after it has been sent
    uint64_t stallUs = 0;         // the panel stops at it for so long, then works off what came
    uint64_t lateUs = 0;          // the reply alone comes so much later
};

class Network {
 public:
    static constexpr std::array<uint16_t, 3> kWords{1, 10, 255};
    static constexpr std::array<uint16_t, 3> kOtherWords{2, 20, 200};
    static constexpr const char* kAddress = "192.168.0.1";
    static constexpr const char* kOtherAddress = "192.168.0.2";

    // Two panels over one folder.
    explicit Network(const std::string& root)
        : panel(root, {.project = "One", .words = kWords}),
          other(root, {.project = "Two", .cpu = "X86", .words = kOtherWords}) {
        for (tavrin::Panel* each : {&panel, &other}) {
            each->SetBlockObserver([this](const tavrin::MemoryBlock& block) {
                blocks[block.text] = std::string(block.bytes.begin(), block.bytes.end());
            });
        }
        VirtualWire& wire = VirtualWire::Get();
        wire.Reset();
        wire.onSend = [this](const WireDatagram& request) { Take(request); };
    }
    ~Network() { VirtualWire::Get().onSend = nullptr; }
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    tavrin::Panel panel;  // 192.168.0.1, the target at load
    tavrin::Panel other;
    std::map<std::string, std::string> blocks;  // that the panels were sent, by their texts
    std::function<Fate(size_t send)> fate = [](size_t) { return Fate(); };  // sends count from 0
    std::function<void()> onCancel = [] {};
    uint64_t answerUs = 0;  // how long each answer takes the panels, and up to kJitterUs more
    // Lets a reply through only while the request that it answers is the latest: what a host could
    // reach if each reply named its request.
    bool knowsRequests = false;
    std::function<void(const std::string&)> trace;
    size_t sends = 0;
    size_t repeated = 0;  // sends of what had been sent just before

 private:
    void Take(const WireDatagram& request) {
        VirtualWire& wire = VirtualWire::Get();
        const Fate befalls = fate(sends++);
        if (const std::string asked = request.peer + request.bytes; asked == m_latestAsked) {
            ++repeated;
        } else {
            m_latestAsked = asked;
            ++m_latest;
        }
        if (trace) {
            trace("send " + std::to_string(sends) + ": " + request.bytes.substr(4, 20).c_str());
        }
        if (befalls.cancels) {
            wire.At(kRoundTripUs / 2, [this] { onCancel(); });
        }
        if (befalls.losesRequest) {
            return;
        }
        const auto arrive = [=, this, send = sends, number = m_latest] {
            m_stalledUntil = std::max(m_stalledUntil, VirtualWire::Get().NowUs() + befalls.stallUs);
            m_waiting.push_back([=, this] { Work(befalls, send, request, number); });
            WorkOff();
        };
        wire.At(kRoundTripUs / 2, arrive);
        if (befalls.doublesRequest) {
            wire.At(kRoundTripUs / 2 + kRoundTripUs / 10, arrive);
        }
    }

    // The panel takes requests in the order in which they came.
    void WorkOff() {
        VirtualWire& wire = VirtualWire::Get();
        if (m_stalledUntil > wire.NowUs()) {
            wire.At(m_stalledUntil - wire.NowUs(), [this] { WorkOff(); });
            return;
        }
        for (; !m_waiting.empty(); m_waiting.pop_front()) {
            m_waiting.front()();
        }
    }

    void Work(const Fate& befalls, size_t send, const WireDatagram& request, uint64_t number) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(request.bytes.data());
        tavrin::Panel* const asked = request.peer == kAddress        ? &panel
                                     : request.peer == kOtherAddress ? &other
                                                                     : nullptr;
        tavrin::Replies replies;
        if (asked != nullptr) {
            asked->Receive({0x0A000001, kCommandPort}, {bytes, request.bytes.size()}, replies);
        }
        if (replies.empty() || befalls.losesReply) {
            return;
        }
        // With answers that all take as long, what is wrong once in a while would never be seen.
        m_jitter = m_jitter * 1664525 + 1013904223;
        const uint64_t nowUs = VirtualWire::Get().NowUs();
        m_dueUs = std::max(m_dueUs, nowUs + answerUs + kRoundTripUs / 2 + m_jitter % kJitterUs);
        const uint64_t delayUs = m_dueUs - nowUs + befalls.lateUs;
        const auto deliver =
            [=, this, reply = std::string(replies[0].bytes.begin(), replies[0].bytes.end())] {
                if (knowsRequests && number != m_latest) {
                    return;
                }
                if (trace) {
                    trace("reply to " + std::to_string(send) + ": " + std::to_string(reply.size()) +
                          " bytes");
                }
                VirtualWire::Get().Arrive(0, {request.peer, kPanelPort, kCommandPort, reply});
            };
        VirtualWire::Get().At(delayUs, deliver);
        if (befalls.doublesReply) {
            VirtualWire::Get().At(delayUs + kRoundTripUs / 10, deliver);
        }
    }

    uint64_t m_stalledUntil = 0;
    uint64_t m_dueUs = 0;
    uint32_t m_jitter = 1;
    std::deque<std::function<void()>> m_waiting;
    std::string m_latestAsked;
    uint64_t m_latest = 0;
};

}  // namespace brenholt

#endif
