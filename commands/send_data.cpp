#include "commands/send_data.h"

#include <algorithm>

#include "link/tv_udp.h"

namespace brenholt {

bool CTvUdp::SendData(size_t prefix, std::span<const uint8_t> data, const ExchangeRules& rules,
                      const Judge& judge) {
    Reply reply;
    while (!data.empty()) {
        const auto slice = data.first(std::min(kMaxDatagram - prefix, data.size()));
        data = data.subspan(slice.size());
        std::copy(slice.begin(), slice.end(), m_txBuf.begin() + static_cast<ptrdiff_t>(prefix));
        const int length = static_cast<int>(prefix + slice.size());
        if (Exchange(length, rules, judge, reply) != Outcome::Done || Interrupted()) {
            return false;
        }
        m_txBuf[kDigitAt] = NextDigit(m_txBuf[kDigitAt]);
    }
    return true;
}

}  // namespace brenholt
