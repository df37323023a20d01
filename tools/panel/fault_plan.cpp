#include "tools/panel/fault_plan.h"

#include <algorithm>
#include <utility>

namespace tavrin {
namespace {

constexpr std::array<std::string_view, kFaultCount> kFaultNames = {
    "lose-request", "silence", "stall", "lose", "double",
    "delay",        "reorder", "port",  "cut",  "garble"};
constexpr uint64_t kMostGarbled = 4;

}  // namespace

std::string_view FaultName(Fault fault) {
    return kFaultNames[static_cast<size_t>(fault)];
}

std::string FaultSet::Text() const {
    std::string text;
    for (size_t i = 0; i < kFaultCount; ++i) {
        if (Has(static_cast<Fault>(i))) {
            text.append(text.empty() ? "" : "+").append(kFaultNames[i]);
        }
    }
    return text;
}

FaultPlan::FaultPlan(const FaultSettings& settings)
    : m_settings(settings),
      m_active(std::ranges::any_of(settings.rates,
                                   [](const FaultRate& rate) { return rate.probability > 0; })),
      m_random(settings.seed) {
}

// Every fault draws each time, so that changing one rate leaves the others' pattern as it was.
bool FaultPlan::Strikes(Fault fault) {
    constexpr double kUnit = 1.0 / (uint64_t{1} << 53);
    return static_cast<double>(m_random() >> 11) * kUnit < m_settings[fault].probability;
}

uint64_t FaultPlan::Below(uint64_t bound) {
    return m_random() % bound;
}

FaultSet FaultPlan::Arrive(Time now) {
    FaultSet faults;
    if (!m_active) {
        return faults;
    }
    const bool lost = Strikes(Fault::LoseRequest);
    const bool silenced = Strikes(Fault::Silence);
    const bool stalled = Strikes(Fault::Stall);
    if (silenced && !Silent(now)) {
        const Time span = m_settings[Fault::Silence].span;
        m_silentUntil = span == Time{0} ? Time::max() : now + span;
    }
    if (stalled && now >= m_stalledUntil) {
        m_stalledUntil = now + m_settings[Fault::Stall].span;
    }
    if (lost) {
        faults.Add(Fault::LoseRequest);
    }
    if (Silent(now)) {
        faults.Add(Fault::Silence);
    }
    return faults;
}

FaultSet FaultPlan::Apply(Time now, Reply reply, std::vector<Outgoing>& out) {
    Outgoing outgoing{std::move(reply.bytes), now + reply.delay, reply.otherPort, {}};
    FaultSet& faults = outgoing.faults;
    if (!m_active) {
        out.push_back(std::move(outgoing));
        return {};
    }
    for (size_t i = static_cast<size_t>(Fault::Lose); i < kFaultCount; ++i) {
        if (Strikes(static_cast<Fault>(i))) {
            faults.Add(static_cast<Fault>(i));
        }
    }
    if (faults.Has(Fault::Lose) || Silent(now)) {
        FaultSet lost;
        lost.Add(faults.Has(Fault::Lose) ? Fault::Lose : Fault::Silence);
        return lost;
    }
    if (outgoing.due < m_stalledUntil) {
        outgoing.due = m_stalledUntil;
        faults.Add(Fault::Stall);
    }
    Damage(outgoing);
    const FaultSet result = faults;
    Emit(std::move(outgoing), out);
    return result;
}

void FaultPlan::Damage(Outgoing& outgoing) {
    const FaultSet& faults = outgoing.faults;
    if (faults.Has(Fault::Delay)) {
        outgoing.due += m_settings[Fault::Delay].span;
    }
    if (faults.Has(Fault::Port)) {
        outgoing.otherPort = true;
    }
    if (faults.Has(Fault::Cut) && !outgoing.bytes.empty()) {
        outgoing.bytes.resize(Below(outgoing.bytes.size()));
    }
    if (faults.Has(Fault::Garble) && !outgoing.bytes.empty()) {
        for (uint64_t left = 1 + Below(kMostGarbled); left > 0; --left) {
            outgoing.bytes[Below(outgoing.bytes.size())] ^= static_cast<uint8_t>(1 + Below(255));
        }
    }
}

void FaultPlan::Emit(Outgoing outgoing, std::vector<Outgoing>& out) {
    if (outgoing.faults.Has(Fault::Double)) {
        Outgoing twin = outgoing;
        twin.due += m_settings[Fault::Double].span;
        out.push_back(std::move(twin));
    }
    if (outgoing.faults.Has(Fault::Reorder) && !m_held) {
        m_held = std::move(outgoing);
        return;
    }
    const Time due = outgoing.due;
    out.push_back(std::move(outgoing));
    if (m_held) {
        m_held->due = due;
        out.push_back(std::move(*std::exchange(m_held, std::nullopt)));
    }
}

}  // namespace tavrin
