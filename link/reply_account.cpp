#include "link/reply_account.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include "platform/clock.h"

namespace brenholt {
namespace {

// A reply is forgotten after so many timeouts: a panel's stall and a late datagram together.
constexpr uint64_t kLifetimes = 6;
constexpr int kMaxDoubts = 8;
constexpr size_t kMaxPanels = 64;
// What is beyond is not remembered: a network that bad has other troubles.
constexpr size_t kMaxDebts = 256;
// So many answers make a speed that a duplicate can be recognised by.
constexpr uint64_t kTellingAnswers = 4;

uint64_t Hash(std::span<const uint8_t> bytes) {
    return std::hash<std::string_view>{}(
        {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

}  // namespace

uint64_t WholeKey(const Reply& reply) {
    return Hash(reply.Datagram());
}

void ReplyAccount::Begin(uint32_t address, const ReplyKind& kind, uint64_t timeoutUs) {
    if (m_panels.size() > kMaxPanels) {
        m_panels.clear();
    }
    m_panel = &m_panels[address];
    m_now = Request();
    m_now.address = address;
    m_now.kind = &kind;
    m_now.timeoutUs = timeoutUs;
    m_sends.clear();
    std::erase_if(m_debts, [=](const Debt& debt) {
        return GetMicroseconds() - debt.sent > kLifetimes * timeoutUs;
    });
}

void ReplyAccount::Sent(std::span<const uint8_t> datagram) {
    m_now.datagram = datagram;
    m_now.settleAt.reset();
    m_sends.push_back(GetMicroseconds());
}

bool ReplyAccount::Believes(const Reply& reply, bool answers) {
    const uint64_t now = GetMicroseconds();
    const uint64_t latency = now - m_sends.back();
    const bool repeat = m_panel->last.Is(reply);
    const bool known = repeat && m_panel->known == m_now.kind->key(reply);
    // Nothing that a slow panel still owes comes so soon after a lone request.
    if (latency > std::max(2 * m_panel->usualUs + kSlackUs, m_now.timeoutUs / 16)) {
        m_panel->slowed = m_panel->usualUs != 0;
    } else if (m_sends.size() == 1) {
        m_panel->slowed = false;
    }
    const bool early = IsFast() && latency < m_panel->usualUs * 3 / 4;
    // A duplicate follows its original closely. What is known to repeat is no sign of one, unless it
    // comes too early; nor is what is new, but at the start, where it may be the last command's.
    const bool twin =
        m_sends.size() == 1 && ((repeat && !known) || (early && (known || m_step == 0)));
    const Others others = Explain(reply);
    if (!others.owe && !twin) {
        m_repeats += repeat && answers && m_step > 0 ? 1 : 0;
        ++m_now.own;
        m_now.answeredAt = now;
        return true;
    }
    if (others.unpaid != nullptr) {
        others.unpaid->paid = true;
    } else if (!others.owe && !m_now.twin) {
        m_now.twin = true;
        m_now.hasty = repeat && !known && m_panel->answers >= kTellingAnswers &&
                      latency < m_panel->usualUs / 4;
    } else {
        ++m_now.own;
    }
    ++m_now.heard;
    if (answers) {
        m_kept.Keep(reply);
        m_now.answeredAt = now;
        // What is owed is asked for again; a duplicate might be believed, so the answer gets more time,
        // but where alike replies come in a row: a panel asleep by then would answer late.
        const uint64_t momentUs = MomentUs(others.owe ? kSlackUs
                                           : known    ? kShortSlackUs
                                                      : kTwinSlackUs);
        const uint64_t due = m_sends.back() + momentUs;
        m_now.settleAt = m_now.settleAt.value_or(now < due ? due : now + momentUs);
    }
    return false;
}

void ReplyAccount::Overhears(uint32_t address, const Reply& reply) {
    const auto owed = std::find_if(m_debts.begin(), m_debts.end(), [&](const Debt& debt) {
        return debt.address == address && debt.CanBe(reply);
    });
    if (owed != m_debts.end()) {
        m_debts.erase(owed);
    }
}

ReplyAccount::Others ReplyAccount::Explain(const Reply& reply) {
    Others others;
    for (Debt& debt : m_debts) {
        const bool cold = !m_sends.empty() && debt.due < m_sends.front();
        // The answer to the same request is right either way, but one still under way may be older.
        if (debt.address != m_now.address || (cold && debt.request == Hash(m_now.datagram)) ||
            !debt.CanBe(reply)) {
            continue;
        }
        others.owe = true;
        others.cold &= cold;
        others.unpaid = others.unpaid == nullptr && !debt.paid ? &debt : others.unpaid;
    }
    return others;
}

ReplyAccount::Doubt ReplyAccount::Settle() {
    m_now.settleAt.reset();
    const Reply kept = Kept();
    const Others others = Explain(kept);
    const bool repeat = m_panel->last.Is(kept);
    bool ours = false;
    if (others.owe) {
        // What is owed should have come long ago, and nothing came but this, as fast as the panel
        // is.
        ours = others.cold && IsPrompt(m_now.answeredAt) && m_now.heard <= m_sends.size();
    } else {
        // Nothing but a duplicate explains it; but data repeats, if not from one kind of request to
        // another.
        ours = !repeat ||
               (m_panel->lastFits == m_now.kind->fits && (!m_now.hasty || m_now.kind->once));
    }
    if (ours) {
        for (Debt& debt : m_debts) {
            debt.paid &= !debt.key;
        }
        m_now.own = m_now.heard;
    }
    // More have come than others explain: the latest is ours, as the network keeps the order.
    if (m_now.own > 0) {
        m_repeats += repeat && m_step > 0 ? 1 : 0;
        return Doubt::Take;
    }
    return m_now.kind->once || m_now.doubts++ >= kMaxDoubts ? Doubt::WaitOn : Doubt::SendAgain;
}

void ReplyAccount::End(const Reply* answer) {
    ++m_step;
    if (m_sends.empty()) {
        return;
    }
    std::erase_if(m_debts, [](const Debt& debt) { return debt.paid; });
    // A prompt answer is that to the last send; any other, that to the first.
    const bool prompt = answer != nullptr && IsPrompt(m_now.answeredAt);
    const uint64_t latency = m_now.answeredAt - m_sends.back() + 1;
    const uint64_t took = answer == nullptr ? MomentUs(kSlackUs)
                          : prompt          ? latency
                                            : m_now.answeredAt - m_sends.front();
    const size_t answered = std::min(m_now.own, m_sends.size());
    std::optional<uint64_t> key;
    if (answer != nullptr && answered < m_sends.size() && !m_now.kind->once) {
        key = m_now.kind->key(*answer);
    }
    for (size_t i = answered; i < m_sends.size() && m_debts.size() < kMaxDebts; ++i) {
        const uint64_t sent = m_sends[prompt ? i - answered : i];
        m_debts.push_back(
            {m_now.address, m_now.kind, Hash(m_now.datagram), key, sent, sent + took});
    }
    if (answer != nullptr) {
        // Only a lone request tells how fast the panel is.
        uint64_t& usual = m_panel->usualUs;
        // It follows a slower panel slowly: or what came in no time would soon be too early.
        const uint64_t slower = m_panel->answers % 4 == 0 ? usual + usual / 8 + 1 : usual;
        if (usual == 0) {
            usual = latency;
        } else if (m_sends.size() == 1) {
            usual = std::min(latency, slower);
        }
        ++m_panel->answers;
        if (m_panel->last.Is(*answer)) {
            m_panel->known = m_now.kind->key(*answer);
        }
        m_panel->last.Keep(*answer);
        m_panel->lastFits = m_now.kind->fits;
    }
}

uint64_t ReplyAccount::OwedUntil() const {
    uint64_t until = 0;
    for (const Debt& debt : m_debts) {
        const uint64_t took = debt.due - debt.sent;
        until = std::max(until, debt.due + took / 8 + kSlackUs);
    }
    return until;
}

// Whether the answer came as fast after the last send as answers do.
bool ReplyAccount::IsPrompt(uint64_t at) const {
    // What takes effect may take its time, and must not be sent twice because it did. Where answers
    // take long, nothing is said by when one came.
    const uint64_t most = m_now.kind->once ? m_now.timeoutUs / 4 : MomentUs(kSlackUs);
    return IsFast() && at - m_sends.back() <= most;
}

// Time enough for an answer that is on its way.
uint64_t ReplyAccount::MomentUs(uint64_t slackUs) const {
    const bool known = m_panel->usualUs != 0 && !m_panel->slowed;
    const uint64_t most = m_now.timeoutUs / 4;
    return known ? std::min(2 * m_panel->usualUs + slackUs, most) : most;
}

}  // namespace brenholt
