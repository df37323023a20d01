// The target IP dialog.
#include <gmock/gmock.h>

#include "dialogs/dlg_input_tg.h"
#include "tests/dialogs/dialog_fixture.h"

namespace brenholt {
namespace {

using Fields = std::array<uint8_t, 4>;

class InputDialogTest : public DialogFixture {
 protected:
    void ExpectUnconfirmed(std::u16string_view ip) {
        EXPECT_EQ(dialog.m_strIp, ip);
        EXPECT_EQ(dialog.m_strProject, u"");
        EXPECT_EQ(dialog.m_nVersion, 0);
        EXPECT_EQ(dialog.m_nCpu, kCpuUnknown);
    }
    CDlgInputTg dialog;
};

TEST_F(InputDialogTest, OkGivesTheAddressShownWithoutAskingIt) {
    const std::pair<std::u16string, const char16_t*> cases[] = {
        {u"10.1.2.3", u"10.1.2.3"},
        {u"10.0x10.010.1", u"10.16.8.1"},
        {u"nonsense", u"255.255.255.255"},
        {u"", u"255.255.255.255"},
        {std::u16string(5000, u'9'), u"255.255.255.255"},
    };
    for (const auto& [given, out] : cases) {
        dialog.m_strIp = given;
        EXPECT_EQ(Run(dialog, [](ScriptedWindow& window) { window.Press(IDOK); }), IDOK);
        ExpectUnconfirmed(out);
    }
    EXPECT_TRUE(asked.empty());
}

TEST_F(InputDialogTest, AnAnswerIsHandedBackUnlessAFieldChangedSince) {
    panels["10.0.0.7"] = "IP X86 0123 Seven";
    const auto connect = [](ScriptedWindow& window) {
        window.Type(1022, {10, 0, 0, 7});
        window.Press(1028);
        EXPECT_EQ(window.Shown(1029), u"IP : 10.0.0.7\r\nProject : Seven\r\nBren Version : 1.23");
    };
    Run(dialog, [&](ScriptedWindow& window) {
        connect(window);
        window.Press(IDOK);
    });
    EXPECT_EQ(dialog.m_strIp, u"10.0.0.7");
    EXPECT_EQ(dialog.m_strProject, u"Seven");
    EXPECT_EQ(dialog.m_nVersion, 123);
    EXPECT_EQ(dialog.m_nCpu, kCpuX86);

    Run(dialog, [&](ScriptedWindow& window) {
        connect(window);
        window.Type(1022, {10, 0, 0, 8});
        EXPECT_TRUE(window.Shown(1029).starts_with(u"IP : 10.0.0.7"));
        window.Press(IDOK);
    });
    ExpectUnconfirmed(u"10.0.0.8");
    EXPECT_EQ(Run(dialog, connect), IDCANCEL);
}

TEST_F(InputDialogTest, SilenceIsShownAndOkStillGivesTheAddress) {
    panels["10.0.0.7"] = "IP ARM 0000 a\r\nb";
    Run(dialog, [&](ScriptedWindow& window) {
        window.Type(1022, {10, 0, 0, 7});
        window.Press(1028);
        EXPECT_EQ(window.Shown(1029),
                  u"IP : 10.0.0.7\r\nProject : a\\x0D\\x0Ab\r\nBren Version : 0.00");
        panels.clear();
        window.Press(1028);
        EXPECT_EQ(window.Shown(1029), u"Not found target Tavrin!");
        window.Press(IDOK);
    });
    ExpectUnconfirmed(u"10.0.0.7");
    EXPECT_TRUE(backend.boxes.empty());
    EXPECT_EQ(asked.size(), 3U);

    dialog.m_pLink = nullptr;
    backend.Then([](ScriptedWindow& window) {
        window.Press(1028);
        window.Press(IDOK);
    });
    EXPECT_EQ(dialog.DoModal(), IDOK);
    EXPECT_EQ(asked.size(), 3U);
}

}  // namespace
}  // namespace brenholt
