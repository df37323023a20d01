// ML: a block of memory to the panel.
//
//    0  "Cmd=ML", 6  sequence digit, 7  '+' or in the last datagram '-', 8  text, NUL, data
#include <algorithm>

#include "commands/reply_words.h"
#include "link/command_run.h"
#include "link/tv_udp.h"

namespace brenholt {
namespace {

constexpr size_t kDigitAt = 6;
constexpr size_t kMarkAt = 7;
constexpr ExchangeRules kRules{kWord, kPaceSteeply, kPaceSteeply, true};

}  // namespace

int CTvUdp::CmdML(const uint8_t* block, int length, const char16_t* text, int async) {
    const Head head =
        Enter(u"ML0+", async, text, nullptr, length, const_cast<uint8_t*>(block), nullptr, nullptr);
    if (head != Head::Run) {
        return head == Head::Posted ? 1 : 0;
    }
    CommandRun run(*this);
    const auto header = static_cast<size_t>(BuildHeader());
    if (header == 0 || (block == nullptr && length > 0)) {
        return run.End(0);
    }
    const Judge judge = [](const Reply& reply) {
        return IsNoCase(reply, kAck) ? Verdict::Done : Verdict::Again;
    };
    Reply reply;
    std::span<const uint8_t> rest(block, static_cast<size_t>(std::max(length, 0)));
    while (!rest.empty()) {
        const std::span<const uint8_t> slice =
            rest.first(std::min(kMaxDatagram - header, rest.size()));
        rest = rest.subspan(slice.size());
        std::copy(slice.begin(), slice.end(), m_txBuf.begin() + static_cast<ptrdiff_t>(header));
        if (rest.empty()) {
            m_txBuf[kMarkAt] = '-';
        }
        if (Exchange(static_cast<int>(header + slice.size()), kRules, judge, reply) !=
                Outcome::Done ||
            Interrupted()) {
            return run.End(0);
        }
        m_txBuf[kDigitAt] = NextDigit(m_txBuf[kDigitAt]);
    }
    return run.End(1);
}

}  // namespace brenholt
