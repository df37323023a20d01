#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

#include "tests/support/module_host.h"

namespace brenholt {
namespace {

class ChooseTest : public ModuleHost {
 protected:
    // Waits for the search dialog to open, then plays the user in it.
    static void AsUser(std::function<void(QWidget&, QTreeWidget&)> user) {
        QTimer::singleShot(10, qApp, [user] {
            QWidget* dialog = QApplication::activeModalWidget();
            auto* list = dialog != nullptr ? dialog->findChild<QTreeWidget*>() : nullptr;
            if (list == nullptr || !dialog->isVisible()) {
                AsUser(user);
                return;
            }
            user(*dialog, *list);
        });
    }
};

TEST_F(ChooseTest, FromABeaconToAChosenTargetToACommand) {
    StartWithPanel(0);
    ASSERT_EQ(table->Start(3, 200, 0), 0);
    const int count = static_cast<int>(QApplication::topLevelWidgets().size());

    AsUser([](QWidget& dialog, QTreeWidget& list) {
        EXPECT_EQ(dialog.windowTitle(), "Search Tavrin");
        ASSERT_EQ(list.topLevelItemCount(), 1);
        EXPECT_EQ(list.topLevelItem(0)->text(0), "127.0.0.2");
        EXPECT_EQ(list.topLevelItem(0)->text(1), "Line1");
        EXPECT_EQ(list.topLevelItem(0)->text(3), "Auto");
        QTest::keyClick(&list, Qt::Key_Down);
        QTest::keyClick(&list, Qt::Key_Return);
    });
    EXPECT_EQ(table->SelectTarget(0), 1);
    EXPECT_EQ(std::u16string(table->GetTargetIp()), u"127.0.0.2");
    EXPECT_EQ(table->GetTargetVersion(), 100);
    EXPECT_EQ(table->CmdTM(), 1);

    AsUser([](QWidget& dialog, QTreeWidget&) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    EXPECT_EQ(table->SelectTarget(0), 0);
    EXPECT_EQ(QApplication::topLevelWidgets().size(), count) << "the dialogs are gone";

    // The module loaded anew, and called from another thread while this one runs its loop.
    table->Stop();
    dlclose(module);
    ASSERT_EQ(dlopen(BRENHOLT_MODULE, RTLD_NOW | RTLD_NOLOAD), nullptr);
    SetUp();
    ASSERT_EQ(table->Start(3, 200, 0), 1);
    AsUser([](QWidget& dialog, QTreeWidget&) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    std::atomic<int> result{-1};
    std::thread other([&] { result = table->SelectTarget(0); });
    EXPECT_TRUE(QTest::qWaitFor([&] { return result == 0; }, 60'000));
    other.join();
}

}  // namespace
}  // namespace brenholt

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QApplication host(argc, argv);
    return RUN_ALL_TESTS();
}
