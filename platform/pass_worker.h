// A worker thread that looks for something to do every 10 ms, and when it is woken.
#ifndef BRENHOLT_PLATFORM_PASS_WORKER_H
#define BRENHOLT_PLATFORM_PASS_WORKER_H

#include <memory>

#include "platform/clock.h"
#include "platform/thread.h"

namespace brenholt {

// Start, stop and abandon it on one thread at a time; any thread may read its flags.
class CPassWorker {
 public:
    SharedWord m_bStop{1};     // asks the worker to end
    SharedWord m_bStopped{1};  // 0 from its start to its end

 protected:
    CPassWorker() = default;
    ~CPassWorker() = default;

    // Starts a thread that runs `body(self)`, which calls RunPasses. False when no thread can be
    // had; the state is then stopped.
    bool StartWorker(unsigned (*body)(void*), void* self) {
        m_bStopped = 0;
        m_bStop = 0;
        m_worker = AfxBeginThread(body, self);
        if (!m_worker) {
            m_bStop = 1;
            m_bStopped = 1;
        }
        return m_worker != nullptr;
    }
    // Runs passes until one gives a value other than 0.
    template <class Pass>
    unsigned RunPasses(Pass pass) {
        m_bStopped = 0;
        while (pass() == 0) {
            m_wake.Wait(kPassMs);
        }
        m_bStopped = 1;
        return 0;
    }
    // The next pass comes at once. Any thread may call it.
    void WakeWorker() { m_wake.SetEvent(); }
    // Returns when the worker has ended.
    void StopWorker() {
        m_bStop = 1;
        while (m_bStopped == 0) {
            Sleep(kPassMs);
        }
        if (m_worker) {
            m_worker->Join();
            m_worker.reset();
        }
    }
    // In a forked child, which does not have the thread.
    void AbandonWorker() {
        m_bStop = 1;
        m_bStopped = 1;
        m_worker.reset();
    }

 private:
    static constexpr uint32_t kPassMs = 10;

    CEvent m_wake;
    std::unique_ptr<CWinThread> m_worker;
};

}  // namespace brenholt

#endif
