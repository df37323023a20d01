// The search dialog: which panel the link is to talk to.
#ifndef BRENHOLT_DIALOGS_DLG_SEARCH_TG_H
#define BRENHOLT_DIALOGS_DLG_SEARCH_TG_H

#include <cstdint>
#include <string>

#include "dialogs/unit_rows.h"
#include "platform/window/dialog.h"

namespace brenholt {

class CTvUdp;

// Merges the panels heard ("Auto") and the addresses of the user's list ("Manual"). Set m_pLink and
// m_strIp, then call DoModal: with IDOK m_strIp, m_strProject, m_wVersion and m_wCpu describe the
// chosen row; otherwise they are meaningless. The rows follow the listener only on Refresh.
class CDlgSearchTg : public CDialog {
 public:
    CDlgSearchTg();

    CListCtrl m_ctrlList;
    std::u16string m_strNote;
    CTvUdp* m_pLink = nullptr;  // not owned
    std::u16string m_strIp = u"192.168.0.1";
    std::u16string m_strProject;
    uint16_t m_wVersion = 0;  // hundredths
    uint16_t m_wCpu = 0;      // kCpuArm or kCpuX86

 protected:
    std::span<const MessageMapEntry> GetMessageMap() const override;
    void DoDataExchange(CDataExchange* pDX) override;
    void OnInitDialog() override;
    void OnOK() override;

 private:
    void OnRefresh();
    void OnInsert();
    void OnTest();
    void OnDblclkList() {}  // neither chooses nor tests
    void OnItemchangedList();
    void OnDelete();
    void OnDestroy() { m_rows.Destroy(); }

    void RefreshList();
    // Adds a row for `unit`, and with `manual` 1 an entry in the user's list, unless its address
    // has a row already.
    void AddUnitRow(const CTavrinUnit* unit, int manual);

    UnitRows m_rows{m_ctrlList};
};

}  // namespace brenholt

#endif
