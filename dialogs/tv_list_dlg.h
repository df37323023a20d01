// The panel picker: one of the panels that the listener heard.
#ifndef BRENHOLT_DIALOGS_TV_LIST_DLG_H
#define BRENHOLT_DIALOGS_TV_LIST_DLG_H

#include <cstdint>
#include <string>

#include "dialogs/list_ctrl_ex.h"
#include "dialogs/unit_rows.h"
#include "platform/window/dialog.h"

namespace brenholt {

class CTvPing;

// With IDOK from DoModal, m_strIp, m_strProject, m_nCpu (kCpuUnknown included) and m_nVersion
// describe the chosen row. The rows follow the listener only on Refresh.
class CTvListDlg : public CDialog {
 public:
    explicit CTvListDlg(CTvPing* ping);

    CListCtrlEx m_ctrlList;
    std::u16string m_strIp;
    std::u16string m_strProject;
    int32_t m_nCpu = kCpuUnknown;
    int32_t m_nVersion = 0;  // hundredths
    CTvPing* m_pPing;        // not owned

 protected:
    std::span<const MessageMapEntry> GetMessageMap() const override;
    void DoDataExchange(CDataExchange* pDX) override;
    void OnInitDialog() override;
    void OnOK() override;

 private:
    void OnRefresh() { RefreshList(); }
    void OnClose() { CDialog::OnClose(); }
    void OnDestroy() { m_rows.Destroy(); }

    void RefreshList();

    UnitRows m_rows{m_ctrlList};
};

}  // namespace brenholt

#endif
