#include "tools/host/interrupt.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

#include "tools/host/failure.h"

namespace host {
namespace {

constexpr int kRepeatMs = 10;

// timeout(1) and some shells signal a program and then its group: one wish, not two.
constexpr auto kSameWish = std::chrono::milliseconds(250);

int Checked(int fd) {
    if (fd < 0) {
        throw std::system_error(errno, std::system_category());
    }
    return fd;
}

}  // namespace

Interrupt::Interrupt() : m_wake(Checked(eventfd(0, EFD_CLOEXEC))) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_thread = std::thread(&Interrupt::Watch, this, Checked(signalfd(-1, &signals, SFD_CLOEXEC)));
}

Interrupt::~Interrupt() {
    eventfd_write(m_wake, 1);
    m_thread.join();
    close(m_wake);
}

void Interrupt::Watch(int signals) {
    std::array<pollfd, 2> waits = {{{signals, POLLIN, 0}, {m_wake, POLLIN, 0}}};
    Clock::time_point raisedAt;
    while (waits[1].revents == 0) {
        poll(waits.data(), waits.size(), raised() ? kRepeatMs : -1);
        const std::lock_guard lock(m_mutex);
        if (waits[0].revents != 0) {
            signalfd_siginfo taken;
            if (read(signals, &taken, sizeof taken) != sizeof taken) {
                continue;
            }
            if (m_exitAtOnce || (m_raised && Clock::now() - raisedAt > kSameWish)) {
                _exit(static_cast<int>(ExitCode::Cancelled));
            }
            if (!m_raised) {
                m_raised = true;
                raisedAt = Clock::now();
                m_changed.notify_all();
            }
        }
        if (m_raised && m_action) {
            m_action();
        }
    }
    close(signals);
}

bool Interrupt::raised() const {
    const std::lock_guard lock(m_mutex);
    return m_raised;
}

bool Interrupt::WaitUntil(Clock::time_point time) const {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_until(lock, time, [this] { return m_raised; });
}

void Interrupt::SetAction(std::function<void()> action) {
    const std::lock_guard lock(m_mutex);
    m_action = std::move(action);
}

void Interrupt::SetExitAtOnce(bool on) {
    const std::lock_guard lock(m_mutex);
    m_exitAtOnce = on;
}

}  // namespace host
