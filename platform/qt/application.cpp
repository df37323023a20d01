#include "platform/qt/application.h"

#include <unistd.h>

#include <QApplication>
#include <QThread>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <mutex>
#include <optional>
#include <string>

#include "platform/qt/display.h"

namespace brenholt {
namespace {

// The application that was made here, if one was. Never deleted: its destructor does not survive
// the order in which a process takes itself down.
QCoreApplication* g_made = nullptr;

// A mark of the thread that made it: ids and addresses of threads are used again.
thread_local bool t_made = false;

// Puts the process's locale back: Qt sets it, and it is the host's to choose. Nobody can make
// setlocale safe against the host's other threads; Qt calls it anyway.
class LocaleKeeper {
 public:
    ~LocaleKeeper() { std::setlocale(LC_ALL, m_locale.c_str()); }  // NOLINT(concurrency-mt-unsafe)

 private:
    const std::string m_locale = std::setlocale(LC_ALL, nullptr);  // NOLINT(concurrency-mt-unsafe)
};

bool Refuse(const char* reason) {
    std::fprintf(stderr, "brenholt: no windows: %s\n", reason);
    return false;
}

bool CheckApplication(const QCoreApplication& application) {
    if (qobject_cast<const QApplication*>(&application) == nullptr) {
        return Refuse("the host's Qt application is none for widgets");
    }
    if (&application == g_made || application.thread() != QThread::currentThread()) {
        return Refuse("they belong to another thread");
    }
    return true;
}

bool MakeApplication() {
    if (geteuid() != getuid()) {
        return Refuse("the process runs with another user's rights");
    }
    static std::optional<Display> display;
    display = FindDisplay();
    if (!display) {
        return Refuse("no display, or no Qt platform plug-in for it");
    }
    // Qt keeps referring to these.
    static char option[] = "-platform";
    static char* arguments[] = {program_invocation_name, option, display->platform.data(), nullptr};
    static int count = 3;
    const LocaleKeeper locale;
    g_made = new QApplication(count, arguments);
    t_made = true;
    display->connection.reset();
    return true;
}

}  // namespace

bool EnsureApplication() {
    const QCoreApplication* application = QCoreApplication::instance();
    if (t_made && application == g_made) {
        return true;
    }
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    application = QCoreApplication::instance();
    return application != nullptr ? CheckApplication(*application) : MakeApplication();
}

}  // namespace brenholt
