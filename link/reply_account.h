// Which replies a panel still owes.
//
// Nothing in a reply names its request. One that comes when its request was sent again, given up or
// cancelled, or that the network doubled, would pass for the answer to whatever is asked next. So
// the exchange keeps an account: each send brings at most one reply, and what has not come is owed.
// A reply that no debt and no duplicate explains is believed at once; any other is held for a
// moment, in which the panel's own answer would come. A doubt costs round trips, never an attempt.
#ifndef BRENHOLT_LINK_REPLY_ACCOUNT_H
#define BRENHOLT_LINK_REPLY_ACCOUNT_H

#include <map>
#include <optional>
#include <vector>

#include "link/reply.h"

namespace brenholt {

// How the replies to one kind of request differ from each other and from those of other kinds.
struct ReplyKind {
    bool (*fits)(const Reply&);     // whether it can be the answer to such a request
    uint64_t (*key)(const Reply&);  // equal for replies that mean the same
    bool once = false;              // takes effect at each send: never sent again in doubt
};
uint64_t WholeKey(const Reply& reply);

// Used by the thread that runs the exchange. Times are those of GetMicroseconds.
class ReplyAccount {
 public:
    // A transfer, or a command of one request, begins.
    void BeginTransfer() { m_step = m_repeats = 0; }
    // A request to the panel at `address` begins, with attempts of `timeoutUs`; it goes out, for the
    // first time or again; it has ended, settled by `answer` or given up (null).
    void Begin(uint32_t address, const ReplyKind& kind, uint64_t timeoutUs);
    void Sent(std::span<const uint8_t> datagram);
    void End(const Reply* answer);

    // A reply came. False: it may be another's, and the wait goes on. `answers`: the command would
    // take it, so that it is kept until the doubt is settled, at SettleAt.
    bool Believes(const Reply& reply, bool answers);
    std::optional<uint64_t> SettleAt() const { return m_now.settleAt; }
    // A reply came that nothing waits for, or from another panel than the one that is asked: it pays
    // what that panel owes.
    void Overhears(uint32_t address, const Reply& reply);
    enum class Doubt { Take, SendAgain, WaitOn };  // take Kept
    Doubt Settle();
    Reply Kept() const { return Reply(m_kept.Datagram()); }

    // Whether a reply of this transfer was believed that was the same as an earlier one. If it was a
    // duplicate, replies and requests have been out of step since: then a stray reply comes within
    // a moment of the transfer's end.
    bool MayBeOutOfStep() const { return m_repeats > 0; }
    uint64_t ListenUntil() const { return m_sends.back() + MomentUs(kShortSlackUs); }
    bool IsStray(const Reply& reply) { return !Explain(reply).owe && !m_panel->last.Is(reply); }

    // Until when replies are on their way, at the speed that their panels had.
    uint64_t OwedUntil() const;

 private:
    static constexpr uint64_t kSlackUs = 1000;
    static constexpr uint64_t kTwinSlackUs = 20'000;
    static constexpr uint64_t kShortSlackUs = 200;

    struct Debt {
        uint32_t address;
        const ReplyKind* kind;
        uint64_t request;             // a hash of it
        std::optional<uint64_t> key;  // of the reply, where its like was believed
        uint64_t sent, due;
        bool paid = false;  // by a reply to the running request

        bool CanBe(const Reply& reply) const {
            return key ? *key == kind->key(reply) : kind->fits(reply);
        }
    };
    struct Panel {
        uint64_t usualUs = 0;  // the fastest answer lately; 0 while none is known
        uint64_t answers = 0;
        bool slowed = false;  // replies took longer since one came as fast to a lone request
        KeptReply last;       // the reply believed last
        bool (*lastFits)(const Reply&) = nullptr;
        uint64_t known = 0;  // key of the latest that was the same as the one before it
    };
    struct Request {
        uint32_t address = 0;
        const ReplyKind* kind = nullptr;
        uint64_t timeoutUs = 0;
        std::span<const uint8_t> datagram;
        size_t heard = 0;    // replies that were not believed when they came
        size_t own = 0;      // replies that others do not explain
        bool twin = false;   // one was explained as a duplicate,
        bool hasty = false;  // the latest, in which there is hardly a doubt
        uint64_t answeredAt = 0;
        std::optional<uint64_t> settleAt;
        int doubts = 0;
    };
    struct Others {
        bool owe = false;        // whether the reply can be one that was owed
        bool cold = true;        // all of those were due before the request began
        Debt* unpaid = nullptr;  // the oldest of those that no other reply has paid
    };
    Others Explain(const Reply& reply);
    bool IsFast() const { return !m_panel->slowed && m_panel->usualUs <= m_now.timeoutUs / 8; }
    bool IsPrompt(uint64_t at) const;
    uint64_t MomentUs(uint64_t slackUs) const;

    std::vector<Debt> m_debts;           // oldest first
    std::map<uint32_t, Panel> m_panels;  // by address
    size_t m_step = 0;                   // requests of the transfer that have ended
    size_t m_repeats = 0;                // its replies that may have been duplicates of its own
    Request m_now;
    Panel* m_panel = nullptr;  // the one that is asked
    std::vector<uint64_t> m_sends;
    KeptReply m_kept;
};

}  // namespace brenholt

#endif
