// Where the data of a packet lie in their file: 32 bits, on the wire eight hexadecimal digits.
#ifndef BRENHOLT_COMMANDS_PACKET_OFFSET_H
#define BRENHOLT_COMMANDS_PACKET_OFFSET_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace brenholt {

class PacketOffset {
 public:
    // Upper case, the highest digit first.
    std::array<uint8_t, 8> Digits() const {
        std::array<uint8_t, 8> digits{};
        uint32_t rest = m_bytes;
        for (size_t i = digits.size(); i > 0; --i, rest >>= 4) {
            digits[i - 1] = static_cast<uint8_t>("0123456789ABCDEF"[rest & 0xF]);
        }
        return digits;
    }
    // Goes on by `size` bytes; false, and it stays, where 32 bits cannot say that.
    bool Advance(size_t size) {
        if (size > UINT32_MAX - m_bytes) {
            return false;
        }
        m_bytes += static_cast<uint32_t>(size);
        return true;
    }

 private:
    uint32_t m_bytes = 0;
};

}  // namespace brenholt

#endif
