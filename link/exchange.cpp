// BuildHeader, SendPacket, RecvReply and the loop of attempts.
//
// A request: "Cmd=", the token, the first text argument, a NUL, and in some commands a payload. No
// separator stands between token and argument. All text is in the system code page.
#include "link/exchange.h"

#include <algorithm>
#include <functional>

#include "link/tv_udp.h"
#include "platform/clock.h"
#include "platform/text.h"

namespace brenholt {

SharedWord g_bInRecv{0};

uint64_t Judge::Key(const Reply& reply) const {
    const std::span<const uint8_t> bytes = reply.Datagram();
    return std::hash<std::string_view>{}(
        {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

namespace {

constexpr std::string_view kPrefix = "Cmd=";
constexpr size_t kMaxHeaderText = 255;  // bytes, of token and of argument

// A cancel interrupts the wait. It is looked for this often besides, should there have been no
// descriptor left to interrupt it by.
constexpr uint32_t kWaitSliceMs = 10;
// The tick that ends the wait may come at any time within the last millisecond.
constexpr uint32_t kLastSliceUs = 250;

uint32_t SliceUs(uint32_t leftMs) {
    return leftMs > 1 ? std::min(leftMs - 1, kWaitSliceMs) * 1000 : leftMs * kLastSliceUs;
}

class InRecv {
 public:
    InRecv() { g_bInRecv = 1; }
    ~InRecv() { g_bInRecv = 0; }
    InRecv(const InRecv&) = delete;
    InRecv& operator=(const InRecv&) = delete;
};

}  // namespace

int CTvUdp::BuildHeader() {
    std::string token;
    std::string arg;
    {
        const CSingleLock lock(m_lock);
        token = WideCharToMultiByte(m_slot.m_strCmd);
        arg = WideCharToMultiByte(m_slot.m_strArg1);
    }
    if (token.size() > kMaxHeaderText || arg.size() > kMaxHeaderText) {
        return 0;
    }
    auto end = std::copy(kPrefix.begin(), kPrefix.end(), m_txBuf.begin());
    end = std::copy(token.begin(), token.end(), end);
    end = std::copy(arg.begin(), arg.end(), end);
    *end++ = 0;
    return static_cast<int>(end - m_txBuf.begin());
}

bool CTvUdp::SendPacket(int length) {
    const Route route = m_strTargetIp.GetRoute();
    if (!route.sendable) {
        return false;
    }
    if (length < 0) {
        length = BuildHeader();
    }
    if (length == 0) {
        return false;
    }
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(kPanelPort);
    to.sin_addr.s_addr = route.address;
    SendTo(std::span(m_txBuf).first(static_cast<size_t>(length)), to);
    return true;
}

void CTvUdp::Cancel() {
    m_bCancel = 1;
    Interrupt();
}

int CTvUdp::RecvReply(Reply& reply, uint32_t start, uint32_t timeoutMs) {
    reply = Reply();
    const InRecv inRecv;
    while (m_bCancel == 0) {
        const uint32_t waited = GetTickCount() - start;
        sockaddr_in from{};
        const uint32_t leftMs = waited <= timeoutMs ? timeoutMs - waited + 1 : 0;
        const int n = ReceiveFrom(std::span(m_rxBuf).first(kMaxDatagram), from, SliceUs(leftMs));
        if (n >= 0) {
            const Route target = m_strTargetIp.GetRoute();
            const bool fromTarget = target.answerable && from.sin_addr.s_addr == target.address;
            const bool fromPort = ntohs(from.sin_port) == kPanelPort;
            if (fromTarget && fromPort && n > 0) {
                m_rxBuf[static_cast<size_t>(n)] = 0;
                reply = Reply(std::span(m_rxBuf).first(static_cast<size_t>(n)));
                return 1;
            }
            // The target speaks, but not as the panel that was asked: an empty datagram from its
            // port or any other from elsewhere ends the wait.
            if (fromTarget && fromPort == (n == 0)) {
                return 0;
            }
        }
        if (GetTickCount() - start > timeoutMs) {
            return 0;
        }
    }
    return 0;
}

Outcome CTvUdp::Exchange(int length, const ExchangeRules& rules, Judge& judge) {
    // Sends that brought nothing: told to the next exchange however this one ends, by an exception
    // too.
    struct Unanswered {
        CTvUdp& link;
        int count = 0;
        uint32_t start = 0;
        ~Unanswered() {
            if (count > 0) {
                link.m_stale.GivenUp(count, start, link.StaleLifetimeMs());
            }
        }
    } silent{*this};
    for (int attempt = 0; attempt < m_nRetries && !Interrupted();) {
        if (rules.paced) {
            Sleep(static_cast<uint32_t>(m_nPaceMs.load()));
        }
        if (!SendPacket(length)) {
            return Outcome::Failed;
        }
        const uint32_t start = GetTickCount();
        silent.start = start;
        ++silent.count;
        judge.OnSend(attempt);
        const auto timeout = static_cast<uint32_t>(m_nTimeoutMs.load());
        Reply reply;
        Verdict verdict = Verdict::Wait;
        while (verdict == Verdict::Wait &&
               RecvReply(reply, start, judge.WaitMs(start, timeout)) != 0) {
            verdict = judge.OnReply(reply);
        }
        PaceRule rule = rules.onAgain;
        if (verdict == Verdict::Wait) {
            rule = rules.onSilence;
            verdict = Interrupted() ? Verdict::Again : judge.OnSilence(reply);
        } else {
            --silent.count;
        }
        if (verdict == Verdict::Done || verdict == Verdict::Failed) {
            // Of the earlier sends, also those whose answer was no use: it may have been another's.
            const uint32_t answerMs = GetTickCount() - start;
            if (attempt == 0) {
                m_nAnswerMsX8 += answerMs - m_nAnswerMsX8 / 8;
            } else {
                NoteSettledLate(judge.Key(reply), attempt, answerMs);
            }
            silent.count = 0;
            return verdict == Verdict::Done ? Outcome::Done : Outcome::Failed;
        }
        ++attempt;
        if (verdict == Verdict::Again) {
            RaisePace(rule);
        }
    }
    return Outcome::Failed;
}

void CTvUdp::NoteSettledLate(uint64_t key, int resends, uint32_t answerMs) {
    constexpr uint32_t kPromptFactor = 4;
    constexpr uint32_t kPromptSlackMs = 5;
    const bool prompt = answerMs <= kPromptFactor * AnswerMs() + kPromptSlackMs;
    m_stale.Settled(key, resends, prompt, StaleLifetimeMs());
}

uint32_t CTvUdp::StaleLifetimeMs() const {
    return 3 * static_cast<uint32_t>(m_nTimeoutMs.load());
}

void CTvUdp::RaisePace(PaceRule rule) {
    if (m_nPaceMs < rule.below) {
        m_nPaceMs = m_nPaceMs + rule.step;
    }
}

}  // namespace brenholt
