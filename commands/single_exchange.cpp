// TM, EX, CL, RM, MD, FF and FD: one datagram, settled by one reply.
#include "commands/reply_words.h"
#include "link/command_run.h"
#include "link/tv_udp.h"

namespace brenholt {

int CTvUdp::RunText(std::u16string_view token, const char16_t* arg, int async, bool needsAck) {
    if (const std::optional<int> early = Enter(token, async, arg)) {
        return *early;
    }
    CommandRun run(*this);
    Reply reply;
    const Outcome outcome = Exchange(
        kHeaderOnly, {kWordOnce},
        [needsAck](const Reply& r) {
            return !needsAck || Is(r, kAck) ? Verdict::Done : Verdict::Failed;
        },
        reply);
    return run.End(outcome == Outcome::Done ? 1 : 0);
}

int CTvUdp::CmdTM(int async) {
    return RunText(u"TM", nullptr, async, false);
}
int CTvUdp::CmdEX(const char16_t* arg, int async) {
    return RunText(u"EX", arg, async, false);
}
int CTvUdp::CmdCL(const char16_t* arg, int async) {
    return RunText(u"CL", arg, async, false);
}
int CTvUdp::CmdRM(const char16_t* arg, int async) {
    return RunText(u"RM", arg, async, true);
}
int CTvUdp::CmdMD(const char16_t* arg, int async) {
    return RunText(u"MD", arg, async, true);
}
int CTvUdp::CmdFile(const char16_t* arg, int bFF, int async) {
    return RunText(bFF != 0 ? u"FF" : u"FD", arg, async, true);
}

}  // namespace brenholt
