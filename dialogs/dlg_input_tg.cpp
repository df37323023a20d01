#include "dialogs/dlg_input_tg.h"

#include "dialogs/resources.h"
#include "dialogs/text_format.h"
#include "link/tv_udp.h"
#include "platform/address.h"
#include "platform/text.h"
#include "platform/window/shown_text.h"

namespace brenholt {

CDlgInputTg::CDlgInputTg() : CDialog(kTargetTemplate) {
}

std::span<const CDialog::MessageMapEntry> CDlgInputTg::GetMessageMap() const {
    using Member = void (CDialog::*)();
    static constexpr MessageMapEntry kMap[] = {
        {WM_COMMAND, BN_CLICKED, IDC_TARGET_CONNECT, static_cast<Member>(&CDlgInputTg::OnConnect)},
        {WM_NOTIFY, IPN_FIELDCHANGED, IDC_TARGET_IP,
         static_cast<Member>(&CDlgInputTg::OnFieldchangedIp)},
    };
    return kMap;
}

void CDlgInputTg::DoDataExchange(CDataExchange* pDX) {
    DDX_Control(pDX, IDC_TARGET_IP, m_ctrlIp);
    DDX_Text(pDX, IDC_TARGET_NOTE, m_strNote);
}

void CDlgInputTg::OnInitDialog() {
    CDialog::OnInitDialog();
    // Text that is no address shows as 255.255.255.255.
    m_ctrlIp.SetAddress(AddressNumber(inet_addr(WideCharToMultiByte(m_strIp))));
}

std::u16string CDlgInputTg::ShownAddress() const {
    std::array<uint8_t, 4> fields{};
    m_ctrlIp.GetAddress(fields);
    return FormatAddress(fields);
}

void CDlgInputTg::OnConnect() {
    if (m_pLink == nullptr) {
        return;
    }
    std::u16string project;
    uint16_t version = 0;
    uint16_t cpu = UINT16_MAX;
    const std::u16string address = ShownAddress();
    const CWaitCursor busy;
    if (m_pLink->CmdIP(address.c_str(), 0, project, &version, &cpu) != 0) {
        m_strIp = address;
        m_strProject = project;
        m_nVersion = version;
        m_nCpu = cpu;
        m_strNote = u"IP : " + m_strIp + u"\r\nProject : " + ShownOnOneLine(m_strProject) +
                    u"\r\nBren Version : " + FormatVersion(m_nVersion);
        m_bIpChanged = 0;
    } else {
        m_bIpChanged = 1;
        m_strNote = u"Not found target Tavrin!";
    }
    UpdateData(0);
}

void CDlgInputTg::OnOK() {
    UpdateData(1);
    if (m_bIpChanged != 0) {
        m_strIp = ShownAddress();
        m_strProject.clear();
        m_nCpu = kCpuUnknown;
        m_nVersion = 0;
    }
    CDialog::OnOK();
}

}  // namespace brenholt
