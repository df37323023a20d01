#include "platform/qt/gui_session.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <QApplication>
#include <QThread>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

#include "platform/qt/application.h"
#include "platform/qt/display.h"

namespace brenholt {
namespace {

// How long the GUI thread may take to answer: the host's may be waiting for the caller.
constexpr std::chrono::seconds kPatience{2};

enum Side { kCaller, kGui };

// Two threads that take turns.
class Turns {
 public:
    // Runs `body` on the other side than `here`.
    void Call(Side here, const std::function<void()>& body) {
        Job job{body, true, nullptr};
        std::unique_lock lock(m_mutex);
        m_next[here == kCaller ? kGui : kCaller] = &job;
        m_change.notify_all();
        Serve(lock, here, job.wanted);
        if (job.thrown) {
            std::rethrow_exception(job.thrown);
        }
    }

    // The GUI thread serves the caller, if it is wanted, until Release.
    void Attend() {
        std::unique_lock lock(m_mutex);
        if (m_wanted) {
            m_attends = true;
            m_change.notify_all();
            Serve(lock, kGui, m_wanted);
            m_attends = false;
        }
    }
    // Calls `fetch` and waits for the GUI thread to attend; false when it does not in time.
    template <class Fetch>
    bool Await(const Fetch& fetch) {
        std::unique_lock lock(m_mutex);
        fetch();
        m_wanted = true;
        m_wanted = m_change.wait_for(lock, kPatience, [this] { return m_attends; });
        return m_wanted;
    }
    void Release() {
        Call(kCaller, [this] {
            const std::lock_guard lock(m_mutex);
            m_wanted = false;
        });
    }

 private:
    struct Job {
        const std::function<void()>& body;
        bool wanted;
        std::exception_ptr thrown;
    };

    void Serve(std::unique_lock<std::mutex>& lock, Side here, const bool& wanted) {
        while (true) {
            m_change.wait(lock, [&] { return !wanted || m_next[here] != nullptr; });
            if (m_next[here] == nullptr) {
                return;
            }
            Job& job = *std::exchange(m_next[here], nullptr);
            lock.unlock();
            try {
                job.body();
            } catch (...) {
                job.thrown = std::current_exception();
            }
            lock.lock();
            job.wanted = false;
            m_change.notify_all();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_change;
    Job* m_next[2]{};        // for each side
    bool m_wanted = false;   // the GUI thread is to attend
    bool m_attends = false;  // and does
};

// How the caller gets to the GUI thread.
enum class Way { None, Here, ToOurs, ToHosts };

struct Gui {
    std::mutex mutex;        // guards the next two
    int sessions = 0;        // open now
    std::thread::id caller;  // whose they are

    // Who has the sessions has these.
    Way way = Way::None;
    pid_t process = 0;  // where our own thread runs: a forked child has none
    Turns turns;
};

// Never destroyed: our own thread waits there when the process ends.
Gui& g_gui = *new Gui;

// Its signals are all blocked, and so are those of the threads that Qt starts there: the host's
// handlers never run on them.
bool HasThread() {
    if (g_gui.process != 0) {
        return g_gui.process == getpid();
    }
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        const auto start = [] { std::thread([] { g_gui.turns.Attend(); }).detach(); };
        g_gui.process = g_gui.turns.Await(start) ? getpid() : 0;
    } catch (const std::system_error&) {
        // There is no thread to be had now.
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return g_gui.process != 0;
}

// Calls the host's GUI thread from its event loop.
class Bell final : public QObject {
 public:
    static void Ring(QThread* thread) {
        auto* bell = new Bell;
        bell->moveToThread(thread);
        QCoreApplication::postEvent(bell, new QEvent(QEvent::User));
    }

 protected:
    void customEvent(QEvent* /*event*/) override {
        g_gui.turns.Attend();
        deleteLater();
    }
};

Way Reach() {
    QCoreApplication* application = QCoreApplication::instance();
    if (application == nullptr || IsOwn(*application)) {
        return HasThread() ? Way::ToOurs : Way::None;
    }
    if (qobject_cast<QApplication*>(application) == nullptr) {
        return Way::None;
    }
    QThread* thread = application->thread();
    if (thread == QThread::currentThread()) {
        return Way::Here;
    }
    return g_gui.turns.Await([thread] { Bell::Ring(thread); }) ? Way::ToHosts : Way::None;
}

bool Begin() {
    g_gui.way = Way::None;
    g_gui.way = Reach();
    return g_gui.way != Way::None && OnGuiThread([] {
               return QCoreApplication::instance() != nullptr ? DisplayAnswers()
                                                              : MakeApplication();
           });
}

void Leave() {
    if (g_gui.sessions == 1 && g_gui.way == Way::ToHosts) {
        g_gui.turns.Release();
    }
    const std::lock_guard lock(g_gui.mutex);
    --g_gui.sessions;
}

bool Enter() {
    {
        const std::lock_guard lock(g_gui.mutex);
        if (g_gui.sessions > 0 && g_gui.caller != std::this_thread::get_id()) {
            return false;
        }
        g_gui.caller = std::this_thread::get_id();
        if (g_gui.sessions++ > 0) {
            return true;
        }
    }
    bool begun = false;
    try {
        begun = Begin();
    } catch (const std::bad_alloc&) {
        // No memory, no windows.
    }
    if (!begun) {
        Leave();
    }
    return begun;
}

}  // namespace

GuiSession::GuiSession() : m_open(Enter()) {
}

GuiSession::~GuiSession() {
    if (m_open) {
        Leave();
    }
}

void RunOnGuiThread(const std::function<void()>& body) {
    g_gui.way == Way::Here ? body() : g_gui.turns.Call(kCaller, body);
}

void RunOnCaller(const std::function<void()>& body) {
    g_gui.way == Way::Here ? body() : g_gui.turns.Call(kGui, body);
}

}  // namespace brenholt
