// platform/thread.h for a module whose threads take turns: each access to what they share is a point at
// which another may go on. The words and locks are real ones inside, so that ThreadSanitizer judges by them.
#ifndef BRENHOLT_PLATFORM_THREAD_H
#define BRENHOLT_PLATFORM_THREAD_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>

#include "platform/annotations.h"
#include "tests/interleavings/turns.h"

namespace brenholt {
inline namespace interleaved {  // the platform's own classes of these names are linked too

template <class T>
class Shared : std::atomic<T> {
 public:
    using std::atomic<T>::atomic;
    T load(std::memory_order order = std::memory_order_seq_cst) const {
        turns::Point(this);
        return std::atomic<T>::load(order);
    }
    void store(T value, std::memory_order order = std::memory_order_seq_cst) {
        turns::Point(this);
        std::atomic<T>::store(value, order);
    }
    T exchange(T value) {
        turns::Point(this);
        return std::atomic<T>::exchange(value);
    }
    operator T() const { return load(); }  // NOLINT(google-explicit-constructor)
    T operator=(T value) {                 // NOLINT(misc-unconventional-assign-operator)
        store(value);
        return value;
    }
};
using SharedWord = Shared<int32_t>;

class CAPABILITY("mutex") CCriticalSection {
 public:
    void Lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS {
        turns::Await([this] { return !m_held.load(std::memory_order_relaxed); });
        m_held.exchange(true);
    }
    void Unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { m_held = false; }

 private:
    std::atomic<bool> m_held{false};
};

class SCOPED_CAPABILITY CSingleLock {
 public:
    explicit CSingleLock(CCriticalSection& lock) ACQUIRE(lock) : m_lock(lock) { m_lock.Lock(); }
    ~CSingleLock() RELEASE() { m_lock.Unlock(); }

 private:
    CCriticalSection& m_lock;
};

class CEvent {
 public:
    void SetEvent() {
        turns::Point(this);
        ++m_count;
    }
    void Wait() {
        turns::Await([this] { return m_count.load(std::memory_order_relaxed) > 0; });
        --m_count;
    }

 private:
    std::atomic<int> m_count{0};
};

class CWinThread {
 public:
    CWinThread(unsigned (*body)(void*), void* parameter)
        : m_turn(turns::Register(parameter)), m_thread([=, turn = m_turn] {
              turns::Begin(turn);
              body(parameter);
              turns::End();
          }) {}
    void Join() {
        turns::AwaitEnd(m_turn);
        m_thread.join();
    }

 private:
    turns::Thread* m_turn;
    std::thread m_thread;
};

inline std::unique_ptr<CWinThread> AfxBeginThread(unsigned (*body)(void*), void* parameter) {
    auto thread = std::make_unique<CWinThread>(body, parameter);
    turns::Point(thread.get());
    return thread;
}

}  // namespace interleaved
}  // namespace brenholt

#endif
