// The words of a reply, and how the command families compare them.
#ifndef BRENHOLT_COMMANDS_REPLY_WORDS_H
#define BRENHOLT_COMMANDS_REPLY_WORDS_H

#include "link/reply.h"
#include "platform/text.h"

namespace brenholt {

inline constexpr std::string_view kAck = "ACK";
inline constexpr std::string_view kNak = "NAK";

inline bool Is(const Reply& reply, std::string_view word) {
    return reply.Bytes() == word;
}
inline bool IsNoCase(const Reply& reply, std::string_view word) {
    return EqualNoCase(reply.Bytes(), word);
}

}  // namespace brenholt

#endif
