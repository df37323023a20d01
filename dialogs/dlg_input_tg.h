// The target IP dialog: an address, and who answers there.
#ifndef BRENHOLT_DIALOGS_DLG_INPUT_TG_H
#define BRENHOLT_DIALOGS_DLG_INPUT_TG_H

#include <cstdint>
#include <string>

#include "discovery/tavrin_unit.h"
#include "platform/window/controls.h"
#include "platform/window/dialog.h"

namespace brenholt {

class CTvUdp;

// Set m_pLink and m_strIp (the address shown at first), then call DoModal: with IDOK the four
// out-fields are the answer, whether or not a panel confirmed it; an address that none did has no
// project, version 0 and an unknown processor kind.
class CDlgInputTg : public CDialog {
 public:
    CDlgInputTg();

    CIPAddressCtrl m_ctrlIp;
    std::u16string m_strNote;
    int32_t m_bIpChanged = 1;   // 0 only while the out-fields hold what the shown address answered
    CTvUdp* m_pLink = nullptr;  // not owned
    std::u16string m_strIp = u"192.168.0.1";
    std::u16string m_strProject;
    int32_t m_nVersion = 0;  // hundredths
    int32_t m_nCpu = kCpuUnknown;

 protected:
    std::span<const MessageMapEntry> GetMessageMap() const override;
    void DoDataExchange(CDataExchange* pDX) override;
    void OnInitDialog() override;
    void OnOK() override;

 private:
    void OnConnect();
    void OnFieldchangedIp() { m_bIpChanged = 1; }

    std::u16string ShownAddress() const;
};

}  // namespace brenholt

#endif
