// Opens the search dialog.
#include "dialogs/dlg_search_tg.h"
#include "link/tv_udp.h"

namespace brenholt {
namespace {

// Held by the one call that may be under way.
class Turn {
 public:
    explicit Turn(SharedWord& taken) : m_taken(taken), m_ours(taken.exchange(1) == 0) {}
    ~Turn() {
        if (m_ours) {
            m_taken = 0;
        }
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    bool IsOurs() const { return m_ours; }

 private:
    SharedWord& m_taken;
    bool m_ours;
};

}  // namespace

int CTvUdp::SelectTarget(int /*reserved*/) {
    // The list of an open dialog must not change under it.
    const Turn turn(m_bSelecting);
    if (m_bStopped != 0 || !turn.IsOurs()) {
        return 0;
    }
    LoadUserUnits();
    LoadAdapters();
    CDlgSearchTg dialog;
    dialog.m_pLink = this;
    dialog.m_strIp = m_strTargetIp.c_str();
    if (dialog.DoModal() != IDOK) {
        return 0;
    }
    Adopt(dialog.m_strIp, dialog.m_strProject, dialog.m_wCpu, dialog.m_wVersion);
    return 1;
}

}  // namespace brenholt
