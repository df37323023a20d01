#include "platform/thread.h"

#include <pthread.h>
#include <semaphore.h>

#include <cerrno>
#include <csignal>
#include <new>

namespace brenholt {
namespace {

struct ThreadStart {
    unsigned (*body)(void*);
    void* parameter;
};

void* RunThread(void* start) {
    const std::unique_ptr<ThreadStart> owned(static_cast<ThreadStart*>(start));
    owned->body(owned->parameter);
    return nullptr;
}

sem_t* Semaphore(std::array<std::byte, 32>& events) {
    return std::launder(reinterpret_cast<sem_t*>(&events));
}

}  // namespace

CEvent::CEvent() {
    static_assert(sizeof(sem_t) <= sizeof m_events);
    sem_init(new (&m_events) sem_t, 0, 0);
}

CEvent::~CEvent() {
    sem_destroy(Semaphore(m_events));
}

void CEvent::SetEvent() {
    sem_post(Semaphore(m_events));
}

void CEvent::Wait() {
    while (sem_wait(Semaphore(m_events)) != 0 && errno == EINTR) {
    }
}

CWinThread::~CWinThread() {
    if (!m_joined) {
        pthread_detach(m_thread);
    }
}

void CWinThread::Join() {
    pthread_join(m_thread, nullptr);
    m_joined = true;
}

std::unique_ptr<CWinThread> AfxBeginThread(unsigned (*body)(void*), void* parameter) {
    // The handle's memory comes before the thread: nothing can fail once the thread runs.
    std::unique_ptr<CWinThread> handle;
    std::unique_ptr<ThreadStart> start(new (std::nothrow) ThreadStart{body, parameter});
    void* memory = ::operator new(sizeof(CWinThread), std::nothrow);
    if (!start || memory == nullptr) {
        ::operator delete(memory);
        return handle;
    }
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    const int error = pthread_create(&thread, nullptr, RunThread, start.get());
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error != 0) {
        ::operator delete(memory);
        return handle;
    }
    static_cast<void>(start.release());
    handle.reset(new (memory) CWinThread(thread));
    return handle;
}

}  // namespace brenholt
