#include "platform/waker.h"

#include <sys/timerfd.h>

#include "platform/descriptor.h"

namespace brenholt {

void CWaker::Open() {
    Close();
    m_timer = CDescriptor(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)).Release();
}

void CWaker::Close() {
    const CDescriptor closed(m_timer.exchange(-1));
}

void CWaker::Wake() {
    Set(1);
}

void CWaker::Clear() {
    if (!Set(0)) {
        m_timer = -1;
    }
}

bool CWaker::Set(long nanoseconds) {
    const itimerspec time{{}, {0, nanoseconds}};
    return timerfd_settime(m_timer, 0, &time, nullptr) == 0;
}

}  // namespace brenholt
