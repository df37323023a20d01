#include "platform/waker.h"

#include <sys/timerfd.h>

#include "platform/posix/descriptor.h"

// A timer rather than an event descriptor: Wake may use a number that was closed a moment ago, or by a
// host that closes every descriptor it does not know. If it is another file's by then, setting a timer
// fails (unless that is a timer too), whereas a write would reach that file.
namespace brenholt {
namespace {

bool Set(intptr_t timer, long nanoseconds) {
    const itimerspec time{{}, {0, nanoseconds}};
    return timerfd_settime(static_cast<int>(timer), 0, &time, nullptr) == 0;
}

}  // namespace

CWaker::~CWaker() {
    Close();
}

void CWaker::Open() {
    Close();
    m_handle = AboveStandard(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC));
}

void CWaker::Close() {
    const CFileHandle closed(m_handle.exchange(-1));
}

void CWaker::Wake() {
    Set(m_handle, 1);
}

void CWaker::Clear() {
    if (!Set(m_handle, 0)) {
        m_handle = -1;
    }
}

}  // namespace brenholt
