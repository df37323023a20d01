// The guard of file fetches and listings against replies that belong to an earlier request.
//
// A transfer without a resend, a cancel before it, or an exact repeat of a block in its data sends and
// waits as if there were no guard. Otherwise:
//  - A reply that may be the twin of an earlier one is held back: the attempt waits on from the same
//    start, and anything better wins.
//  - When nothing better comes, ordinary data is asked for again, and the same reply is believed the
//    second time. A run of equal bytes, where packets are alike by nature, is taken at once if the
//    earlier sends were rather lost than late.
//  - Replies to a request that was given up have never been seen. The transfer begins when they must be
//    in, and as many first replies are held back for a moment.
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
    // Behind the last packet: whether the panel has nothing to add that was never seen. After a resend
    // it may: then the packets were out of step with the requests.
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
    struct Held {
        std::array<uint8_t, kMaxDatagram + 1> bytes;
        size_t size;
        uint64_t key;
        bool unseen;    // held for a reply that nobody has seen, not as a twin
        bool prompt;    // see StaleReplies::Twin
        uint32_t tick;  // when it came
    };

    void Hold(const Reply& reply, uint64_t key, bool unseen, bool prompt);
    bool IsRepeat(const Reply& reply, uint64_t key) const;
    Verdict Believe(const Reply& reply, uint64_t key);

    CTvUdp& m_link;
    std::optional<Held> m_held;
    std::optional<uint64_t> m_askedAgain;   // key that the second attempt will believe
    std::array<uint64_t, 8> m_recent{};     // keys of the last packets
    size_t m_packets = 0;
    int m_unseen = 0;
    bool m_doubtful = false;  // something was sent again or given up: the end wants a look
};

}  // namespace brenholt

#endif
