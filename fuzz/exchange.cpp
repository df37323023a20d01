// The commands of one exchange, queries among them. Byte 0: which; then replies.
#include "fuzz/fuzzed_panel.h"

using namespace brenholt;

namespace {

void AskVersion(CTvUdp& link) {
    uint16_t words[3] = {7, 7, 7};
    if (link.CmdVS(&words[0], nullptr, &words[2], 0) == 0) {
        Require(words[0] == 7 && words[2] == 7, "a failed query leaves the words alone");
    }
    Require(words[1] == 7, "a null pointer is left out");
}

void AskIdentity(CTvUdp& link) {
    const std::u16string before = link.m_strTargetIp.c_str();
    std::u16string project = u"untouched";
    uint16_t version = 7;
    uint16_t cpu = 7;
    if (link.CmdIP(u"192.168.0.1", 0, project, &version, &cpu) == 0) {
        Require(project == u"untouched" && version == 7 && cpu == 7,
                "a failed query leaves the outputs alone");
    } else {
        Require(cpu <= 1, "an identity has a known processor");
    }
    Require(link.m_strTargetIp.c_str() == before && link.m_nRetries == 2 && link.m_nTimeoutMs == 40,
            "target and settings are put back");
}

void SendText(CTvUdp& link, unsigned which) {
    const int result = which == 0   ? link.CmdTM(0)
                       : which == 1 ? link.CmdEX(u"text", 0)
                       : which == 2 ? link.CmdCL(u"text", 0)
                       : which == 3 ? link.CmdRM(u"text", 0)
                       : which == 4 ? link.CmdMD(u"text", 0)
                                    : link.CmdFile(u"text", which == 5, 0);
    Require(result == 0 || result == 1, "a command gives 0 or 1");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput input(data, size);
    const unsigned which = input.Byte() % 9U;
    FuzzedPanel panel(input);
    which == 8   ? AskVersion(panel.link)
    : which == 7 ? AskIdentity(panel.link)
                 : SendText(panel.link, which);
    Require(panel.requests >= 1 && panel.requests <= 2, "no more datagrams than attempts");
    return 0;
}
