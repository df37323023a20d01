// A reply of the panel: text up to its first NUL, and whatever follows.
#ifndef BRENHOLT_LINK_REPLY_H
#define BRENHOLT_LINK_REPLY_H

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "discovery/datagram.h"

namespace brenholt {

// A view of the receive buffer, good until the next receive.
class Reply {
 public:
    Reply() = default;
    explicit Reply(std::span<const uint8_t> datagram);

    std::span<const uint8_t> Datagram() const { return m_datagram; }
    // The text in the system code page.
    std::string_view Bytes() const { return m_text; }
    // The text, converted.
    std::u16string Text() const;
    // The text's third character counted from 0: the marker of a listing page or a data packet, NUL
    // for a text of exactly three characters. Nothing for a shorter text.
    std::optional<char16_t> Marker() const;

 private:
    std::span<const uint8_t> m_datagram;
    std::string_view m_text;
};

inline constexpr size_t kMarkerPosition = 3;

// The bytes of a reply, at most kMaxDatagram, kept beyond the next receive.
class KeptReply {
 public:
    void Keep(const Reply& reply);
    std::span<const uint8_t> Datagram() const { return std::span(m_bytes).first(m_size); }
    // Whether this reply is the same, byte for byte.
    bool Is(const Reply& reply) const;

 private:
    std::array<uint8_t, kMaxDatagram> m_bytes{};
    size_t m_size = 0;
};

}  // namespace brenholt

#endif
