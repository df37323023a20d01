#include "commands/guarded_judge.h"

#include <algorithm>

#include "platform/clock.h"

namespace brenholt {
namespace {

// Shorter data repeats too easily for a repeat to mean anything.
constexpr size_t kTellingSize = 64;
constexpr size_t kLongestPeriod = 256;

constexpr uint32_t kLookSlackMs = 5;

// Whether the data is one short pattern over and over, as fills and empty areas are.
bool IsRun(std::span<const uint8_t> data) {
    for (size_t period = 1; period <= std::min(kLongestPeriod, data.size() / 2); ++period) {
        if (std::equal(data.begin() + static_cast<ptrdiff_t>(period), data.end(), data.begin())) {
            return true;
        }
    }
    return false;
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
    const uint32_t look = 4 * m_link.AnswerMs() + kLookSlackMs;
    Reply reply;
    while (m_link.RecvReply(reply, start, look) != 0) {
        const uint64_t key = Key(reply);
        const bool recent = std::find(m_recent.begin(), m_recent.end(), key) != m_recent.end();
        if (m_link.m_stale.Take(key) == StaleReplies::Twin::None && !recent) {
            return false;
        }
    }
    return true;
}

void GuardedJudge::OnSend(int attempt) {
    if (attempt == 0) {
        m_askedAgain.reset();
    } else {
        m_doubtful = true;
    }
    m_held.reset();
}

Verdict GuardedJudge::OnReply(const Reply& reply) {
    const uint64_t key = Key(reply);
    if (m_unseen > 0) {
        --m_unseen;
        Hold(reply, key, true, false);
        return Verdict::Wait;
    }
    const StaleReplies::Twin twin = m_link.m_stale.Take(key);
    if (twin != StaleReplies::Twin::None) {
        Hold(reply, key, false, twin == StaleReplies::Twin::Prompt);
        return Verdict::Wait;
    }
    if (key != m_askedAgain && IsRepeat(reply, key)) {
        Hold(reply, key, false, false);
        return Verdict::Wait;
    }
    return Believe(reply, key);
}

uint32_t GuardedJudge::WaitMs(uint32_t start, uint32_t timeoutMs) {
    if (!m_held || !m_held->unseen) {
        return timeoutMs;
    }
    return std::min(timeoutMs, m_held->tick - start + timeoutMs / 4);
}

Verdict GuardedJudge::OnSilence(Reply& held) {
    if (!m_held) {
        return Verdict::Again;
    }
    const Reply reply(std::span(m_held->bytes).first(m_held->size));
    const bool run = m_held->prompt && IsRun(Data(reply));
    if (!m_held->unseen && !run) {
        m_askedAgain = m_held->key;
        return Verdict::Again;
    }
    m_unseen = 0;
    m_link.m_stale.Forget(m_held->key);
    held = reply;
    return Believe(reply, m_held->key);
}

void GuardedJudge::Hold(const Reply& reply, uint64_t key, bool unseen, bool prompt) {
    const std::span<const uint8_t> bytes = reply.Datagram();
    m_held.emplace();
    std::copy(bytes.begin(), bytes.end(), m_held->bytes.begin());
    m_held->size = bytes.size();
    m_held->key = key;
    m_held->unseen = unseen;
    m_held->prompt = prompt;
    m_held->tick = GetTickCount();
}

// A datagram that the network doubled: no send tells of it, but long irregular data does not repeat by
// itself so soon.
bool GuardedJudge::IsRepeat(const Reply& reply, uint64_t key) const {
    const auto end = m_recent.begin() + static_cast<ptrdiff_t>(std::min(m_packets, m_recent.size()));
    const std::span<const uint8_t> data = Data(reply);
    return data.size() >= kTellingSize && std::find(m_recent.begin(), end, key) != end && !IsRun(data);
}

Verdict GuardedJudge::Believe(const Reply& reply, uint64_t key) {
    const Verdict verdict = Read(reply);
    if (verdict == Verdict::Done) {
        m_recent[m_packets++ % m_recent.size()] = key;
    }
    return verdict;
}

}  // namespace brenholt
