#include "platform/posix/datagram_filter.h"

#include <linux/filter.h>
#include <sys/socket.h>

#include <array>
#include <cstddef>

namespace brenholt {
namespace {

constexpr uint32_t kUdpHeader = 8;  // the program sees the datagram from its UDP header on

// Two tests of the length with its load, three instructions for each word of the longest prefix and each byte
// after it, two returns. All jumps are shorter than the 255 instructions that one can pass over.
constexpr size_t kMaxPrefix = 255;
constexpr size_t kMaxInstructions = 3 + 3 * (kMaxPrefix / 4 + kMaxPrefix % 4) + 2;
static_assert(kMaxInstructions < 255);

constexpr bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Without bit 5 a letter is in upper case; other bytes are compared whole.
uint8_t CaseMask(char c) {
    return IsLetter(c) ? 0xDF : 0xFF;
}
uint8_t Folded(char c) {
    return static_cast<uint8_t>(c) & CaseMask(c);
}

// The bytes as one number, each chosen by `pick`, highest first as the filter loads them.
template <class Pick>
uint32_t Number(std::string_view bytes, Pick pick) {
    uint32_t number = 0;
    for (const char byte : bytes) {
        number = number << 8 | pick(byte);
    }
    return number;
}

// Classic BPF: passes what keeps to the rule.
class Program {
 public:
    explicit Program(const DatagramRule& rule) {
        const std::string_view prefix = rule.prefix.substr(0, kMaxPrefix);
        Add(BPF_LD | BPF_W | BPF_LEN, 0);
        DropUnless(BPF_JGE, kUdpHeader + static_cast<uint32_t>(prefix.size()));
        DropIf(BPF_JGT, kUdpHeader + rule.most);
        for (size_t at = 0; at < prefix.size();) {
            const size_t width = prefix.size() - at < 4 ? 1 : 4;
            const std::string_view bytes = prefix.substr(at, width);
            Add(BPF_LD | (width == 4 ? BPF_W : BPF_B) | BPF_ABS,
                kUdpHeader + static_cast<uint32_t>(at));
            Add(BPF_ALU | BPF_AND | BPF_K, Number(bytes, CaseMask));
            DropUnless(BPF_JEQ, Number(bytes, Folded));
            at += width;
        }
        Add(BPF_RET | BPF_K, UINT32_MAX);
        for (size_t at = 0; at < m_length; ++at) {
            const auto toDrop = static_cast<uint8_t>(m_length - at - 1);
            sock_filter& step = m_steps[at];
            step.jt = step.jt == kToDrop ? toDrop : 0;
            step.jf = step.jf == kToDrop ? toDrop : 0;
        }
        Add(BPF_RET | BPF_K, 0);
    }

    void Attach(int socket) {
        const sock_fprog program{static_cast<unsigned short>(m_length), m_steps.data()};
        setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program);
    }

 private:
    static constexpr uint8_t kToDrop = 1;  // a jump whose length is not known yet

    void Add(unsigned code, uint32_t k, uint8_t jumpIf = 0, uint8_t jumpUnless = 0) {
        m_steps[m_length++] = {static_cast<uint16_t>(code), jumpIf, jumpUnless, k};
    }
    void DropIf(unsigned test, uint32_t k) { Add(BPF_JMP | test | BPF_K, k, kToDrop, 0); }
    void DropUnless(unsigned test, uint32_t k) { Add(BPF_JMP | test | BPF_K, k, 0, kToDrop); }

    std::array<sock_filter, kMaxInstructions> m_steps{};
    size_t m_length = 0;
};

}  // namespace

void AttachFilter(int socket, const DatagramRule& rule) {
    Program(rule).Attach(socket);
}

}  // namespace brenholt
