// BuildHeader, SendPacket, RecvReply and the loop of attempts.
//
// A request: "Cmd=", the token, the first text argument, a NUL, and in some commands a payload. No
// separator stands between token and argument. All text is in the system code page.
#include "link/exchange.h"

#include <algorithm>
#include <cstring>

#include "link/tv_udp.h"
#include "platform/clock.h"
#include "platform/text.h"

namespace brenholt {

SharedWord g_bInRecv{0};

namespace {

constexpr std::string_view kPrefix = "Cmd=";
constexpr size_t kMaxHeaderText = 255;  // bytes, of token and of argument

// A silent wait looks for a cancel this often.
constexpr uint32_t kWaitSliceMs = 1;

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

int CTvUdp::RecvReply(Reply& reply, uint32_t start) {
    reply = Reply();
    const InRecv inRecv;
    while (m_bCancel == 0) {
        const uint32_t waited = GetTickCount() - start;
        const auto timeout = static_cast<uint32_t>(m_nTimeoutMs.load());
        sockaddr_in from{};
        const int n = ReceiveFrom(std::span(m_rxBuf).first(kMaxDatagram), from,
                                  waited <= timeout ? kWaitSliceMs : 0);
        if (n >= 0) {
            const Route target = m_strTargetIp.GetRoute();
            const bool fromTarget = target.answerable && from.sin_addr.s_addr == target.address;
            const bool fromPort = ntohs(from.sin_port) == kPanelPort;
            if (fromTarget && fromPort && n > 0) {
                m_rxBuf[static_cast<size_t>(n)] = 0;
                reply = Reply(std::span(m_rxBuf).first(static_cast<size_t>(n)));
                return 1;
            }
            // The target speaks, but not as the panel that was asked: an empty datagram from its port
            // or any other from elsewhere ends the wait.
            if (fromTarget && fromPort == (n == 0)) {
                return 0;
            }
        }
        if (GetTickCount() - start > timeout) {
            return 0;
        }
    }
    return 0;
}

Outcome CTvUdp::Exchange(int length, const ExchangeRules& rules, Judge& judge) {
    for (int attempt = 0; attempt < m_nRetries && !Interrupted();) {
        if (rules.paced) {
            Sleep(static_cast<uint32_t>(m_nPaceMs.load()));
        }
        if (!SendPacket(length)) {
            return Outcome::Failed;
        }
        judge.OnSend(attempt);
        const uint32_t start = GetTickCount();
        Reply reply;
        Verdict verdict = Verdict::Wait;
        while (verdict == Verdict::Wait && RecvReply(reply, start) != 0) {
            verdict = judge.OnReply(reply);
        }
        PaceRule rule = rules.onAgain;
        if (verdict == Verdict::Wait) {
            verdict = Interrupted() ? Verdict::Again : judge.OnSilence();
            rule = rules.onSilence;
        }
        if (verdict == Verdict::Done || verdict == Verdict::Failed) {
            return verdict == Verdict::Done ? Outcome::Done : Outcome::Failed;
        }
        ++attempt;
        if (verdict == Verdict::Again) {
            RaisePace(rule);
        }
    }
    return Outcome::Failed;
}

void CTvUdp::RaisePace(PaceRule rule) {
    if (m_nPaceMs < rule.below) {
        m_nPaceMs = m_nPaceMs + rule.step;
    }
}

}  // namespace brenholt
