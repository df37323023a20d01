// Ends another thread's wait on a descriptor.
#ifndef BRENHOLT_PLATFORM_WAKER_H
#define BRENHOLT_PLATFORM_WAKER_H

#include <atomic>

namespace brenholt {

// A descriptor that the waiting thread polls too, and that Wake makes readable. Open, Close and Clear
// are for the thread that waits; any thread may call Wake, at any time.
class CWaker {
 public:
    CWaker() = default;
    ~CWaker() { Close(); }
    CWaker(const CWaker&) = delete;
    CWaker& operator=(const CWaker&) = delete;

    // Without a free descriptor it is closed.
    void Open();
    void Close();
    // Readable from now on, until Clear; nothing when it is closed.
    void Wake();
    // Closed from now on when the descriptor turns out to be another's.
    void Clear();
    // -1, which poll passes over, when it is closed.
    int Get() const { return m_timer; }

 private:
    bool Set(long nanoseconds);

    // A timer rather than an event descriptor: Wake may use a number that was closed a moment ago, or by
    // a host that closes every descriptor it does not know. If it is another file's by then, setting a timer
    // fails (unless that is a timer too), whereas a write would reach that file.
    std::atomic<int> m_timer{-1};
};

}  // namespace brenholt

#endif
