// The one-deep slot through which a command passes from the host to the worker.
#include <array>
#include <utility>

#include "link/tv_udp.h"
#include "platform/text.h"

namespace brenholt {
namespace {

template <class T>
T* Pointer(void* p) {
    return static_cast<T*>(p);
}

struct Handler {
    std::u16string_view token;
    int (*run)(CTvUdp& link, const CommandSlot& slot);
};

// The posted commands, in the order in which they are compared.
constexpr std::array<Handler, 13> kHandlers{{
    {u"TM", [](CTvUdp& link, const CommandSlot&) { return link.CmdTM(0); }},
    {u"EX", [](CTvUdp& link, const CommandSlot& s) { return link.CmdEX(s.m_strArg1.c_str(), 0); }},
    {u"CL", [](CTvUdp& link, const CommandSlot& s) { return link.CmdCL(s.m_strArg1.c_str(), 0); }},
    {u"DR0",
     [](CTvUdp& link, const CommandSlot& s) {
         return link.CmdDR(s.m_strArg1.c_str(), s.m_nArg, Pointer<PanelDirEntry>(s.m_pArg1), 0);
     }},
    {u"DL0",
     [](CTvUdp& link, const CommandSlot& s) {
         return link.CmdDL(s.m_strArg2.c_str(), s.m_strArg1.c_str(), 0);
     }},
    {u"RM", [](CTvUdp& link, const CommandSlot& s) { return link.CmdRM(s.m_strArg1.c_str(), 0); }},
    {u"UP00000000",
     [](CTvUdp& link, const CommandSlot& s) {
         return link.CmdUP(s.m_strArg1.c_str(), s.m_strArg2.c_str(), 0);
     }},
    {u"FF",
     [](CTvUdp& link, const CommandSlot& s) { return link.CmdFile(s.m_strArg1.c_str(), 1, 0); }},
    {u"FD",
     [](CTvUdp& link, const CommandSlot& s) { return link.CmdFile(s.m_strArg1.c_str(), 0, 0); }},
    {u"MD", [](CTvUdp& link, const CommandSlot& s) { return link.CmdMD(s.m_strArg1.c_str(), 0); }},
    {u"ML0+",
     [](CTvUdp& link, const CommandSlot& s) {
         return link.CmdML(Pointer<const uint8_t>(s.m_pArg1), s.m_nArg, s.m_strArg1.c_str(), 0);
     }},
    {u"VS",
     [](CTvUdp& link, const CommandSlot& s) {
         return link.CmdVS(Pointer<uint16_t>(s.m_pArg1), Pointer<uint16_t>(s.m_pArg2),
                           Pointer<uint16_t>(s.m_pArg3), 0);
     }},
    {u"GF",
     [](CTvUdp& link, const CommandSlot& s) {
         return link.CmdGF(s.m_strArg1.c_str(), s.m_strArg2.c_str(), 0);
     }},
}};

std::u16string TextOrEmpty(const char16_t* text) {
    return text != nullptr ? text : u"";
}

}  // namespace

void CTvUdp::BeginCommand(std::u16string_view token, int posted, const char16_t* arg1,
                          const char16_t* arg2, int nArg, void* p1, void* p2, void* p3) {
    // Filled before the old contents go, as the texts may be the slot's own.
    CommandSlot slot{MakeUpper(token), TextOrEmpty(arg1), TextOrEmpty(arg2), nArg, p1, p2, p3};
    const CSingleLock lock(m_lock);
    // A step of a composite begins while its command runs: only the command itself takes note.
    if (m_bBusy == 0 || m_bPosted != 0) {
        m_bStopAtBegin = m_bStop.load();
    }
    std::swap(m_slot, slot);
    m_nResult = 0;
    m_bBusy = 1;
    m_bCancel = 0;
    m_bPosted = posted;
}

void CTvUdp::EndCommand(int result) {
    const CSingleLock lock(m_lock);
    if (m_bPosted != 0) {
        return;
    }
    m_nResult = result;
    m_slot.m_strCmd.clear();
    m_bCancel = 0;
    m_bBusy = 0;
}

std::optional<int> CTvUdp::Enter(std::u16string_view token, int async, const char16_t* arg1,
                                 const char16_t* arg2, int nArg, void* p1, void* p2, void* p3) {
    if (!m_strTargetIp.GetRoute().given) {
        return 0;
    }
    BeginCommand(token, async, arg1, arg2, nArg, p1, p2, p3);
    if (async == 0) {
        return std::nullopt;
    }
    WakeWorker();
    return 1;
}

void CTvUdp::WakeWorker() {
    if (m_bPosted != 0) {
        m_work.SetEvent();
    }
}

unsigned CTvUdp::ServiceThread(void* link) {
    auto* self = static_cast<CTvUdp*>(link);
    return self->RunPasses(
        // What was posted before the stop still runs.
        [self] { return self->ServiceOnce() != 0 && self->m_bPosted == 0 ? 1 : 0; },
        [self] { self->m_work.Wait(); });
}

int CTvUdp::ServiceOnce() {
    // In this order: what is posted while another runs finds that one running.
    if (m_bPosted == 0 || g_bInRecv != 0 || m_bRunning != 0) {
        return m_bStop;
    }
    CommandSlot slot;
    {
        const CSingleLock lock(m_lock);
        slot = std::exchange(m_slot, {});
    }
    try {
        for (const Handler& handler : kHandlers) {
            if (handler.token == slot.m_strCmd) {
                handler.run(*this, slot);
                break;
            }
        }
    } catch (...) {
        // Out of memory: the command has failed.
    }
    bool left;
    {
        // No handler has taken it over, for want of memory or of a target.
        const CSingleLock lock(m_lock);
        left = m_bPosted != 0 && m_slot.m_strCmd.empty();
        if (left) {
            m_bPosted = 0;
        }
    }
    if (left) {
        EndCommand(0);
    }
    return m_bStop;
}

}  // namespace brenholt
