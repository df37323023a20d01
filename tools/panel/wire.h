// Types and constants of the wire that every file here shares.
#ifndef BRENHOLT_TOOLS_PANEL_WIRE_H
#define BRENHOLT_TOOLS_PANEL_WIRE_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tavrin {

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

// A point in time: the distance from any fixed start, chosen by whoever owns the clock.
using Time = std::chrono::nanoseconds;

inline constexpr uint16_t kBeaconPort = 10250;  // host side, announcements
inline constexpr uint16_t kPanelPort = 10251;   // panel side, commands
inline constexpr uint16_t kHostPort = 10252;    // host side, where commands come from
inline constexpr size_t kMaxDatagram = 1400;    // bytes, both ways
inline constexpr char kFirstDigit = '0';

// The sequence digit after `digit`: 0, 1 to 9, then 1 again, so that 0 marks a first packet only.
constexpr char NextDigit(char digit) {
    return digit == '9' ? '1' : static_cast<char>(digit + 1);
}

// Little-endian 32-bit words at `at`; the caller has checked that four bytes are there.
inline uint32_t ReadWord(ByteView bytes, size_t at) {
    return static_cast<uint32_t>(bytes[at]) | static_cast<uint32_t>(bytes[at + 1]) << 8 |
           static_cast<uint32_t>(bytes[at + 2]) << 16 | static_cast<uint32_t>(bytes[at + 3]) << 24;
}

inline void WriteWord(std::span<uint8_t> bytes, size_t at, uint32_t word) {
    for (size_t i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<uint8_t>(word >> (8 * i));
    }
}

}  // namespace tavrin

#endif
