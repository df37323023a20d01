// The stop-and-wait exchange: what a command brings to the one loop of attempts.
//
// An attempt sends the datagram and waits for a reply; the command judges the reply. Attempts are
// counted in sends: m_nRetries 3 means three datagrams at most.
#ifndef BRENHOLT_LINK_EXCHANGE_H
#define BRENHOLT_LINK_EXCHANGE_H

#include <cstdint>
#include <functional>

#include "link/reply_account.h"

namespace brenholt {

// What a judge says of a reply.
enum class Verdict {
    Done,    // the exchange is settled
    Failed,  // the command is refused; no further attempt
    Again,   // the attempt counts as failed; the datagram is sent again
    Unread,  // as Again, but the pace stays
};

// Looks at a reply and changes nothing: a reply may be judged and then not believed.
using Judge = std::function<Verdict(const Reply&)>;

enum class Outcome {
    Failed,   // no usable answer, or cancelled
    Refused,  // the judge failed the command, or nothing could be sent
    Done,
};

// When an attempt fails, m_nPaceMs grows by `step` if it is below `below`. It is never lowered.
struct PaceRule {
    int32_t below;
    int32_t step;
};
inline constexpr PaceRule kPaceKept{0, 0};
inline constexpr PaceRule kPaceGently{3, 1};
inline constexpr PaceRule kPaceSteeply{4, 2};

// A transfer is begun anew so often, in all, when its replies were out of step with its requests.
inline constexpr int kMaxTransferTries = 4;

struct ExchangeRules {
    const ReplyKind& replies;
    PaceRule onSilence = kPaceKept;  // no reply
    PaceRule onAgain = kPaceKept;    // a reply that the judge sent back
    bool paced = false;              // sleeps m_nPaceMs before each send
};

// As the length of a request: its header, built anew for each send, and nothing after it.
inline constexpr int kHeaderOnly = -1;

// The packet counter of a transfer, as a digit: 0, 1 to 9, 1 again. '0' marks the first packet
// only.
template <class Char>
constexpr Char NextDigit(Char digit) {
    return digit >= '9' ? Char{'1'} : static_cast<Char>(digit + 1);
}

}  // namespace brenholt

#endif
