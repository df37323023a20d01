// The search dialog and slot 1's door to it.
#include <gmock/gmock.h>

#include <thread>

#include "dialogs/dlg_search_tg.h"
#include "tests/dialogs/dialog_fixture.h"

namespace brenholt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Box = ScriptedBackend::Box;

const Box kNoneChosen{u"No Tavrin unit is chosen.\n\nPlease choose one of  listed Tavrin units.",
                      MB_ICONHAND};
const Box kTooOld{u"This test is not supported target Tavrin!", MB_OK};
const Box kNotFound{u"Target not found!", MB_OK};
const Box kUnchecked{u"Not checked Tavrin, do you want to test?", MB_OKCANCEL};

class SearchDialogTest : public DialogFixture {
 protected:
    CDlgSearchTg dialog;
};

TEST_F(SearchDialogTest, MergesThePanelsHeardAndTheUsersList) {
    Hear(u"10.0.0.5", u"Line1", kCpuArm, 102);
    Hear(u"10.9.0.5", u"Far\r\nTavrin IP", kCpuArm, 102);
    Hear(u"10.9.0.6", u"", kCpuUnknown, 0);
    Enter(u"10.0.0.5");
    Enter(u"10.9.0.6");
    Run(dialog, [](ScriptedWindow& window) {
        EXPECT_EQ(window.list.emptyText,
                  u"No panel of this network heard yet. Insert adds an address.");
        EXPECT_EQ(window.icon.count, 1);
        EXPECT_THAT(window.Rows(), ElementsAre(Cells{u"10.0.0.5", u"Line1", u"4000", u"Auto"},
                                               Cells{u"10.9.0.6", u"", u"1028", u"Manual"}));
        EXPECT_EQ(window.Shown(1008),
                  u"Different network Tavrin : 10.9.0.5  Far\\x0D\\x0ATavrin IP\r\n"
                  u"Different network Tavrin : 10.9.0.6  \r\n");
        EXPECT_EQ(window.list.extendedStyle, LVS_EX_FULLROWSELECT);
        std::vector<std::pair<std::u16string, int>> columns;
        for (const auto& column : window.list.columns) {
            EXPECT_EQ(column.format, LVCFMT_CENTER);
            columns.emplace_back(column.heading, column.width);
        }
        EXPECT_THAT(columns, ElementsAre(std::pair(u"IP Addr", 120), std::pair(u"Project", 150),
                                         std::pair(u"Port", 50), std::pair(u"Search", 70)));
        window.layout = {500, 400, {130, 0, 60, 80}};
    });
    EXPECT_THAT(UserList(), ElementsAre(u"10.0.0.5", u"10.9.0.6"));
    Forget();
    Run(dialog, [](ScriptedWindow& window) {
        EXPECT_EQ(window.list.emptyText,
                  u"No panel heard yet. Refresh looks again, Insert adds an address.");
        EXPECT_EQ(window.layout.width, 500);
        EXPECT_EQ(window.layout.height, 400);
        EXPECT_THAT(window.layout.columns, ElementsAre(130, 0, 60, 80));
    });
}

// A name must not write lines of its own into the box, nor turn those around that follow.
TEST_F(SearchDialogTest, NamesStayOnTheirLineAndComeBackWhole) {
    const std::u16string name = u"A\nSearch Type : \u202EB\u2028\x85\t\\\x7F";
    Hear(u"10.0.0.5", name, kCpuArm, 102);
    Run(dialog, [&](ScriptedWindow& window) {
        const std::u16string shown = u"A\\x0ASearch Type : \\u202EB\\u2028\\x85\\x09\\\\x7F";
        EXPECT_EQ(window.Rows()[0][1], shown);
        window.Select(0);
        EXPECT_EQ(window.Shown(1008), u"Tavrin IP : 10.0.0.5\r\nProject Name : " + shown +
                                          u"\r\nBren Version : 1.02\r\nSearch Type : Auto");
        window.Press(IDOK);
    });
    EXPECT_EQ(dialog.m_strProject, name);
}

