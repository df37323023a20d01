// The target: the discovered panels for the host, and the choice of one by its address.
#include "link/tv_udp.h"
#include "platform/clock.h"

namespace brenholt {
namespace {

// How long a running command has to notice its cancel before its target changes.
constexpr uint32_t kCancelGraceMs = 1000;

}  // namespace

int CTvUdp::GetUnits(int nMaxRows, uint8_t* rows) {
    return m_ping.CopyUnits(nMaxRows, rows);
}

int CTvUdp::UseUnit(const char16_t* ip) {
    if (m_bBusy != 0) {
        Cancel();
        Sleep(kCancelGraceMs);
    }
    if (ip == nullptr || m_ping.SelectUnit(ip) == 0) {
        return 0;
    }
    Adopt(m_ping.m_strSelIp, m_ping.m_strSelProject, m_ping.m_nSelCpu, m_ping.m_nSelVersion);
    return 1;
}

void CTvUdp::Adopt(std::u16string_view ip, std::u16string_view project, int32_t cpu,
                   int32_t version) {
    const CSingleLock lock(m_lock);
    m_strProject = project;
    m_strTargetIp.Set(ip);
    m_nTargetCpu = cpu;
    m_nTargetVersion = version;
}

}  // namespace brenholt
