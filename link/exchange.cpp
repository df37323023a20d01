// BuildHeader, SendPacket, RecvReply and the loop of attempts.
//
// A request: "Cmd=", the token, the first text argument, a NUL, and in some commands a payload. No
// separator is between token and argument. All text is in the system code page.
#include "link/exchange.h"

#include <algorithm>

#include "link/tv_udp.h"
#include "platform/clock.h"
#include "platform/text.h"

namespace brenholt {

SharedWord g_bInRecv{0};

namespace {

constexpr std::string_view kPrefix = "Cmd=";
constexpr size_t kMaxHeaderText = 255;  // bytes, of token and of argument

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

int CTvUdp::SendPacket(int length) {
    const Route route = m_strTargetIp.GetRoute();
    if (route.sendable && length == kHeaderOnly) {
        length = BuildHeader();
    }
    if (!route.sendable || length == 0) {
        return 0;
    }
    SendTo(std::span(m_txBuf).first(static_cast<size_t>(length)), {route.address, kPanelPort});
    return length;
}

void CTvUdp::Cancel() {
    m_bCancel = 1;
    Interrupt();
}

int CTvUdp::RecvReply(Reply& reply, uint64_t untilUs) {
    reply = Reply();
    const InRecv inRecv;
    uint64_t now = GetMicroseconds();
    do {
        if (Interrupted()) {
            return 0;
        }
        const auto waitUs = static_cast<uint32_t>(
            std::min<uint64_t>(untilUs > now ? untilUs - now : 0, UINT32_MAX));
        Endpoint from;
        const int n = ReceiveFrom(std::span(m_rxBuf).first(kMaxDatagram), from, waitUs);
        if (n >= 0) {
            const Route target = m_strTargetIp.GetRoute();
            const bool fromTarget = target.answerable && from.address == target.address;
            const bool fromPort = from.port == kPanelPort;
            if (fromPort && n > 0) {
                m_rxBuf[static_cast<size_t>(n)] = 0;
                reply = Reply(std::span(m_rxBuf).first(static_cast<size_t>(n)));
                if (fromTarget) {
                    return 1;
                }
                m_account.Overhears(from.address, reply);
                reply = Reply();
            }
            // The target speaks, but not as the panel that was asked: an empty datagram from its
            // port or any other from elsewhere ends the wait.
            if (fromTarget && fromPort == (n == 0)) {
                return 0;
            }
        }
        now = GetMicroseconds();
    } while (now < untilUs);
    return 0;
}

std::optional<Verdict> CTvUdp::Attempt(int length, const Judge& judge, Reply& reply) {
    auto doubt = ReplyAccount::Doubt::SendAgain;
    while (doubt == ReplyAccount::Doubt::SendAgain) {
        const int sent = SendPacket(length);
        if (sent == 0) {
            return Verdict::Failed;
        }
        m_account.Sent(std::span(m_txBuf).first(static_cast<size_t>(sent)));
        const uint64_t endUs = GetMicroseconds() + TimeoutUs() + 1;
        doubt = ReplyAccount::Doubt::WaitOn;
        while (doubt == ReplyAccount::Doubt::WaitOn) {
            const uint64_t untilUs = std::min(m_account.SettleAt().value_or(endUs), endUs);
            if (GetMicroseconds() < untilUs && RecvReply(reply, untilUs) != 0) {
                const Verdict verdict = judge(reply);
                if (m_account.Believes(reply,
                                       verdict == Verdict::Done || verdict == Verdict::Failed)) {
                    return verdict;
                }
            } else if (Interrupted() || !m_account.SettleAt()) {
                return std::nullopt;
            } else {
                doubt = m_account.Settle();
            }
        }
    }
    reply = m_account.Kept();
    return judge(reply);
}

Outcome CTvUdp::Exchange(int length, const ExchangeRules& rules, const Judge& judge, Reply& reply) {
    // Ends in the account on every way out, an exception's too.
    struct Request {
        ReplyAccount& account;
        const Reply* answer = nullptr;
        ~Request() { account.End(answer); }
    } request{m_account};
    m_account.Begin(m_strTargetIp.GetRoute().address, rules.replies, TimeoutUs());
    for (int attempt = 0; attempt < m_nRetries && !Interrupted(); ++attempt) {
        if (rules.paced) {
            Sleep(static_cast<uint32_t>(m_nPaceMs.load()));
        }
        const std::optional<Verdict> verdict = Attempt(length, judge, reply);
        if (verdict == Verdict::Done || verdict == Verdict::Failed) {
            request.answer = &reply;
            return verdict == Verdict::Done ? Outcome::Done : Outcome::Refused;
        }
        if (verdict != Verdict::Unread) {
            RaisePace(verdict ? rules.onAgain : rules.onSilence);
        }
    }
    return Outcome::Failed;
}

bool CTvUdp::EndsInStep() {
    Reply reply;
    while (m_account.MayBeOutOfStep() && RecvReply(reply, m_account.ListenUntil()) != 0) {
        if (m_account.IsStray(reply)) {
            return false;
        }
    }
    return true;
}

void CTvUdp::AwaitOwed() {
    m_bStopAtBegin = 1;
    const uint64_t latestUs = GetMicroseconds() + 2 * TimeoutUs();
    const auto untilUs = [&] { return std::min(m_account.OwedUntil(), latestUs); };
    Reply reply;
    while (GetMicroseconds() < untilUs() && m_bCancel == 0) {
        if (RecvReply(reply, untilUs()) != 0) {
            m_account.Overhears(m_strTargetIp.GetRoute().address, reply);
        }
    }
}

void CTvUdp::RaisePace(PaceRule rule) {
    if (m_nPaceMs < rule.below) {
        m_nPaceMs = m_nPaceMs + rule.step;
    }
}

}  // namespace brenholt
