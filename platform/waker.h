// Ends another thread's wait.
#ifndef BRENHOLT_PLATFORM_WAKER_H
#define BRENHOLT_PLATFORM_WAKER_H

#include <atomic>
#include <cstdint>

namespace brenholt {

// A handle that the waiting thread waits for beside others, and that Wake makes ready. Open, Close and Clear
// are for the thread that waits; any thread may call Wake, at any time.
class CWaker {
 public:
    CWaker() = default;
    ~CWaker();
    CWaker(const CWaker&) = delete;
    CWaker& operator=(const CWaker&) = delete;

    // Without a free handle it is closed.
    void Open();
    void Close();
    // Ready from now on, until Clear; nothing when it is closed.
    void Wake();
    // Closed from now on when the handle turns out to be another's.
    void Clear();
    // -1 when it is closed.
    intptr_t Get() const { return m_handle; }

 private:
    std::atomic<intptr_t> m_handle{-1};
};

}  // namespace brenholt

#endif
