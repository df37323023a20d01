// Whose Qt application the windows live in.
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

// A host that opens a dialog from its event loop, and none of its own windows.
class Host final : public QApplication {
 public:
    using QApplication::QApplication;
    bool event(QEvent* event) override {
        if (event->type() == QEvent::User) {
            OpenDialog open(kTargetTemplate);
            EXPECT_EQ(open.Run([](QWidget&) { Key(Qt::Key_Return); }), IDOK);
            postEvent(this, new QEvent(kEnd));
        } else if (event->type() == kEnd) {
            exit();
        }
        quits += event->type() == QEvent::Quit ? 1 : 0;
        return QApplication::event(event);
    }
    static constexpr auto kEnd = static_cast<QEvent::Type>(QEvent::User + 1);
    int quits = 0;
};

TEST_F(Application, OfTheHostIsKept) {
    Host host(count, arguments);
    EXPECT_TRUE(Opens());
    EXPECT_EQ(QCoreApplication::instance(), &host);
    EXPECT_FALSE(OpensElsewhere());

    QCoreApplication::postEvent(&host, new QEvent(QEvent::User));
    QApplication::exec();
    EXPECT_EQ(host.quits, 0);  // although the last window closed
}

TEST_F(Application, OfTheHostWithoutWidgetsIsNotEnough) {
    const QCoreApplication host(count, arguments);
    EXPECT_FALSE(Opens());
}

TEST_F(Application, IsMadeOnceForTheFirstThread) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    const auto locale = [] { return std::string(std::setlocale(LC_ALL, nullptr)); };
    EXPECT_EQ(locale(), "C");
    EXPECT_TRUE(Opens());
    EXPECT_EQ(locale(), "C");
    const QCoreApplication* made = QCoreApplication::instance();
    EXPECT_FALSE(OpensElsewhere());
    EXPECT_TRUE(Opens());
    EXPECT_EQ(QCoreApplication::instance(), made);
}

TEST_F(Application, OfAThreadThatEndedServesNobodyElse) {
    EXPECT_TRUE(OpensElsewhere());
    EXPECT_FALSE(Opens());
    EXPECT_FALSE(OpensElsewhere());
}

}  // namespace
}  // namespace brenholt
