// A seeded plan of network and panel faults, applied to replies on their way out.
//
// The same seed and the same sequence of calls give the same faults on every machine and with every
// standard library. The plan has no clock: the time is passed in, and what comes out says when it
// is due.
#ifndef BRENHOLT_TOOLS_PANEL_FAULT_PLAN_H
#define BRENHOLT_TOOLS_PANEL_FAULT_PLAN_H

#include <array>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tools/panel/panel.h"
#include "tools/panel/wire.h"

namespace tavrin {

enum class Fault {
    LoseRequest,  // the request is lost on the way in
    Silence,      // the panel goes silent: nothing is heard or said; `span` 0 is for good
    Stall,        // the panel stops; what it would have sent meanwhile comes `span` later, in order
    Lose,         // the reply is lost
    Double,       // the reply comes twice, the twin `span` later
    Delay,        // the reply comes `span` later
    Reorder,      // the reply waits until the next one has gone out, and follows it
    Port,         // the reply comes from another port
    Cut,          // the reply is cut to a random shorter length, possibly 0
    Garble,       // one to four bytes of the reply change
};
inline constexpr size_t kFaultCount = 10;

std::string_view FaultName(Fault fault);

// A set of faults.
class FaultSet {
 public:
    void Add(Fault fault) { m_bits |= 1U << static_cast<unsigned>(fault); }
    bool Has(Fault fault) const { return (m_bits >> static_cast<unsigned>(fault) & 1U) != 0; }
    bool Empty() const { return m_bits == 0; }
    // "delay+cut"; empty for none.
    std::string Text() const;

 private:
    uint32_t m_bits = 0;
};

struct FaultRate {
    double probability = 0;  // 0 to 1, for each request (the first three) or reply
    Time span{0};
};

struct FaultSettings {
    std::array<FaultRate, kFaultCount> rates{};
    uint64_t seed = 1;

    FaultRate& operator[](Fault fault) { return rates[static_cast<size_t>(fault)]; }
    const FaultRate& operator[](Fault fault) const { return rates[static_cast<size_t>(fault)]; }
};

// One datagram on its way out.
struct Outgoing {
    Bytes bytes;
    Time due{0};
    bool otherPort = false;
    FaultSet faults;
};

class FaultPlan {
 public:
    FaultPlan() = default;
    explicit FaultPlan(const FaultSettings& settings);

    // Judges a request that arrives at `now`; the set is empty or says why it is not heard.
    FaultSet Arrive(Time now);
    // Whether a silence holds: beacons are not sent either.
    bool Silent(Time now) const { return now < m_silentUntil; }
    // Sends one reply at `now`: appends to `out` what goes on the wire and when, and gives the
    // faults that happened to it. With Lose or Silence in it nothing of this reply is sent.
    FaultSet Apply(Time now, Reply reply, std::vector<Outgoing>& out);

 private:
    bool Strikes(Fault fault);
    uint64_t Below(uint64_t bound);
    void Damage(Outgoing& outgoing);
    void Emit(Outgoing outgoing, std::vector<Outgoing>& out);

    FaultSettings m_settings;
    bool m_active = false;
    std::mt19937_64 m_random;
    Time m_silentUntil{0};
    Time m_stalledUntil{0};
    std::optional<Outgoing> m_held;
};

}  // namespace tavrin

#endif
