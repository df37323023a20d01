// A worker thread that makes passes, and rests between them until there is something to do.
#ifndef BRENHOLT_PLATFORM_PASS_WORKER_H
#define BRENHOLT_PLATFORM_PASS_WORKER_H

#include <memory>

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
    // Makes passes until one gives other than 0, with a rest after each that gave 0.
    template <class Pass, class Rest>
    unsigned RunPasses(Pass pass, Rest rest) {
        m_bStopped = 0;
        while (pass() == 0) {
            rest();
        }
        m_bStopped = 1;
        return 0;
    }
    // Returns when the worker has ended. `wake` ends its rest.
    template <class Wake>
    void StopWorker(Wake wake) {
        m_bStop = 1;
        wake();
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
    std::unique_ptr<CWinThread> m_worker;
};

}  // namespace brenholt

#endif
