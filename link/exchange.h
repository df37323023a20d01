// The stop-and-wait exchange: what a command brings to the one loop of attempts.
//
// An attempt sends the datagram and waits for a reply; the command judges the reply. Attempts are
// counted in sends: m_nRetries 3 means three datagrams at most.
#ifndef BRENHOLT_LINK_EXCHANGE_H
#define BRENHOLT_LINK_EXCHANGE_H

#include <cstdint>
#include <utility>

#include "link/reply.h"

namespace brenholt {

// What a judge says of a reply.
enum class Verdict {
    Done,    // the exchange is settled
    Failed,  // the command is refused; no further attempt
    Again,   // the attempt counts as failed; the datagram is sent again
    Unread,  // as Again, but the pace stays
    Wait,    // not the answer to this request; the attempt waits on, from the same start
};

enum class Outcome { Failed, Done };

// When an attempt fails, m_nPaceMs grows by `step` if it is below `below`. It is never lowered.
struct PaceRule {
    int32_t below;
    int32_t step;
};
inline constexpr PaceRule kPaceKept{0, 0};
inline constexpr PaceRule kPaceGently{3, 1};
inline constexpr PaceRule kPaceSteeply{4, 2};

struct ExchangeRules {
    PaceRule onSilence = kPaceKept;  // no reply
    PaceRule onAgain = kPaceKept;    // a reply that the judge sent back
    bool paced = false;              // sleeps m_nPaceMs before each send
};

class Judge {
 public:
    virtual ~Judge() = default;
    // The datagram goes out, for the `attempt`th time counted from 0.
    virtual void OnSend(int /*attempt*/) {}
    virtual Verdict OnReply(const Reply& reply) = 0;
    // How long the attempt that began at tick `start` waits for a (further) reply, counted from its
    // start.
    virtual uint32_t WaitMs(uint32_t /*start*/, uint32_t timeoutMs) { return timeoutMs; }
    // The attempt ended without an answer. Done or Failed settles it by a reply that was held back,
    // given in `held`; Again counts it as failed.
    virtual Verdict OnSilence(Reply& /*held*/) { return Verdict::Again; }
    // What tells one reply from another.
    virtual uint64_t Key(const Reply& reply) const;
};

// A judge that looks at replies only: any callable from Reply to Verdict.
template <class Callable>
class ReplyJudge final : public Judge {
 public:
    explicit ReplyJudge(Callable callable) : m_callable(std::move(callable)) {}
    Verdict OnReply(const Reply& reply) override { return m_callable(reply); }

 private:
    Callable m_callable;
};

// The packet counter of a transfer, as a digit: 0, 1 to 9, 1 again. '0' marks the first packet
// only.
template <class Char>
constexpr Char NextDigit(Char digit) {
    return digit >= '9' ? Char{'1'} : static_cast<Char>(digit + 1);
}

}  // namespace brenholt

#endif
