#include <array>
#include <cstddef>
#include <cstdint>

#include "discovery/beacon.h"
#include "discovery/datagram.h"

namespace brenholt {
namespace {

constexpr uint32_t kUdpHeader = 8;  // the program sees the datagram from its UDP header on
constexpr size_t kWords = kGreeting.size() / 4;
static_assert(kGreeting.size() == 4 * kWords + 1, "the greeting is whole words and one blank");

// Two tests of the length, three instructions per word, two for the last byte, two returns.
constexpr size_t kInstructions = 3 + 3 * kWords + 2 + 2;
constexpr size_t kDrop = kInstructions - 1;

constexpr bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The word at `at`, its bytes chosen by `pick`, highest first as the filter loads them.
template <class Pick>
constexpr uint32_t Word(size_t at, Pick pick) {
    uint32_t word = 0;
    for (size_t i = at; i < at + 4; ++i) {
        word = word << 8 | pick(kGreeting[i]);
    }
    return word;
}

// Without bit 5 a letter is in upper case; other bytes are compared whole.
constexpr uint8_t CaseMask(char c) {
    return IsLetter(c) ? 0xDF : 0xFF;
}
constexpr uint8_t Folded(char c) {
    return static_cast<uint8_t>(c) & CaseMask(c);
}

constexpr std::array<sock_filter, kInstructions> MakeFilter() {
    std::array<sock_filter, kInstructions> program{};
    size_t at = 0;
    const auto add = [&](unsigned code, uint32_t k) {
        program[at++] = {static_cast<uint16_t>(code), 0, 0, k};
    };
    const auto dropUnless = [&](unsigned jump, uint32_t k) {
        const auto toDrop = static_cast<uint8_t>(kDrop - at - 1);
        program[at++] = {static_cast<uint16_t>(BPF_JMP | jump | BPF_K), 0, toDrop, k};
    };
    const auto dropIf = [&](unsigned jump, uint32_t k) {
        const auto toDrop = static_cast<uint8_t>(kDrop - at - 1);
        program[at++] = {static_cast<uint16_t>(BPF_JMP | jump | BPF_K), toDrop, 0, k};
    };
    add(BPF_LD | BPF_W | BPF_LEN, 0);
    dropUnless(BPF_JGE, kUdpHeader + kGreeting.size());
    dropIf(BPF_JGT, kUdpHeader + kMaxDatagram);
    for (uint32_t byte = 0; byte < 4 * kWords; byte += 4) {
        add(BPF_LD | BPF_W | BPF_ABS, kUdpHeader + byte);
        add(BPF_ALU | BPF_AND | BPF_K, Word(byte, CaseMask));
        dropUnless(BPF_JEQ, Word(byte, Folded));
    }
    add(BPF_LD | BPF_B | BPF_ABS, kUdpHeader + 4 * kWords);
    dropUnless(BPF_JEQ, static_cast<uint8_t>(kGreeting.back()));
    add(BPF_RET | BPF_K, UINT32_MAX);
    add(BPF_RET | BPF_K, 0);
    return program;
}

constexpr auto kFilter = MakeFilter();

}  // namespace

std::span<const sock_filter> BeaconFilter() {
    return kFilter;
}

}  // namespace brenholt
