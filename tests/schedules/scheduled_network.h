// The simulated panel at the other end of the virtual wire, with a fate for each datagram that was
// chosen beforehand.
#ifndef BRENHOLT_TESTS_SCHEDULES_SCHEDULED_NETWORK_H
#define BRENHOLT_TESTS_SCHEDULES_SCHEDULED_NETWORK_H

#include <algorithm>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "link/tv_udp.h"
#include "tests/support/virtual_network/virtual_wire.h"
#include "tools/panel/panel.h"

namespace brenholt {

inline constexpr uint64_t kTimeoutUs = 1'000'000;
inline constexpr uint64_t kRoundTripUs = 1'000;

// What befalls one datagram of the host, or its reply.
struct Fate {
    char letter;
    const char* words;
    uint64_t costUs;  // time that it takes of itself
};
inline constexpr Fate kFates[] = {
    {'L', "the reply to it is lost", kTimeoutUs},
    {'Q', "it is lost", kTimeoutUs},
    {'S', "the panel stalls at it for 1.5 timeouts", kTimeoutUs * 3 / 2},
    {'M', "the panel stalls at it for 2.5 timeouts", kTimeoutUs * 5 / 2},
    {'C', "the command is cancelled half a round trip after it", 0},
    {'T', "the reply to it alone is late by 1.5 timeouts", kTimeoutUs},
    {'U', "the reply to it alone is late by 2.5 timeouts", kTimeoutUs},
    {'D', "the reply to it is doubled", 0},
    {'E', "it is doubled", 0},
};
inline constexpr std::string_view kAnyFate = "LQSMCTUDE";
inline constexpr std::string_view kOrderKept = "LQSMC";

struct Event {
    size_t send;  // counted from 0
    char fate;
};
using Schedule = std::vector<Event>;

class ScheduledNetwork {
 public:
    static constexpr const char* kOtherAddress = "192.168.0.2";

    // Two panels over one folder. `answerUs`: how long each answer takes them.
    ScheduledNetwork(const std::string& root, const Schedule& schedule, uint64_t answerUs)
        : panel(root, {.project = "One", .words = {1, 10, 255}}),
          other(root, {.project = "Two", .cpu = "X86"}),
          m_schedule(schedule),
          m_answerUs(answerUs) {
        VirtualWire& wire = VirtualWire::Get();
        wire.Reset();
        wire.onSend = [this](const WireDatagram& request) { Take(request); };
    }
    ~ScheduledNetwork() { VirtualWire::Get().onSend = nullptr; }
    ScheduledNetwork(const ScheduledNetwork&) = delete;
    ScheduledNetwork& operator=(const ScheduledNetwork&) = delete;

    tavrin::Panel panel;  // 192.168.0.1, the target at load
    tavrin::Panel other;
    // Lets a reply through only while the request that it answers is the latest: what a host could
    // reach if each reply named its request.
    bool knowsRequests = false;
    std::function<void()> onCancel;
    std::function<void(const std::string&)> trace = [](const std::string&) {};
    std::vector<std::string> sent;

 private:
    bool Befalls(size_t send, char fate) const {
        return std::any_of(m_schedule.begin(), m_schedule.end(), [=](const Event& event) {
            return event.send == send && event.fate == fate;
        });
    }

    void Take(const WireDatagram& request) {
        VirtualWire& wire = VirtualWire::Get();
        const size_t send = sent.size();
        m_latest += sent.empty() || sent.back() != request.bytes ? 1 : 0;
        sent.push_back(request.bytes);
        trace("send " + std::to_string(send + 1) + ": " + request.bytes.substr(4, 20).c_str());
        if (Befalls(send, 'C')) {
            wire.At(kRoundTripUs / 2, [this] { onCancel(); });
        }
        if (Befalls(send, 'Q')) {
            return;
        }
        const auto arrive = [this, send, request, number = m_latest] {
            const uint64_t stall = Befalls(send, 'S') ? 3 : Befalls(send, 'M') ? 5 : 0;
            const uint64_t until = VirtualWire::Get().NowUs() + stall * kTimeoutUs / 2;
            m_stalledUntil = std::max(m_stalledUntil, until);
            m_waiting.push_back([=, this] { Work(send, request, number); });
            WorkOff();
        };
        wire.At(kRoundTripUs / 2, arrive);
        if (Befalls(send, 'E')) {
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

    void Work(size_t send, const WireDatagram& request, uint64_t number) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(request.bytes.data());
        tavrin::Replies replies;
        (request.peer == kOtherAddress ? other : panel)
            .Receive({0x0A000001, kCommandPort}, {bytes, request.bytes.size()}, replies);
        if (replies.empty() || Befalls(send, 'L')) {
            return;
        }
        const uint64_t late = Befalls(send, 'T') ? 3 : Befalls(send, 'U') ? 5 : 0;
        const uint64_t delayUs = m_answerUs + kRoundTripUs / 2 + late * kTimeoutUs / 2;
        const auto deliver =
            [=, this, reply = std::string(replies[0].bytes.begin(), replies[0].bytes.end())] {
                if (!knowsRequests || number == m_latest) {
                    trace("reply to " + std::to_string(send + 1) + ": " +
                          std::to_string(reply.size()) + " bytes");
                    VirtualWire::Get().Arrive(0, {request.peer, kPanelPort, kCommandPort, reply});
                }
            };
        VirtualWire::Get().At(delayUs, deliver);
        if (Befalls(send, 'D')) {
            VirtualWire::Get().At(delayUs + kRoundTripUs / 10, deliver);
        }
    }

    Schedule m_schedule;
    uint64_t m_answerUs;
    uint64_t m_stalledUntil = 0;
    std::deque<std::function<void()>> m_waiting;
    uint64_t m_latest = 0;
};

}  // namespace brenholt

#endif
