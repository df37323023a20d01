// Whose Qt application the windows live in.
#include <QThread>
#include <clocale>
#include <thread>

#include "tests/qt/window_fixture.h"

namespace brenholt {
namespace {

bool Opens() {
    Listener listener;
    return Backend().CreateDialog(kTargetTemplate, listener) != nullptr;
}

bool OpensElsewhere() {
    bool opens = false;
    std::thread([&] { opens = Opens(); }).join();
    return opens;
}

// Runs a dialog, whose user presses Test and OK, and one that draws, on the calling thread and for it.
void RunHere() {
    Listener listener;
    const auto window = Backend().CreateDialog(kSearchTemplate, listener);
    ASSERT_NE(window, nullptr);
    listener.window = window.get();
    const auto caller = std::this_thread::get_id();
    listener.onEvent = [&](uint32_t /*message*/, int control) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        if (control == IDC_SEARCH_TEST) {
            EXPECT_FALSE(OpensElsewhere()) << "two threads have windows";
            WhenOpen([](QWidget&) { Key(Qt::Key_Return); });
            EXPECT_EQ(Backend().ShowMessageBox(u"?", MB_OKCANCEL), IDOK);
        }
    };
    WhenOpen([](QWidget& shown) {
        Click(shown, "Test");
        QTest::keyClick(&shown, Qt::Key_Return);
    });
    EXPECT_EQ(window->RunModal(), IDOK);
    EXPECT_EQ(listener.events.size(), 2U);

    Listener drawer;
    const auto picker = Backend().CreateDialog(kPickerTemplate, drawer);
    drawer.window = picker.get();
    picker->GetList(IDC_PICKER_LIST).InsertColumn(u"IP Addr", LVCFMT_CENTER, 100);
    picker->GetList(IDC_PICKER_LIST).InsertItem(0, u"10.0.0.1", 0);
    int drawn = 0;
    drawer.onDraw = [&](int /*control*/, DRAWITEMSTRUCT& request) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        drawn += request.hDC->GetTextExtent(u"text") > 0 ? 1 : 0;
    };
    WhenOpen([](QWidget& shown) {
        shown.grab();
        QTest::keyClick(&shown, Qt::Key_Escape);
    });
    EXPECT_EQ(picker->RunModal(), IDCANCEL);
    EXPECT_GT(drawn, 0);
}

class Application : public testing::Test {
 protected:
    void SetUp() override {
        if (QCoreApplication::instance() != nullptr) {
            GTEST_SKIP() << "needs a process of its own, as ctest gives it";
        }
    }
    int count = 1;
    char name[5] = "host";
    char* arguments[2] = {name, nullptr};
};

// A host that has no windows of its own.
class Host final : public QApplication {
 public:
    using QApplication::QApplication;
    bool event(QEvent* event) override {
        quits += event->type() == QEvent::Quit ? 1 : 0;
        return QApplication::event(event);
    }
    int quits = 0;
};

TEST_F(Application, OfTheHostIsKeptAndServesItsOtherThreadsToo) {
    Host host(count, arguments);
    EXPECT_TRUE(Opens());
    EXPECT_EQ(QCoreApplication::instance(), &host);
    EXPECT_FALSE(OpensElsewhere()) << "its loop does not run";

    std::thread other;
    QTimer::singleShot(0, &host, [&] {
        RunHere();
        other = std::thread([gui = host.thread()] {
            RunHere();
            RunHere();
            gui->exit();
        });
    });
    QApplication::exec();
    other.join();
    EXPECT_EQ(host.quits, 0);  // although the last window closed
}

TEST_F(Application, OfTheHostWithoutWidgetsIsNotEnough) {
    const QCoreApplication host(count, arguments);
    EXPECT_FALSE(Opens());
}

TEST_F(Application, IsMadeOnceForAllThreads) {
    // A host in the midst of GLib's own loop.
    void* glib = dlopen("libglib-2.0.so.0", RTLD_NOW);
    ASSERT_NE(glib, nullptr);
    ASSERT_TRUE(reinterpret_cast<int (*)(void*)>(dlsym(glib, "g_main_context_acquire"))(nullptr));

    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    const auto locale = [] { return std::string(std::setlocale(LC_ALL, nullptr)); };
    EXPECT_EQ(locale(), "C");
    EXPECT_TRUE(Opens());
    EXPECT_EQ(locale(), "C");
    const QCoreApplication* made = QCoreApplication::instance();
    std::thread(RunHere).join();
    std::thread(RunHere).join();
    RunHere();
    EXPECT_EQ(QCoreApplication::instance(), made);
}

}  // namespace
}  // namespace brenholt
