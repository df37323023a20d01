// The door to the search dialog.
#include "dialogs/dlg_search_tg.h"
#include "link/tv_udp.h"

namespace brenholt {

int CTvUdp::SelectTarget(int /*reserved*/) {
    if (m_bStopped != 0) {
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
