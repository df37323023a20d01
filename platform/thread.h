// Threads, locks and words shared between threads.
#ifndef BRENHOLT_PLATFORM_THREAD_H
#define BRENHOLT_PLATFORM_THREAD_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/annotations.h"

namespace brenholt {

// A word that several threads store and read whole, without a lock.
template <class T>
using Shared = std::atomic<T>;
using SharedWord = Shared<int32_t>;

// A lock that is not recursive. Also works with std::lock_guard.
class CAPABILITY("mutex") CCriticalSection {
 public:
    void Lock() ACQUIRE() { m_mutex.lock(); }
    void Unlock() RELEASE() { m_mutex.unlock(); }
    void lock() ACQUIRE() { Lock(); }
    void unlock() RELEASE() { Unlock(); }

 private:
    std::mutex m_mutex;
};

// Holds a CCriticalSection for the length of a scope.
class SCOPED_CAPABILITY CSingleLock {
 public:
    explicit CSingleLock(CCriticalSection& lock) ACQUIRE(lock) : m_lock(lock) { m_lock.Lock(); }
    ~CSingleLock() RELEASE() { m_lock.Unlock(); }
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

 private:
    CCriticalSection& m_lock;
};

// What one thread waits for and another reports. Each SetEvent ends one Wait, now or to come. It has
// no owner: a fork in the midst of it leaves the child's usable.
class CEvent {
 public:
    CEvent();
    ~CEvent();
    CEvent(const CEvent&) = delete;
    CEvent& operator=(const CEvent&) = delete;

    void SetEvent();
    // Blocks until an event; a signal does not end it.
    void Wait();

 private:
    // The system's semaphore.
    alignas(std::max_align_t) std::array<std::byte, 32> m_events;
};

// A thread that AfxBeginThread started. Destroying the object lets the thread run on by itself.
class CWinThread {
 public:
    explicit CWinThread(uintptr_t thread) : m_thread(thread) {}
    ~CWinThread();
    CWinThread(const CWinThread&) = delete;
    CWinThread& operator=(const CWinThread&) = delete;

    // Waits for the thread's end. Once at most.
    void Join();

 private:
    uintptr_t m_thread;  // the system's word for it
    bool m_joined = false;
};

// Starts `body(parameter)` on a thread of default priority and stack size. Handlers of the host's signals
// never run on it. Null when no thread could be made.
std::unique_ptr<CWinThread> AfxBeginThread(unsigned (*body)(void*), void* parameter);

}  // namespace brenholt

#endif
