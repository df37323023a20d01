#include "commands/guarded_judge.h"

#include <algorithm>

#include "platform/clock.h"

namespace brenholt {
namespace {

// In shorter data neither a repeat nor a pattern means anything.
constexpr size_t kTellingSize = 64;
constexpr size_t kLongestPeriod = 256;

constexpr uint32_t kMomentSlackMs = 5;

// Whether the data is one short pattern over and over, as fills and empty areas are.
bool IsRun(std::span<const uint8_t> data) {
    if (data.size() < kTellingSize) {
        return false;
    }
    for (size_t period = 1; period <= std::min(kLongestPeriod, data.size() / 2); ++period) {
        if (std::equal(data.begin() + static_cast<ptrdiff_t>(period), data.end(), data.begin())) {
            return true;
        }
    }
    return false;
}

// Whether data is unlikely to come twice in a row by itself.
bool IsTelling(std::span<const uint8_t> data) {
    return data.size() >= kTellingSize && !IsRun(data);
}

}  // namespace

bool GuardedJudge::AwaitUnseen() {
    while (const uint32_t left = m_link.m_stale.MsUntilUnseenAreIn()) {
        if (m_link.Interrupted()) {
            return false;
        }
        Sleep(std::min(left, 1U));
    }
    m_unseen = m_link.m_stale.TakeUnseen();
    m_doubtful = m_unseen > 0;
    return true;
}

bool GuardedJudge::EndsInStep() {
    if (!m_doubtful) {
        return true;
    }
    const uint32_t start = GetTickCount();
    Reply reply;
    while (m_link.RecvReply(reply, start, MomentMs()) != 0) {
        const bool twin = m_link.m_stale.Take(Key(reply)) != StaleReplies::Twin::None;
        if (!twin && !m_link.m_stale.IsRecent(reply)) {
            return false;
        }
    }
    return true;
}

void GuardedJudge::OnSend(int attempt) {
    m_attempt = attempt;
    if (attempt == 0) {
        m_askedAgain.reset();
    } else {
        m_doubtful = true;
    }
    m_held.reset();
}

Verdict GuardedJudge::OnReply(const Reply& reply) {
    const bool recent = m_link.m_stale.IsRecent(reply);
    if (m_unseen == 0 && !recent && !m_link.m_stale.ExpectsAny()) {
        return Believe(reply);
    }
    const uint64_t key = Key(reply);
    if (m_unseen > 0 && key != m_askedAgain) {
        --m_unseen;
        return Hold(reply, key, Doubt::Unseen);
    }
    const StaleReplies::Twin twin = m_link.m_stale.Take(key);
    if (twin == StaleReplies::Twin::Prompt || twin == StaleReplies::Twin::Late) {
        return Hold(reply, key,
                    twin == StaleReplies::Twin::Prompt ? Doubt::PromptTwin : Doubt::LateTwin);
    }
    const bool seen = twin == StaleReplies::Twin::Spent || recent;
    if (seen && key != m_askedAgain && IsTelling(Data(reply))) {
        return Hold(reply, key, Doubt::Repeat);
    }
    return Believe(reply);
}

uint32_t GuardedJudge::WaitMs(uint32_t start, uint32_t timeoutMs) {
    if (!m_held) {
        return timeoutMs;
    }
    const uint32_t held = m_held->tick - start;
    switch (m_held->doubt) {
        case Doubt::Unseen:
            return std::min(timeoutMs, held + timeoutMs / 4);
        case Doubt::Repeat:
            return std::min(timeoutMs, held + MomentMs());
        default:
            return timeoutMs;
    }
}

Verdict GuardedJudge::OnSilence(Reply& held) {
    if (!m_held) {
        return Verdict::Again;
    }
    const Reply reply(m_held->reply.Datagram());
    const Doubt doubt = m_held->doubt;
    const bool lastAttempt = m_attempt + 1 >= m_link.m_nRetries;
    const bool take =
        doubt == Doubt::PromptTwin ? IsRun(Data(reply)) : doubt != Doubt::LateTwin && lastAttempt;
    if (!take) {
        m_askedAgain = m_held->key;
        return Verdict::Unread;
    }
    m_link.m_stale.Forget(m_held->key);
    held = reply;
    return Believe(reply);
}

Verdict GuardedJudge::Hold(const Reply& reply, uint64_t key, Doubt doubt) {
    m_held.emplace();
    m_held->reply.Keep(reply);
    m_held->key = key;
    m_held->doubt = doubt;
    m_held->tick = GetTickCount();
    return Verdict::Wait;
}

Verdict GuardedJudge::Believe(const Reply& reply) {
    const Verdict verdict = Read(reply);
    m_unseen = 0;
    if (verdict == Verdict::Done) {
        m_link.m_stale.Believed(reply);
    }
    return verdict;
}

uint32_t GuardedJudge::MomentMs() const {
    return 4 * m_link.AnswerMs() + kMomentSlackMs;
}

}  // namespace brenholt
