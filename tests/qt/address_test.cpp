// The address control under a user's fingers.
#include <QClipboard>
#include <QLineEdit>
#include <QMenu>

#include "tests/qt/window_fixture.h"

namespace brenholt {
namespace {

using Address = std::array<uint8_t, 4>;

class AddressControl : public testing::Test {
 protected:
    // Runs `user` with the focus in the first field.
    void Play(const std::function<void(QList<QLineEdit*>)>& user) {
        open.Run([&](QWidget& window) {
            Key(Qt::Key_Tab);
            user(window.findChildren<QLineEdit*>());
        });
    }
    Address Value() {
        Address fields{};
        filled = control.GetAddress(fields);
        return fields;
    }
    static void Blank(const QList<QLineEdit*>& fields) {
        for (QLineEdit* field : fields) {
            field->clear();
        }
        fields[0]->setFocus();
    }
    size_t Changes() const {
        return static_cast<size_t>(std::count(open.listener.events.begin(),
                                              open.listener.events.end(),
                                              Event{WM_NOTIFY, IDC_TARGET_IP, IPN_FIELDCHANGED}));
    }

    OpenDialog open{kTargetTemplate};
    AddressView& control = open.window->GetAddress(IDC_TARGET_IP);
    int filled = -1;
};

TEST_F(AddressControl, TakesAddressesAsTheyAreTyped) {
    EXPECT_EQ(Value(), (Address{}));
    EXPECT_EQ(filled, 0);
    control.SetAddress({10, 0, 0, 255});
    EXPECT_EQ(Value(), (Address{10, 0, 0, 255}));
    EXPECT_EQ(filled, 4);
    Play([&](const QList<QLineEdit*>& fields) {
        EXPECT_EQ(Changes(), 0U);
        const std::pair<const char*, Address> typed[] = {
            {"192.168.0.1", {192, 168, 0, 1}},  // a dot after three digits is not one too many
            {"1921680.1", {192, 168, 0, 1}},   {"1.2.3.4", {1, 2, 3, 4}},
            {"1..2...3.4", {1, 2, 3, 4}},      {"300.007.256.999", {255, 7, 255, 255}},
            {"a1b0.x0.0.-1", {10, 0, 0, 1}},
        };
        for (const auto& [text, address] : typed) {
            Blank(fields);
            Type(text);
            EXPECT_EQ(Value(), address) << text;
        }
        Blank(fields);
        const size_t before = Changes();
        Type("12.");
        EXPECT_EQ(Changes(), before + 2);
        EXPECT_EQ(Value(), (Address{12, 0, 0, 0}));
        EXPECT_EQ(filled, 1);
    });
}

TEST_F(AddressControl, MovesAndDeletesAcrossItsFields) {
    control.SetAddress({10, 20, 30, 40});
    Play([&](const QList<QLineEdit*>& fields) {
        Key(Qt::Key_Right);  // leaves the marked text at its end
        Key(Qt::Key_Right);
        EXPECT_TRUE(fields[1]->hasFocus());
        Key(Qt::Key_Left);
        EXPECT_TRUE(fields[0]->hasFocus());
        Key(Qt::Key_End);
        EXPECT_TRUE(fields[3]->hasFocus());
        EXPECT_EQ(Changes(), 0U);
        Key(Qt::Key_Backspace);
        Key(Qt::Key_Backspace);
        Key(Qt::Key_Backspace);
        EXPECT_TRUE(fields[2]->hasFocus());
        Key(Qt::Key_Backspace);
        EXPECT_EQ(Value(), (Address{10, 20, 3, 0}));
        EXPECT_EQ(filled, 3);
        EXPECT_EQ(Changes(), 3U);
        Key(Qt::Key_Backtab, Qt::ShiftModifier);  // one step for the whole control
        EXPECT_TRUE(dynamic_cast<QPushButton*>(QApplication::focusWidget()));
        Key(Qt::Key_Tab);
        Key(Qt::Key_Home);
        Key(Qt::Key_Delete);
        EXPECT_EQ(Value(), (Address{0, 20, 3, 0}));
    });
}

TEST_F(AddressControl, TakesAWholeAddressFromTheClipboard) {
    Play([&](const QList<QLineEdit*>& fields) {
        QClipboard& clipboard = *QApplication::clipboard();
        clipboard.setText(" 192.168.7.300\n");
        fields[2]->setFocus();
        Key(Qt::Key_V, Qt::ControlModifier);
        EXPECT_EQ(Value(), (Address{192, 168, 7, 255}));
        EXPECT_EQ(Changes(), 1U);

        clipboard.setText("10.1.2.3");
        QContextMenuEvent asked(QContextMenuEvent::Keyboard, {}, fields[1]->mapToGlobal(QPoint()));
        QApplication::sendEvent(fields[1], &asked);
        auto* menu = dynamic_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        for (QAction* action : menu->actions()) {
            if (action->text() == "&Paste") {
                action->trigger();
            }
        }
        menu->close();
        EXPECT_EQ(Value(), (Address{10, 1, 2, 3}));

        for (const char* useless :
             {"1.2.3", "1.2.3.4.5", "1..2.3", "a.b.c.d", "-1", "1.2.3.-4", ""}) {
            clipboard.setText(useless);
            Key(Qt::Key_V, Qt::ControlModifier);
            EXPECT_EQ(Value(), (Address{10, 1, 2, 3})) << useless;
        }
        fields[3]->selectAll();
        clipboard.setText("77");
        Key(Qt::Key_V, Qt::ControlModifier);
        EXPECT_EQ(Value(), (Address{10, 1, 2, 77}));
    });
}

}  // namespace
}  // namespace brenholt
