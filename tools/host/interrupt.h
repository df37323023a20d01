// Ctrl-C and SIGTERM, taken by a thread of their own so that no code runs inside a signal handler.
#ifndef BRENHOLT_TOOLS_HOST_INTERRUPT_H
#define BRENHOLT_TOOLS_HOST_INTERRUPT_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "tools/host/clock.h"

namespace host {

// The first signal raises the interrupt; another one, a quarter of a second later or more, ends the
// process at once with ExitCode::Cancelled.
class Interrupt {
 public:
    // Construct it before any other thread is made: the signals are blocked in the calling thread,
    // and later threads inherit that.
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    bool raised() const;

    // Sleeps, but not beyond the interrupt. True when it is raised.
    bool WaitUntil(Clock::time_point time) const;

    // `action` runs on the watching thread when the interrupt is raised and every 10 ms after that:
    // a cancel that comes before a posted command has begun is lost, so once is not enough. An
    // empty function ends this, and has none running when the call returns.
    void SetAction(std::function<void()> action);

    // With `on`, the first signal ends the process already: for calls that cannot be cancelled.
    void SetExitAtOnce(bool on);

 private:
    void Watch(int signals);

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    bool m_raised = false;
    bool m_exitAtOnce = false;
    std::function<void()> m_action;
    int m_wake;  // eventfd: the destructor ends the thread with it
    std::thread m_thread;
};

}  // namespace host

#endif
