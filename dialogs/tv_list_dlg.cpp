#include "dialogs/tv_list_dlg.h"

#include "dialogs/resources.h"
#include "discovery/tv_ping.h"

namespace brenholt {

CTvListDlg::CTvListDlg(CTvPing* ping) : CDialog(kPickerTemplate), m_pPing(ping) {
}

std::span<const CDialog::MessageMapEntry> CTvListDlg::GetMessageMap() const {
    using Member = void (CDialog::*)();
    static constexpr MessageMapEntry kMap[] = {
        {WM_COMMAND, BN_CLICKED, IDC_PICKER_REFRESH, static_cast<Member>(&CTvListDlg::OnRefresh)},
        {WM_CLOSE, 0, 0, static_cast<Member>(&CTvListDlg::OnClose)},
        {WM_DESTROY, 0, 0, static_cast<Member>(&CTvListDlg::OnDestroy)},
    };
    return kMap;
}

void CTvListDlg::DoDataExchange(CDataExchange* pDX) {
    DDX_Control(pDX, IDC_PICKER_LIST, m_ctrlList);
}

void CTvListDlg::OnInitDialog() {
    CDialog::OnInitDialog();
    SetIcon(m_rows.CreateIcon());
    m_rows.InsertColumn(IDS_IP_ADDR, 100);
    m_rows.InsertColumn(IDS_PROJECT, 100);
    m_rows.InsertColumn(IDS_PORT, 50);
    m_ctrlList.SetEmptyText(u"No panel heard yet. Refresh looks again.");
    RefreshList();
}

void CTvListDlg::RefreshList() {
    m_rows.RemoveAll();
    const CSingleLock lock(m_pPing->m_lock);
    for (const auto& unit : m_pPing->m_listUnits) {
        m_rows.Add(*unit);
    }
}

void CTvListDlg::OnOK() {
    const int row = m_rows.Selected();
    if (row < 0) {
        AfxMessageBox(LoadString(IDS_NONE_CHOSEN), MB_ICONHAND);
        return;
    }
    m_strIp = m_rows.Text(row, kColumnIp);
    m_strProject = m_rows.Text(row, kColumnProject);
    m_nCpu = m_rows.Data(row).nCpu;
    m_nVersion = m_rows.Data(row).nVersion;
    CDialog::OnOK();
}

}  // namespace brenholt
