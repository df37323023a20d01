// VS and IP: what the panel says about itself, as text at fixed positions.
//
//    VS reply: 0-2 anything, 3-6, 7-10 and 11-14 one hexadecimal word each
//    IP reply: 0-1 "IP", 3-5 "ARM" or "X86", 7-10 version in hundredths, decimal, 12- project
// Positions count characters.
#include <array>

#include "commands/reply_words.h"
#include "link/command_run.h"
#include "link/tv_udp.h"
#include "platform/text.h"

namespace brenholt {
namespace {

constexpr size_t kFirstWord = 3;
constexpr size_t kWordChars = 4;
constexpr size_t kVersionReplyChars = kFirstWord + 3 * kWordChars;

constexpr size_t kKindAt = 3;
constexpr size_t kKindChars = 3;
constexpr size_t kVersionAt = 7;
constexpr size_t kProjectAt = 12;

constexpr int kIdentityRetries = 2;
constexpr int kIdentityTimeoutMs = 1000;

// Makes another address the target for a while, with settings of its own.
class TargetOnLoan {
 public:
    TargetOnLoan(CTvUdp& link, std::u16string_view address)
        : m_link(link), m_nRetries(link.m_nRetries), m_nTimeoutMs(link.m_nTimeoutMs) {
        const CSingleLock lock(m_link.m_lock);
        m_link.m_strTargetIp.Lend(address);
        m_link.m_nRetries = kIdentityRetries;
        m_link.m_nTimeoutMs = kIdentityTimeoutMs;
    }
    ~TargetOnLoan() {
        const CSingleLock lock(m_link.m_lock);
        m_link.m_strTargetIp.GiveBack();
        m_link.m_nRetries = m_nRetries;
        m_link.m_nTimeoutMs = m_nTimeoutMs;
    }
    TargetOnLoan(const TargetOnLoan&) = delete;
    TargetOnLoan& operator=(const TargetOnLoan&) = delete;

 private:
    CTvUdp& m_link;
    int m_nRetries;
    int m_nTimeoutMs;
};

}  // namespace

int CTvUdp::CmdVS(uint16_t* a, uint16_t* b, uint16_t* c, int async) {
    if (const std::optional<int> early = Enter(u"VS", async, nullptr, nullptr, 0, a, b, c)) {
        return *early;
    }
    CommandRun run(*this);
    Reply reply;
    const Outcome outcome = Exchange(
        kHeaderOnly, {kText},
        [](const Reply& r) {
            return Is(r, kNak) || r.Text().size() < kVersionReplyChars ? Verdict::Failed
                                                                       : Verdict::Done;
        },
        reply);
    if (outcome != Outcome::Done) {
        return run.End(0);
    }
    const std::u16string text = reply.Text();
    size_t at = kFirstWord;
    for (uint16_t* word : {a, b, c}) {
        if (word != nullptr) {
            *word = static_cast<uint16_t>(wcstoul(text.substr(at, kWordChars), 16));
        }
        at += kWordChars;
    }
    return run.End(1);
}

int CTvUdp::CmdIP(const char16_t* address, int /*async*/, std::u16string& project,
                  uint16_t* version, uint16_t* cpu) {
    if (address == nullptr || *address == u'\0') {
        return 0;
    }
    // The caller's address may be the target's own text.
    const std::u16string asked(address);
    BeginCommand(u"IP", 0, u"", nullptr, 0, nullptr, nullptr, nullptr);
    CommandRun run(*this);
    const TargetOnLoan loan(*this, asked);
    Reply reply;
    const Outcome outcome = Exchange(
        kHeaderOnly, {kText},
        [](const Reply& r) {
            const std::u16string text = r.Text();
            if (Is(r, kNak) || text.size() < kProjectAt) {
                return Verdict::Failed;
            }
            if (!text.starts_with(u"IP")) {
                return Verdict::Again;
            }
            const std::u16string kind = text.substr(kKindAt, kKindChars);
            return kind == u"ARM" || kind == u"X86" ? Verdict::Done : Verdict::Failed;
        },
        reply);
    if (outcome != Outcome::Done) {
        return run.End(0);
    }
    const std::u16string text = reply.Text();
    *cpu = text[kKindAt] == u'A' ? kCpuArm : kCpuX86;
    *version = static_cast<uint16_t>(wcstoul(text.substr(kVersionAt, kWordChars), 10));
    project = text.substr(kProjectAt);
    return run.End(1);
}

}  // namespace brenholt