TEST_F(SearchDialogTest, RowsAndSelectionAreRebuiltOnlyByRefresh) {
    Hear(u"10.0.0.5", u"Line1", kCpuArm, 123);
    Hear(u"10.9.0.5", u"Far", kCpuArm, 102);
    Run(dialog, [&](ScriptedWindow& window) {
        const std::u16string foreign = window.Shown(1008);
        window.Select(0);
        EXPECT_EQ(window.Shown(1008),
                  u"Tavrin IP : 10.0.0.5\r\nProject Name : Line1\r\n"
                  u"Bren Version : 1.23\r\nSearch Type : Auto");
        window.Select(-1);
        EXPECT_TRUE(window.Shown(1008).starts_with(u"Tavrin IP")) << "lost selection, kept text";
        window.Select(0);
        window.DoubleClick();
        EXPECT_TRUE(window.IsOpen());
        Forget();
        Hear(u"10.0.0.6", u"Line2", kCpuArm, 0);
        Hear(u"10.9.0.5", u"Far", kCpuArm, 102);
        EXPECT_EQ(window.Rows()[0][0], u"10.0.0.5");
        window.Press(1024);
        EXPECT_THAT(window.Rows(), ElementsAre(Cells{u"10.0.0.6", u"Line2", u"4000", u"Auto"}));
        EXPECT_EQ(window.list.selected, -1);
        EXPECT_EQ(window.Shown(1008), foreign);
        window.Select(0);
        EXPECT_NE(window.Shown(1008).find(u"Bren Version : 0.00"), std::u16string::npos);
    });
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(SearchDialogTest, TestAsksPanelsOfAVersionThatKnowsTheQuestion) {
    const std::pair<int32_t, bool> cases[] = {
        {-5, true}, {0, true}, {1, false}, {110, false}, {111, true}};
    panels["10.0.0.5"] = "IP X86 0123 Tested";
    for (const auto& c : cases) {
        const bool asks = c.second;
        Forget();
        asked.clear();
        Hear(u"10.0.0.5", u"Line1", kCpuUnknown, c.first);
        Run(dialog, [&](ScriptedWindow& window) {
            window.Select(0);
            window.Press(1026);
            EXPECT_EQ(window.Rows()[0][1], asks ? u"Tested" : u"Line1");
            // The list reports the texts written into its selected row.
            EXPECT_EQ(window.Shown(1008).find(u"Bren Version : 1.23") != std::u16string::npos,
                      asks);
        });
        EXPECT_EQ(asked.size(), asks ? 1U : 0U) << c.first;
        EXPECT_EQ(backend.TakeBoxes(), asks ? std::vector<Box>{} : std::vector{kTooOld});
    }
}

TEST_F(SearchDialogTest, AFailedTestLeavesTheRow) {
    Enter(u"10.0.0.7", kCpuArm, 250);
    Run(dialog, [&](ScriptedWindow& window) {
        window.Press(1026);  // nothing selected, nothing said
        EXPECT_THAT(backend.boxes, IsEmpty());
        window.Select(0);
        const std::u16string note = window.Shown(1008);
        window.Press(1026);
        EXPECT_EQ(window.Shown(1008), note);
        EXPECT_EQ(window.Rows()[0][1], u"");
        window.Press(IDOK);
    });
    EXPECT_THAT(backend.boxes, ElementsAre(kNotFound));
    EXPECT_THAT(asked, ElementsAre("10.0.0.7", "10.0.0.7"));
    EXPECT_EQ(dialog.m_wVersion, 250);
    EXPECT_EQ(TargetIp(), u"192.168.0.1");
}

TEST_F(SearchDialogTest, OkWantsASelectionAndAKnownProcessor) {
    Hear(u"10.0.0.5", u"Old", kCpuUnknown, 50);
    Enter(u"10.0.0.7");
    panels["10.0.0.7"] = "IP ARM 0200 Seven";
    const int result = Run(dialog, [&](ScriptedWindow& window) {
        window.Press(IDOK);
        EXPECT_THAT(backend.TakeBoxes(), ElementsAre(kNoneChosen));
        window.Select(0);
        window.Press(IDOK);
        EXPECT_THAT(backend.TakeBoxes(), ElementsAre(kUnchecked, kTooOld));
        window.Select(1);
        backend.answers = {IDCANCEL};
        window.Press(IDOK);
        EXPECT_THAT(backend.TakeBoxes(), ElementsAre(kUnchecked));
        EXPECT_THAT(asked, IsEmpty());
        window.Press(IDOK);
        EXPECT_THAT(backend.TakeBoxes(), ElementsAre(kUnchecked));
        EXPECT_TRUE(window.IsOpen()) << "the test answers, the user decides";
        window.Press(IDOK);
        EXPECT_FALSE(window.IsOpen());
    });
    EXPECT_EQ(result, IDOK);
    EXPECT_EQ(dialog.m_strIp, u"10.0.0.7");
    EXPECT_EQ(dialog.m_strProject, u"Seven");
    EXPECT_EQ(dialog.m_wCpu, kCpuArm);
    EXPECT_EQ(dialog.m_wVersion, 200);
    EXPECT_THAT(backend.boxes, IsEmpty());
}

TEST_F(SearchDialogTest, InsertAddsOneManualRowForANewAddress) {
    Hear(u"10.0.0.5", u"Line1", kCpuArm, 102);
    panels["10.0.0.9"] = "IP ARM 0150 Nine";
    Run(dialog, [&](ScriptedWindow& window) {
        const auto insert = [&](const std::array<uint8_t, 4>& address, bool confirm) {
            backend.Then([&, confirm](ScriptedWindow& input) {
                EXPECT_EQ(input.address.fields, (std::array<uint8_t, 4>{192, 168, 0, 1}));
                input.Type(1022, address);
                input.Press(1028);
                confirm ? input.Press(IDOK) : input.CloseBox();
            });
            window.Press(1027);
        };
        insert({10, 0, 0, 9}, false);
        EXPECT_EQ(window.Rows().size(), 1U);
        insert({10, 0, 0, 9}, true);
        EXPECT_EQ(window.list.shown, 1);
        insert({10, 0, 0, 9}, true);
        insert({10, 0, 0, 5}, true);
        EXPECT_EQ(window.list.shown, 0);
        EXPECT_EQ(window.list.selected, -1);
        EXPECT_THAT(window.Rows(), ElementsAre(Cells{u"10.0.0.5", u"Line1", u"4000", u"Auto"},
                                               Cells{u"10.0.0.9", u"Nine", u"1028", u"Manual"}));
        // The user's list keeps no project.
        window.Press(1024);
        EXPECT_EQ(window.Rows()[1], (Cells{u"10.0.0.9", u"", u"1028", u"Manual"}));
        window.Select(1);
        window.Press(IDOK);
    });
    EXPECT_THAT(UserList(), ElementsAre(u"10.0.0.9"));
    EXPECT_EQ(folder.Read("UserTavrinIp.ipc"), "10.0.0.9\r\n");
    EXPECT_EQ(dialog.m_wVersion, 150);
    EXPECT_THAT(backend.boxes, IsEmpty());
}

TEST_F(SearchDialogTest, DeleteTakesManualRowsOnly) {
    Hear(u"10.0.0.5", u"Line1", kCpuArm, 102);
    for (const char16_t* ip : {u"10.0.0.5", u"10.0.0.6", u"10.0.0.7"}) {
        Enter(ip, kCpuArm, 300);
    }
    Run(dialog, [&](ScriptedWindow& window) {
        window.Press(1030);
        window.Select(0);
        window.Press(1030);
        EXPECT_EQ(window.Rows().size(), 3U);
        EXPECT_EQ(window.list.selected, 0);
        window.Select(1);
        const std::u16string note = window.Shown(1008);
        window.Press(1030);
        EXPECT_EQ(window.Rows().size(), 2U);
        EXPECT_EQ(window.list.selected, -1);
        EXPECT_EQ(window.Shown(1008), note);
        // The records moved up with their rows.
        window.Select(1);
        EXPECT_NE(window.Shown(1008).find(u"10.0.0.7"), std::u16string::npos);
        EXPECT_NE(window.Shown(1008).find(u"3.00"), std::u16string::npos);
    });
    EXPECT_THAT(UserList(), ElementsAre(u"10.0.0.5", u"10.0.0.7"));
    EXPECT_THAT(backend.boxes, IsEmpty());
}

TEST_F(SearchDialogTest, WithoutALinkOnlyOkHasSomethingToSay) {
    backend.Then([&](ScriptedWindow& window) {
        for (const int button : {1024, 1026, 1027, 1030, 1}) {
            window.Press(button);
        }
        window.CloseBox();
    });
    EXPECT_EQ(dialog.DoModal(), IDCANCEL);
    EXPECT_THAT(backend.boxes, ElementsAre(kNoneChosen));
}

TEST_F(SearchDialogTest, NoMemoryEndsTheDialogAndLetsGoOfTheListener) {
    Hear(u"10.0.0.5", u"Line1", kCpuArm, 102);
    Hear(u"10.0.0.6", u"Line2", kCpuArm, 102);
    EXPECT_EQ(Run(dialog,
                  [this](ScriptedWindow& window) {
                      backend.rowsUntilNoMemory = 1;
                      window.Press(1024);
                  }),
              -1);
    const CSingleLock lock(link->m_ping.m_lock);
}

TEST_F(SearchDialogTest, TheDoorAdoptsWhatWasConfirmed) {
    Hear(u"127.0.0.5", u"Line1", kCpuX86, -1);
    backend.Then([](ScriptedWindow& window) {
        window.Select(0);
        window.Press(IDOK);
    });
    EXPECT_EQ(link->SelectTarget(0), 1);
    EXPECT_EQ(TargetIp(), u"127.0.0.5");
    EXPECT_EQ(link->m_nTargetCpu, kCpuX86);
    EXPECT_EQ(link->m_nTargetVersion, 65535) << "a negative version arrives as its low 16 bits";

    folder.Write("UserTavrinIp.ipc", "127.0.0.9\n");
    backend.Then([&](ScriptedWindow& window) {
        EXPECT_EQ(window.Rows().size(), 2U);
        window.Select(1);
        // A second call, nested or from elsewhere, changes nothing under the open dialog.
        folder.Write("UserTavrinIp.ipc", "127.0.0.10\n");
        EXPECT_EQ(link->SelectTarget(0), 0);
        std::thread([&] { EXPECT_EQ(link->SelectTarget(0), 0); }).join();
        EXPECT_THAT(UserList(), ElementsAre(u"127.0.0.9"));
    });
    EXPECT_EQ(link->SelectTarget(0), 0);
    EXPECT_EQ(TargetIp(), u"127.0.0.5");
    EXPECT_THAT(UserList(), ElementsAre(u"127.0.0.9"));
}

TEST_F(SearchDialogTest, TheDoorStaysShutWithoutALinkOrADisplay) {
    backend.noDisplay = true;
    EXPECT_EQ(link->SelectTarget(0), 0);
    SetWindowBackend(nullptr);
    EXPECT_EQ(link->SelectTarget(0), 0) << "no backend beside this program";
    SetWindowBackend(&backend);
    backend.noDisplay = false;
    Enter(u"10.0.0.7");
    link->m_bStopped = 1;
    EXPECT_EQ(link->SelectTarget(0), 0);
    EXPECT_EQ(UserList().size(), 1U) << "a stopped link does not even read the file";
}

}  // namespace
}  // namespace brenholt
