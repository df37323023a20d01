#include "dialogs/dlg_search_tg.h"

#include "dialogs/dlg_input_tg.h"
#include "dialogs/resources.h"
#include "dialogs/text_format.h"
#include "link/tv_udp.h"
#include "platform/window/shown_text.h"

namespace brenholt {
namespace {

constexpr std::u16string_view kAuto = u"Auto";
constexpr std::u16string_view kManual = u"Manual";
constexpr std::u16string_view kLineEnd = u"\r\n";

constexpr std::u16string_view kNoneHeard =
    u"No panel heard yet. Refresh looks again, Insert adds an address.";
constexpr std::u16string_view kNoneNearby =
    u"No panel of this network heard yet. Insert adds an address.";

// Panels below this version do not know the identity query.
constexpr int32_t kFirstTestable = 111;

}  // namespace

CDlgSearchTg::CDlgSearchTg() : CDialog(kSearchTemplate) {
}

std::span<const CDialog::MessageMapEntry> CDlgSearchTg::GetMessageMap() const {
    using Member = void (CDialog::*)();
    static constexpr MessageMapEntry kMap[] = {
        {WM_COMMAND, BN_CLICKED, IDC_SEARCH_REFRESH, static_cast<Member>(&CDlgSearchTg::OnRefresh)},
        {WM_COMMAND, BN_CLICKED, IDC_SEARCH_INSERT, static_cast<Member>(&CDlgSearchTg::OnInsert)},
        {WM_COMMAND, BN_CLICKED, IDC_SEARCH_TEST, static_cast<Member>(&CDlgSearchTg::OnTest)},
        {WM_NOTIFY, NM_DBLCLK, IDC_SEARCH_LIST, static_cast<Member>(&CDlgSearchTg::OnDblclkList)},
        {WM_NOTIFY, LVN_ITEMCHANGED, IDC_SEARCH_LIST,
         static_cast<Member>(&CDlgSearchTg::OnItemchangedList)},
        {WM_COMMAND, BN_CLICKED, IDC_SEARCH_DELETE, static_cast<Member>(&CDlgSearchTg::OnDelete)},
        {WM_DESTROY, 0, 0, static_cast<Member>(&CDlgSearchTg::OnDestroy)},
    };
    return kMap;
}

void CDlgSearchTg::DoDataExchange(CDataExchange* pDX) {
    DDX_Control(pDX, IDC_SEARCH_LIST, m_ctrlList);
    DDX_Text(pDX, IDC_SEARCH_NOTE, m_strNote);
}

void CDlgSearchTg::OnInitDialog() {
    CDialog::OnInitDialog();
    SetIcon(m_rows.CreateIcon());
    m_rows.InsertColumn(IDS_IP_ADDR, 120);
    m_rows.InsertColumn(IDS_PROJECT, 150);
    m_rows.InsertColumn(IDS_PORT, 50);
    m_rows.InsertColumn(IDS_SEARCH, 70);
    m_ctrlList.SetExtendedStyle(LVS_EX_FULLROWSELECT);
    RefreshList();
}

void CDlgSearchTg::RefreshList() {
    m_rows.RemoveAll();
    if (m_pLink == nullptr) {
        return;
    }
    m_strNote.clear();
    {
        CTvPing& ping = m_pLink->m_ping;
        const CSingleLock lock(ping.m_lock);
        for (const auto& unit : ping.m_listUnits) {
            if (m_pLink->IsSameNetwork(unit->m_strIp.c_str()) != 0) {
                AddUnitRow(unit.get(), 0);
            } else {
                m_strNote.append(u"Different network Tavrin : ")
                    .append(ShownOnOneLine(unit->m_strIp));
                m_strNote.append(u"  ").append(ShownOnOneLine(unit->m_strProject));
                m_strNote.append(kLineEnd);
            }
        }
    }
    m_ctrlList.SetEmptyText(m_strNote.empty() ? kNoneHeard : kNoneNearby);
    for (const auto& unit : m_pLink->m_listUserUnits) {
        AddUnitRow(unit.get(), 1);
    }
    UpdateData(0);
}

void CDlgSearchTg::AddUnitRow(const CTavrinUnit* unit, int manual) {
    if (m_rows.Find(unit->m_strIp) >= 0) {
        return;
    }
    if (manual == 1) {
        m_pLink->AddUserUnit(unit);
    }
    const int row = m_rows.Add(*unit);
    m_ctrlList.SetItemText(row, kColumnSearch, manual == 1 ? kManual : kAuto);
}

void CDlgSearchTg::OnRefresh() {
    if (m_pLink != nullptr) {
        RefreshList();
    }
}

void CDlgSearchTg::OnInsert() {
    if (m_pLink == nullptr) {
        return;
    }
    CDlgInputTg dialog;
    dialog.m_pLink = m_pLink;
    dialog.m_strIp = m_pLink->m_strTargetIp.c_str();
    if (dialog.DoModal() != IDOK) {
        return;
    }
    CTavrinUnit unit(dialog.m_strIp, kUserUnitPort);
    unit.m_strProject = dialog.m_strProject;
    unit.m_nVersion = dialog.m_nVersion;
    unit.m_nCpu = dialog.m_nCpu;
    AddUnitRow(&unit, 1);
    m_ctrlList.EnsureVisible(m_rows.Find(unit.m_strIp));
}

void CDlgSearchTg::OnTest() {
    const int row = m_rows.Selected();
    if (m_pLink == nullptr || row < 0) {
        return;
    }
    UnitRowData& data = m_rows.Data(row);
    if (data.nVersion > 0 && data.nVersion < kFirstTestable) {
        AfxMessageBox(u"This test is not supported target Tavrin!", MB_OK);
        return;
    }
    const std::u16string address = m_rows.Text(row, kColumnIp);
    std::u16string project;
    uint16_t version = 0;
    uint16_t cpu = 0;
    const int answered = [&] {
        const CWaitCursor busy;
        return m_pLink->CmdIP(address.c_str(), 0, project, &version, &cpu);
    }();
    if (answered == 0) {
        AfxMessageBox(u"Target not found!", MB_OK);
        return;
    }
    data.nVersion = version;
    data.nCpu = cpu;
    m_ctrlList.SetItemText(row, kColumnIp, address);
    m_ctrlList.SetItemText(row, kColumnProject, project);
}

void CDlgSearchTg::OnDelete() {
    const int row = m_rows.Selected();
    if (m_pLink == nullptr || row < 0 || m_rows.Text(row, kColumnSearch) == kAuto) {
        return;
    }
    m_pLink->RemoveUserUnit(m_rows.Text(row, kColumnIp).c_str());
    m_rows.Remove(row);
}

void CDlgSearchTg::OnItemchangedList() {
    const int row = m_rows.Selected();
    if (row < 0) {
        return;
    }
    m_strNote = u"Tavrin IP : ";
    m_strNote.append(ShownOnOneLine(m_rows.Text(row, kColumnIp))).append(kLineEnd);
    m_strNote.append(u"Project Name : ");
    m_strNote.append(ShownOnOneLine(m_rows.Text(row, kColumnProject))).append(kLineEnd);
    m_strNote.append(u"Bren Version : ").append(FormatVersion(m_rows.Data(row).nVersion));
    m_strNote.append(kLineEnd).append(u"Search Type : ").append(m_rows.Text(row, kColumnSearch));
    UpdateData(0);
}

void CDlgSearchTg::OnOK() {
    const int row = m_rows.Selected();
    if (row < 0) {
        AfxMessageBox(LoadString(IDS_NONE_CHOSEN), MB_ICONHAND);
        return;
    }
    m_strIp = m_rows.Text(row, kColumnIp);
    m_strProject = m_rows.Text(row, kColumnProject);
    const UnitRowData& data = m_rows.Data(row);
    if (data.nCpu < 0) {
        if (AfxMessageBox(u"Not checked Tavrin, do you want to test?", MB_OKCANCEL) == IDOK) {
            OnTest();
        }
        return;
    }
    m_wCpu = static_cast<uint16_t>(data.nCpu);
    m_wVersion = static_cast<uint16_t>(data.nVersion);
    CDialog::OnOK();
}

}  // namespace brenholt
