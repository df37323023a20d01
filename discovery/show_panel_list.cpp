// Opens the panel picker.
#include "dialogs/resources.h"
#include "dialogs/text_format.h"
#include "dialogs/tv_list_dlg.h"
#include "discovery/tv_ping.h"

namespace brenholt {

int CTvPing::ShowPanelList() {
    if (m_bStopped != 0) {
        return 0;
    }
    CTvListDlg dialog(this);
    if (dialog.DoModal() == IDOK) {
        m_strSelIp = dialog.m_strIp;
        m_strSelProject = dialog.m_strProject;
        m_nSelCpu = dialog.m_nCpu;
        m_nSelVersion = dialog.m_nVersion;
        AfxMessageBox(FormatTexts(LoadString(IDS_TARGET_CHANGES), {m_strSelIp, m_strSelProject}),
                      MB_ICONINFORMATION);
    }
    const CSingleLock lock(m_lock);
    return static_cast<int>(m_listUnits.size());
}

}  // namespace brenholt
