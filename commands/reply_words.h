// The words of a reply, and how the command families compare them.
#ifndef BRENHOLT_COMMANDS_REPLY_WORDS_H
#define BRENHOLT_COMMANDS_REPLY_WORDS_H

#include "link/reply_account.h"
#include "platform/text.h"

namespace brenholt {

inline constexpr std::string_view kAck = "ACK";
inline constexpr std::string_view kNak = "NAK";

// Shorter texts are words, and shorter datagrams hold no file data.
inline constexpr size_t kTextChars = 12;
inline constexpr size_t kPacketHead = 37;

inline bool Is(const Reply& reply, std::string_view word) {
    return reply.Bytes() == word;
}
inline bool IsNoCase(const Reply& reply, std::string_view word) {
    return EqualNoCase(reply.Bytes(), word);
}

// A panel may answer any request with a refusal.
inline bool FitsWord(const Reply& reply) {
    return reply.Bytes().size() < kTextChars && reply.Datagram().size() < kPacketHead;
}
inline bool FitsText(const Reply& reply) {
    return reply.Bytes().size() >= kTextChars || IsNoCase(reply, kNak);
}

// Commands that take effect at each send, and those that may be sent again: DL and ML.
inline constexpr ReplyKind kWordOnce{FitsWord, WholeKey, true};
inline constexpr ReplyKind kWord{FitsWord, WholeKey};
inline constexpr ReplyKind kText{FitsText, WholeKey};

}  // namespace brenholt

#endif
