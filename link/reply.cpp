#include "link/reply.h"

#include <algorithm>

#include "platform/text.h"

namespace brenholt {

Reply::Reply(std::span<const uint8_t> datagram)
    : m_datagram(datagram),
      m_text(UpToNul({reinterpret_cast<const char*>(datagram.data()), datagram.size()})) {
}

std::u16string Reply::Text() const {
    return MultiByteToWideChar(m_text);
}

std::optional<char16_t> Reply::Marker() const {
    const std::string_view head = m_text.substr(0, kMarkerPosition + 1);
    const bool ascii = std::all_of(head.begin(), head.end(),
                                   [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    // In ASCII, characters are bytes: the conversion is left to the rare other reply.
    const std::u16string text = ascii ? std::u16string(head.begin(), head.end()) : Text();
    if (text.size() < kMarkerPosition) {
        return std::nullopt;
    }
    return text.size() > kMarkerPosition ? text[kMarkerPosition] : u'\0';
}

void KeptReply::Keep(const Reply& reply) {
    const std::span<const uint8_t> bytes = reply.Datagram();
    std::copy(bytes.begin(), bytes.end(), m_bytes.begin());
    m_size = bytes.size();
}

bool KeptReply::Is(const Reply& reply) const {
    return std::ranges::equal(Datagram(), reply.Datagram());
}

}  // namespace brenholt
