#include "link/stale_replies.h"

#include <algorithm>

#include "platform/clock.h"

namespace brenholt {
namespace {

// A bad network resends much; what is older than so many resends is hardly still under way.
constexpr size_t kMaxTwins = 64;
constexpr int kMaxUnseen = 64;

}  // namespace

void StaleReplies::Settled(uint64_t key, int unanswered, bool prompt, uint32_t lifetimeMs) {
    DropExpired();
    if (m_twins.size() == kMaxTwins) {
        m_twins.pop_front();
    }
    m_twins.push_back({key, unanswered, prompt, GetTickCount(), lifetimeMs});
}

void StaleReplies::GivenUp(int unanswered, uint32_t since, uint32_t lifetimeMs) {
    m_unseen = std::min(m_unseen + unanswered, kMaxUnseen);
    m_unseenSince = since;
    m_unseenLifetimeMs = lifetimeMs;
}

StaleReplies::Twin StaleReplies::Take(uint64_t key) {
    const auto found = Find(key);
    if (found == m_twins.end()) {
        return Twin::None;
    }
    if (found->count == 0) {
        return Twin::Spent;
    }
    --found->count;
    return found->prompt ? Twin::Prompt : Twin::Late;
}

bool StaleReplies::Expects(uint64_t key) {
    return Find(key) != m_twins.end();
}

// The entry of that key that has twins to come, else one that has none.
std::deque<StaleReplies::Expected>::iterator StaleReplies::Find(uint64_t key) {
    DropExpired();
    const auto open = std::find_if(m_twins.begin(), m_twins.end(), [key](const Expected& twin) {
        return twin.key == key && twin.count > 0;
    });
    return open != m_twins.end()
               ? open
               : std::find_if(m_twins.begin(), m_twins.end(),
                              [key](const Expected& twin) { return twin.key == key; });
}

void StaleReplies::Forget(uint64_t key) {
    std::erase_if(m_twins, [key](const Expected& twin) { return twin.key == key; });
}

bool StaleReplies::IsRecent(const Reply& reply) const {
    const auto known = std::span(m_recent).first(std::min(m_believed, m_recent.size()));
    return std::ranges::any_of(known, [&](const KeptReply& recent) {
        return std::ranges::equal(recent.Datagram(), reply.Datagram());
    });
}

uint32_t StaleReplies::MsUntilUnseenAreIn() const {
    const uint32_t age = GetTickCount() - m_unseenSince;
    return m_unseen > 0 && age < m_unseenLifetimeMs ? m_unseenLifetimeMs - age : 0;
}

int StaleReplies::TakeUnseen() {
    const int count = m_unseen;
    m_unseen = 0;
    return count;
}

void StaleReplies::DropExpired() {
    const uint32_t now = GetTickCount();
    std::erase_if(m_twins,
                  [now](const Expected& twin) { return now - twin.since > twin.lifetimeMs; });
}

}  // namespace brenholt
