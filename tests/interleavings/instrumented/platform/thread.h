// platform/thread.h for a module whose threads take turns: each access to what they share is a point at
// which another may go on. The real words, locks and semaphores are inside, so that ThreadSanitizer
// judges by them.
#ifndef BRENHOLT_PLATFORM_THREAD_H
#define BRENHOLT_PLATFORM_THREAD_H

#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/annotations.h"
#include "tests/interleavings/turns.h"

namespace brenholt {
inline namespace interleaved {  // the platform's own classes of these names are linked too

template <class T>
class Shared {
 public:
    Shared() = default;
    constexpr Shared(T value) : m_value(value) {}  // NOLINT(google-explicit-constructor)
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    T load(std::memory_order order = std::memory_order_seq_cst) const {
        turns::Point(this);
        return m_value.load(order);
    }
    void store(T value, std::memory_order order = std::memory_order_seq_cst) {
        turns::Point(this);
        m_value.store(value, order);
    }
    T exchange(T value) {
        turns::Point(this);
        return m_value.exchange(value);
    }
    operator T() const { return load(); }  // NOLINT(google-explicit-constructor)
    T operator=(T value) {                 // NOLINT(misc-unconventional-assign-operator)
        store(value);
        return value;
    }

 private:
    std::atomic<T> m_value{};
};
using SharedWord = Shared<int32_t>;

class CAPABILITY("mutex") CCriticalSection {
 public:
    void Lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS {
        turns::Await(
            [](void* self) { return !static_cast<CCriticalSection*>(self)->m_held.load(kRelaxed); },
            this);
        m_held.store(true, kRelaxed);
        m_mutex.lock();
    }
    void Unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS {
        m_mutex.unlock();
        m_held.store(false, kRelaxed);
    }

 private:
    static constexpr auto kRelaxed = std::memory_order_relaxed;
    std::mutex m_mutex;
    std::atomic<bool> m_held{false};
};

class SCOPED_CAPABILITY CSingleLock {
 public:
    explicit CSingleLock(CCriticalSection& lock) ACQUIRE(lock) : m_lock(lock) { m_lock.Lock(); }
    ~CSingleLock() RELEASE() { m_lock.Unlock(); }
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

 private:
    CCriticalSection& m_lock;
};

class CEvent {
 public:
    CEvent() { sem_init(&m_events, 0, 0); }
    ~CEvent() { sem_destroy(&m_events); }
    CEvent(const CEvent&) = delete;
    CEvent& operator=(const CEvent&) = delete;

    void SetEvent() {
        turns::Point(this);
        sem_post(&m_events);
        m_count.fetch_add(1, std::memory_order_relaxed);
    }
    void Wait() {
        turns::Await(
            [](void* self) {
                return static_cast<CEvent*>(self)->m_count.load(std::memory_order_relaxed) > 0;
            },
            this);
        m_count.fetch_sub(1, std::memory_order_relaxed);
        sem_wait(&m_events);
    }

 private:
    sem_t m_events;
    std::atomic<int> m_count{0};
};

class CWinThread {
 public:
    CWinThread(unsigned (*body)(void*), void* parameter)
        : m_body(body), m_parameter(parameter), m_turn(turns::Register(parameter)) {
        pthread_create(
            &m_thread, nullptr,
            [](void* self) -> void* {
                auto* thread = static_cast<CWinThread*>(self);
                turns::Begin(thread->m_turn);
                thread->m_body(thread->m_parameter);
                turns::End();
                return nullptr;
            },
            this);
    }
    CWinThread(const CWinThread&) = delete;
    CWinThread& operator=(const CWinThread&) = delete;

    void Join() {
        turns::AwaitEnd(m_turn);
        pthread_join(m_thread, nullptr);
    }

 private:
    unsigned (*m_body)(void*);
    void* m_parameter;
    int m_turn;
    pthread_t m_thread{};
};

inline std::unique_ptr<CWinThread> AfxBeginThread(unsigned (*body)(void*), void* parameter) {
    auto thread = std::make_unique<CWinThread>(body, parameter);
    turns::Point(thread.get());
    return thread;
}

}  // namespace interleaved
}  // namespace brenholt

#endif
