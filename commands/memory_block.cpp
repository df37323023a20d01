// ML: a block of memory to the panel.
//
//    0  "Cmd=ML", 6  sequence digit, 7  '+' or in the last datagram '-', 8  text, NUL, data
#include <algorithm>

#include "commands/reply_words.h"
#include "commands/send_data.h"
#include "link/command_run.h"
#include "link/tv_udp.h"

namespace brenholt {
namespace {

constexpr size_t kMarkAt = 7;
constexpr ExchangeRules kRules{kWord, kPaceSteeply, kPaceSteeply, true};

}  // namespace

int CTvUdp::CmdML(const uint8_t* block, int length, const char16_t* text, int async) {
    const std::optional<int> early =
        Enter(u"ML0+", async, text, nullptr, length, const_cast<uint8_t*>(block));
    if (early) {
        return *early;
    }
    CommandRun run(*this);
    const auto header = static_cast<size_t>(BuildHeader());
    if (header == 0 || (block == nullptr && length > 0)) {
        return run.End(0);
    }
    const Judge judge = [](const Reply& reply) {
        return IsNoCase(reply, kAck) ? Verdict::Done : Verdict::Again;
    };
    const std::span<const uint8_t> data(block, static_cast<size_t>(std::max(length, 0)));
    if (data.empty()) {
        return run.End(1);
    }
    // All but the last datagram are full.
    const size_t last = (data.size() - 1) % (kMaxDatagram - header) + 1;
    if (!SendData(header, data.first(data.size() - last), kRules, judge)) {
        return run.End(0);
    }
    m_txBuf[kMarkAt] = '-';
    return run.End(SendData(header, data.last(last), kRules, judge) ? 1 : 0);
}

}  // namespace brenholt
