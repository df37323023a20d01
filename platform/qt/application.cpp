#include "platform/qt/application.h"

#include <pthread.h>
#include <unistd.h>

#include <QApplication>
#include <QPixmapCache>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>

#include "platform/qt/display.h"

namespace brenholt {
namespace {

// Never deleted: its destructor does not survive the order in which a process takes itself down.
QCoreApplication* g_own = nullptr;

// Puts the process's locale back: Qt sets it, and it is the host's to choose. Nobody can make
// setlocale safe against the host's other threads; Qt calls it anyway.
class LocaleKeeper {
 public:
    ~LocaleKeeper() { std::setlocale(LC_ALL, m_locale.c_str()); }  // NOLINT(concurrency-mt-unsafe)

 private:
    const std::string m_locale = std::setlocale(LC_ALL, nullptr);  // NOLINT(concurrency-mt-unsafe)
};

// As long as it lives, Qt makes event loops of its own. Else the application's would be GLib's
// default one, which is the host's: the thread that waits for the dialog may be in the middle of it.
class GlibAvoider {
 public:
    GlibAvoider() { qputenv(kVariable, "1"); }
    ~GlibAvoider() { m_before.isNull() ? qunsetenv(kVariable) : qputenv(kVariable, m_before); }
    GlibAvoider(const GlibAvoider&) = delete;
    GlibAvoider& operator=(const GlibAvoider&) = delete;

 private:
    static constexpr char kVariable[] = "QT_NO_GLIB";
    const QByteArray m_before = qgetenv(kVariable);
};

pthread_t g_thread;  // the application's
QtMessageHandler g_handler = nullptr;

// A library does not print: what Qt has to say on the thread of its application goes nowhere,
// unless it is why the process ends.
void KeepQuiet(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (pthread_equal(pthread_self(), g_thread) == 0 || type == QtFatalMsg) {
        g_handler(type, context, text);
    }
}

}  // namespace

bool MakeApplication() {
    if (geteuid() != getuid()) {
        return false;  // Qt ends a process that runs with another user's rights
    }
    if (g_handler == nullptr) {
        g_thread = pthread_self();
        g_handler = qInstallMessageHandler(KeepQuiet);
    }
    static std::optional<Display> display;
    display = FindDisplay();
    if (!display) {
        return false;
    }
    // Qt keeps referring to these.
    static char option[] = "-platform";
    static char* arguments[] = {program_invocation_name, option, display->platform.data(), nullptr};
    static int count = 3;
    const LocaleKeeper locale;
    const GlibAvoider glib;
    g_own = new QApplication(count, arguments);
    display->connection.reset();
    // The cache has a timer, which the thread that ends the process would try to stop.
    QPixmapCache::setCacheLimit(0);
    return true;
}

bool IsOwn(const QCoreApplication& application) {
    return &application == g_own;
}

}  // namespace brenholt
