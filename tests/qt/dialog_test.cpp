// Dialogs and message boxes as wholes: keys, ends, nesting, owners, notes.
#include <QHeaderView>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTreeWidget>
#include <QWindow>

#include "tests/qt/window_fixture.h"

namespace brenholt {
namespace {

const Event kOk{WM_COMMAND, IDOK, BN_CLICKED};
const Event kCancel{WM_COMMAND, IDCANCEL, BN_CLICKED};
const Event kTest{WM_COMMAND, IDC_SEARCH_TEST, BN_CLICKED};

TEST(Dialog, TabFollowsTheTemplateAndCannotBeCaught) {
    for (const DialogTemplate* dialog : {&kSearchTemplate, &kTargetTemplate, &kPickerTemplate}) {
        OpenDialog open(*dialog);
        open.Run([&](QWidget& window) {
            EXPECT_EQ(window.windowTitle(), QStringView(dialog->title));
            const auto& controls = dialog->controls;
            const auto expectFocusOn = [](const ControlTemplate& control) {
                EXPECT_EQ(QApplication::focusWidget()->accessibleName().section(", ", 0, 0),
                          QStringView(control.caption));
            };
            for (const ControlTemplate& control : controls) {
                expectFocusOn(control);
                Key(Qt::Key_Tab);
            }
            expectFocusOn(controls[0]);
            for (size_t i = controls.size(); i-- > 0;) {
                Key(Qt::Key_Backtab, Qt::ShiftModifier);
                expectFocusOn(controls[i]);
            }
        });
    }
}

TEST(Dialog, EnterPressesTheFocusedButtonElseTheDefaultOne) {
    OpenDialog open(kSearchTemplate);
    const int code = open.Run([&](QWidget& window) {
        Button(window, "Test").setFocus();
        Key(Qt::Key_Return);
        window.findChild<QPlainTextEdit*>()->setFocus();
        Key(Qt::Key_Enter);
    });
    EXPECT_EQ(code, IDOK);
    EXPECT_EQ(open.listener.events, (std::vector<Event>{kTest, kOk}));

    OpenDialog target(kTargetTemplate);
    EXPECT_EQ(target.Run([&](QWidget& window) {
        window.findChild<QPlainTextEdit*>()->setFocus();  // this box keeps Enter
        Key(Qt::Key_Return);
        Key(Qt::Key_Escape);
    }),
              IDCANCEL);
    EXPECT_EQ(target.listener.events, (std::vector<Event>{kCancel}));
}

TEST(Dialog, TheCloseBoxLeavesTheWindowToItsDialog) {
    OpenDialog open(kSearchTemplate);
    open.listener.window = nullptr;
    const int code = open.Run([&](QWidget& window) {
        EXPECT_FALSE(window.close());
        EXPECT_TRUE(window.isVisible());
        open.listener.window = open.window.get();
        EXPECT_TRUE(window.close());
        Click(window, "Test");  // too late to be heard
    });
    EXPECT_EQ(code, Listener::kClosed);
    EXPECT_EQ(open.listener.events, (std::vector<Event>(2, {WM_CLOSE, 0, 0})));
}

TEST(Dialog, EndsBeforeItRanOrWhenTheApplicationQuits) {
    OpenDialog early(kTargetTemplate);
    early.window->EndModal(5);
    early.window->EndModal(6);
    EXPECT_EQ(early.window->RunModal(), 5);

    OpenDialog quit(kTargetTemplate);
    EXPECT_EQ(quit.Run([](QWidget& window) { window.hide(); }), IDCANCEL);
    EXPECT_TRUE(quit.listener.events.empty());
}

TEST(Dialog, NestsOverItsOwner) {
    OpenDialog outer(kSearchTemplate);
    outer.window->SetIcon({1, 1, 1, {0xFFFF0000}});
    std::vector<int> ends;
    QWidget* search = nullptr;
    outer.listener.onEvent = [&](uint32_t, int control) {
        if (control != IDC_SEARCH_INSERT) {
            return;
        }
        OpenDialog inner(kTargetTemplate);
        inner.listener.onEvent = [&](uint32_t, int id) {
            if (id == IDC_TARGET_CONNECT) {
                WhenOpen([&](QWidget& box) {
                    EXPECT_EQ(box.windowHandle()->transientParent()->title(), "Target IP");
                    EXPECT_EQ(box.windowTitle(), "Target IP");
                    EXPECT_EQ(box.windowIcon().cacheKey(), search->windowIcon().cacheKey());
                    EXPECT_FALSE(box.windowIcon().isNull());
                    Key(Qt::Key_Escape);
                });
                ends.push_back(Backend().ShowMessageBox(u"?", MB_OKCANCEL));
            }
        };
        ends.push_back(inner.Run([&](QWidget& target) {
            EXPECT_EQ(target.windowHandle()->transientParent(), search->windowHandle());
            const QPoint apart = target.geometry().center() - search->geometry().center();
            EXPECT_LE(apart.manhattanLength(), 30);  // one's frame, the other one's inside
            Click(target, "Connect");
            EXPECT_EQ(QApplication::activeModalWidget(), &target);
            Click(target, "OK");
        }));
    };
    EXPECT_EQ(outer.Run([&](QWidget& window) {
        search = &window;
        Click(window, "Insert");
        EXPECT_EQ(QApplication::activeModalWidget(), &window);
        Click(window, "OK");
    }),
              IDOK);
    EXPECT_EQ(ends, (std::vector<int>{IDCANCEL, IDOK}));
}

TEST(Dialog, OutlivesAnOwnerThatGoes) {
    OpenDialog first(kTargetTemplate);  // brings the application
    auto owner = std::make_unique<QWidget>();
    owner->show();
    owner->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(owner.get()));
    EXPECT_EQ(first.Run([&](QWidget& window) {
        EXPECT_EQ(window.windowHandle()->transientParent(), owner->windowHandle());
        owner.reset();
        Key(Qt::Key_Return);
    }),
              IDOK);
}

TEST(Dialog, GrowsByItsAnchorsOrNotAtAll) {
    OpenDialog search(kSearchTemplate);
    search.Run([](QWidget& window) {
        const QRect ok = Button(window, "OK").geometry();
        const QRect test = Button(window, "Test").geometry();
        const QRect note = window.findChild<QPlainTextEdit*>()->geometry();
        window.resize(window.size() + QSize(40, 30));
        EXPECT_EQ(Button(window, "OK").geometry(), ok.translated(40, 30));
        EXPECT_EQ(Button(window, "Test").geometry(), test.translated(0, 30));
        EXPECT_EQ(window.findChild<QPlainTextEdit*>()->geometry(),
                  note.translated(0, 30).adjusted(0, 0, 40, 0));
        window.resize(10, 10);
        EXPECT_EQ(Button(window, "OK").geometry(), ok);
    });
    OpenDialog target(kTargetTemplate);
    target.Run([](QWidget& window) { EXPECT_EQ(window.minimumSize(), window.maximumSize()); });
}

TEST(Dialog, ReadsFromLeftToRightOnAnyDesktop) {
    MakeHost();
    QApplication::setLayoutDirection(Qt::RightToLeft);
    OpenDialog target(kTargetTemplate);
    target.Run([](QWidget& window) {
        int right = 0;
        for (const QLineEdit* field : window.findChildren<QLineEdit*>()) {
            EXPECT_GE(field->x(), right);
            right = field->geometry().right();
        }
    });
    OpenDialog picker(kPickerTemplate);
    ListView& list = picker.window->GetList(IDC_PICKER_LIST);
    list.InsertColumn(u"IP Addr", LVCFMT_CENTER, 100);
    list.InsertColumn(u"Project", LVCFMT_CENTER, 100);
    picker.Run([](QWidget& window) {
        const QHeaderView& header = *window.findChild<QTreeWidget*>()->header();
        EXPECT_EQ(header.sectionViewportPosition(0), 0);
    });
}

TEST(Dialog, FramesAreWholeOnAScaledDesktop) {
    if (QCoreApplication::instance() != nullptr) {
        GTEST_SKIP() << "needs a process of its own, as ctest gives it";
    }
    qputenv("QT_SCALE_FACTOR", "1.5");
    OpenDialog open(kSearchTemplate);
    open.Run([](QWidget& window) {
        const QImage shown = window.grab().toImage();
        const auto at = [&](QPoint point) { return shown.pixelColor(point * 1.5); };
        const QColor outside = at(QPoint(2, 2));
        for (const QFrame* framed :
             window.findChildren<QAbstractScrollArea*>(QString(), Qt::FindDirectChildrenOnly)) {
            const QRect frame = framed->geometry();
            const QPoint middle = frame.center();
            for (const QPoint side :
                 {QPoint(frame.left(), middle.y()), QPoint(frame.right(), middle.y()),
                  QPoint(middle.x(), frame.top()), QPoint(middle.x(), frame.bottom())}) {
                EXPECT_NE(at(side), outside) << side.x() << ' ' << side.y();
                EXPECT_NE(at(side), at(middle)) << side.x() << ' ' << side.y();
            }
        }
    });
}

TEST(Dialog, NotesArePlainLinesThatComeBackWhole) {
    OpenDialog open(kSearchTemplate);
    const std::u16string note = u"<b>x</b>\r\n&y\xA0\xD800\r\n" + std::u16string(300, u'w');
    open.window->SetText(IDC_SEARCH_NOTE, note);
    open.Run([&](QWidget& window) {
        auto* box = window.findChild<QPlainTextEdit*>();
        EXPECT_EQ(box->blockCount(), 3);
        EXPECT_TRUE(box->toPlainText().startsWith("<b>x</b>\n&y"));
        box->setFocus();
        Type("typed");
        Key(Qt::Key_Delete);
        EXPECT_EQ(open.window->GetText(IDC_SEARCH_NOTE), note);
        EXPECT_EQ(box->blockCount(), 3);
    });
    // The lines that a box is made for need no scroll bar.
    for (int points = 7; points < 20; ++points) {
        QApplication::setFont(QFont("DejaVu Sans", points));
        OpenDialog sized(kSearchTemplate);
        sized.window->SetText(IDC_SEARCH_NOTE, u"1\r\n2\r\n3\r\n4");
        sized.Run([&](QWidget& window) {
            EXPECT_EQ(window.findChild<QPlainTextEdit*>()->verticalScrollBar()->maximum(), 0)
                << points;
        });
    }
}

TEST(MessageBox, AnswersAndShowsTextAsItIs) {
    const std::tuple<uint32_t, Qt::Key, int, QMessageBox::Icon> cases[] = {
        {MB_OK, Qt::Key_Escape, IDOK, QMessageBox::NoIcon},
        {MB_ICONHAND, Qt::Key_Return, IDOK, QMessageBox::Critical},
        {MB_ICONINFORMATION, Qt::Key_Space, IDOK, QMessageBox::Information},
        {MB_OKCANCEL, Qt::Key_Return, IDOK, QMessageBox::NoIcon},
        {MB_OKCANCEL, Qt::Key_Escape, IDCANCEL, QMessageBox::NoIcon},
    };
    OpenDialog application(kTargetTemplate);
    for (const auto& [flags, key, answer, icon] : cases) {
        WhenOpen([key = key, icon = icon](QWidget& window) {
            auto& box = dynamic_cast<QMessageBox&>(window);
            EXPECT_EQ(box.icon(), icon);
            EXPECT_EQ(box.textFormat(), Qt::PlainText);
            EXPECT_EQ(box.text(), "<i>A & B</i>\nsecond");
            Key(key);
        });
        EXPECT_EQ(Backend().ShowMessageBox(u"<i>A & B</i>\r\nsecond", flags), answer);
    }
    WhenOpen([](QWidget& window) { window.close(); });
    EXPECT_EQ(Backend().ShowMessageBox(u"?", MB_OKCANCEL), IDCANCEL);
}

TEST(Backend, RefusesAnotherVersionAndNestsTheWaitCursor) {
    OpenDialog application(kTargetTemplate);
    void* object = dlopen(BACKEND_FILE, RTLD_NOW | RTLD_NOLOAD);
    const auto factory =
        reinterpret_cast<WindowBackendFactory>(dlsym(object, kWindowBackendFactory));
    EXPECT_EQ(factory(kWindowBackendVersion + 1), nullptr);
    dlclose(object);

    Backend().BeginWaitCursor();
    Backend().BeginWaitCursor();
    Backend().EndWaitCursor();
    ASSERT_NE(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    Backend().EndWaitCursor();
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

}  // namespace
}  // namespace brenholt
