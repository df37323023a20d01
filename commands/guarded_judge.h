// The guard of file fetches and listings against replies that belong to an earlier request.
//
// A transfer without a resend, a cancel before it, or an exact repeat of a block in its data sends
// and waits as if there were no guard. Otherwise:
//  - A reply that may be the twin of an earlier one is held back: the attempt waits on from the
//    same start, and anything better wins.
//  - When nothing better comes, ordinary data is asked for again, and the same reply is believed
//    the second time. A run of equal bytes, where packets are alike by nature, is taken if the
//    earlier sends were rather lost than late.
//  - A long irregular reply that repeats one of the last few is held for a moment only: the network
//    may have doubled that one.
//  - Replies to a request that was given up have never been seen. The transfer begins when they
//    must be in; as many first replies are held back for a quarter of the timeout, then asked for
//    again.
#ifndef BRENHOLT_COMMANDS_GUARDED_JUDGE_H
#define BRENHOLT_COMMANDS_GUARDED_JUDGE_H

#include <array>
#include <cstdint>
#include <optional>

#include "link/tv_udp.h"

namespace brenholt {

class GuardedJudge : public Judge {
 public:
    explicit GuardedJudge(CTvUdp& link) : m_link(link) {}

    // Before the first send. False when the wait was interrupted.
    bool AwaitUnseen();
    // Behind the last packet: whether the panel has nothing to add that was never seen. After a
    // resend it may: then the packets were out of step with the requests.
    bool EndsInStep();

    void OnSend(int attempt) final;
    Verdict OnReply(const Reply& reply) final;
    uint32_t WaitMs(uint32_t start, uint32_t timeoutMs) final;
    Verdict OnSilence(Reply& held) final;

 protected:
    // What a reply that is believed means.
    virtual Verdict Read(const Reply& reply) = 0;
    // The bytes that make two replies alike by nature, or nothing for replies that never are.
    virtual std::span<const uint8_t> Data(const Reply& reply) const = 0;

 private:
    // What a held reply may be.
    enum class Doubt {
        Unseen,      // the answer to a request that was given up
        PromptTwin,  // the twin of one that was sent again because its answer was lost...
        LateTwin,    // ...or late
        Repeat,      // a datagram that the network doubled
    };
    struct Held {
        KeptReply reply;
        uint64_t key;
        Doubt doubt;
        uint32_t tick;  // when it came
    };

    Verdict Hold(const Reply& reply, uint64_t key, Doubt doubt);
    Verdict Believe(const Reply& reply);
    // Some answers' time: what is on its way when a wait of this length begins has come at its end.
    uint32_t MomentMs() const;

    CTvUdp& m_link;
    std::optional<Held> m_held;
    std::optional<uint64_t> m_askedAgain;  // key that the next attempt will believe
    int m_attempt = 0;
    int m_unseen = 0;
    bool m_doubtful = false;  // something was sent again or given up: the end wants a look
};

}  // namespace brenholt

#endif
