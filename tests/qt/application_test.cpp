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

TEST_F(Application, OfTheHostIsKept) {
    QApplication host(count, arguments);
    EXPECT_TRUE(Opens());
    EXPECT_EQ(QCoreApplication::instance(), &host);
    EXPECT_FALSE(OpensElsewhere());

    // The last window of ours to close does not end a host that has none open.
    OpenDialog open(kTargetTemplate);
    bool stayed = false;
    QTimer::singleShot(0, &host, [&] {
        EXPECT_EQ(open.Run([](QWidget&) { Key(Qt::Key_Return); }), IDOK);
        QTimer::singleShot(20, &host, [&] {
            stayed = true;
            QCoreApplication::quit();
        });
    });
    QApplication::exec();
    EXPECT_TRUE(stayed);
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
