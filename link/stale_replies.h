// Replies that may still be on their way: a request that was sent more than once, or given up, can
// be answered when nobody asks any more. Taken for the answer to a later request, such a reply
// would be stored as file content.
#ifndef BRENHOLT_LINK_STALE_REPLIES_H
#define BRENHOLT_LINK_STALE_REPLIES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>

#include "link/reply.h"

namespace brenholt {

// Used by the thread that runs the exchange. Times are ticks.
class StaleReplies {
 public:
    // A request was settled by a reply with this key while `unanswered` of its sends had brought
    // nothing: as many twins of the reply may come. `prompt`: the reply came as fast after the last
    // send as replies do, so that the earlier sends were rather lost than late.
    void Settled(uint64_t key, int unanswered, bool prompt, uint32_t lifetimeMs);
    // A request was given up, last sent at tick `since`; replies that nobody has seen may come
    // until `lifetimeMs` after that.
    void GivenUp(int unanswered, uint32_t since, uint32_t lifetimeMs);

    // Spent: as many as were expected have come; one more can only be the network's doubling.
    enum class Twin { None, Spent, Late, Prompt };
    // Whether a reply with this key may be a twin. Each twin is counted off.
    Twin Take(uint64_t key);
    // The same without counting off.
    bool Expects(uint64_t key);
    // Whether twins of any reply may still come.
    bool ExpectsAny() const { return !m_twins.empty(); }
    // No more twins with this key are expected.
    void Forget(uint64_t key);

    // A reply was believed, and whether it is the same as one of the last few: the network may have
    // doubled that one. Replies are compared whole, as a comparison ends at the first difference and
    // a key costs much more.
    void Believed(const Reply& reply) { m_recent[m_believed++ % m_recent.size()].Keep(reply); }
    bool IsRecent(const Reply& reply) const;

    // How long replies to requests that were given up may still come, in ms.
    uint32_t MsUntilUnseenAreIn() const;
    // How many of those there may be. Asked once; nobody expects them afterwards.
    int TakeUnseen();

 private:
    struct Expected {
        uint64_t key;
        int count;
        bool prompt;
        uint32_t since;
        uint32_t lifetimeMs;
    };

    std::deque<Expected>::iterator Find(uint64_t key);
    void DropExpired();

    std::deque<Expected> m_twins;  // oldest first
    std::array<KeptReply, 8> m_recent;
    size_t m_believed = 0;
    int m_unseen = 0;
    uint32_t m_unseenSince = 0;
    uint32_t m_unseenLifetimeMs = 0;
};

}  // namespace brenholt

#endif
