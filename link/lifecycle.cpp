// The one link object, its start and its stop.
#include <new>

#include "link/tv_udp.h"
#include "platform/module_pin.h"

namespace brenholt {
namespace {

// Destroys the link at unload only if it is stopped: a host that leaves without slot 15 still has
// threads in it, and those must not find their object gone.
class LinkHolder {
 public:
    LinkHolder() { new (m_storage) CTvUdp; }
    ~LinkHolder() {
        if (Get().m_bStopped != 0 && Get().m_ping.m_bStopped != 0) {
            Get().~CTvUdp();
        }
    }
    LinkHolder(const LinkHolder&) = delete;
    LinkHolder& operator=(const LinkHolder&) = delete;

    CTvUdp& Get() { return *std::launder(reinterpret_cast<CTvUdp*>(m_storage)); }

 private:
    alignas(CTvUdp) unsigned char m_storage[sizeof(CTvUdp)]{};
};

LinkHolder g_holder;

// A fork must not catch a lock in the hands of a thread that the child does not have.
void BeforeFork() NO_THREAD_SAFETY_ANALYSIS {
    g_link.m_lock.Lock();
    g_link.m_ping.m_lock.Lock();
}

void AfterForkInParent() NO_THREAD_SAFETY_ANALYSIS {
    g_link.m_ping.m_lock.Unlock();
    g_link.m_lock.Unlock();
}

void AfterForkInChild() {
    AfterForkInParent();
    g_link.AbandonInChild();
}

}  // namespace

CTvUdp& g_link = g_holder.Get();

int CTvUdp::Start(int retries, int timeoutMs, int asyncMode) {
    m_nTimeoutMs = timeoutMs;
    m_nRetries = retries;
    m_bAsyncMode = asyncMode;
    g_bInRecv = 0;
    if (m_bStopped == 0) {
        return 0;
    }
    OnFork(BeforeFork, AfterForkInParent, AfterForkInChild);
    Create(kCommandPort);
    if (!StartWorker(ServiceThread, this)) {
        Close();
        return 0;
    }
    // A host that unloads the module without slot 15 leaves the threads their code.
    PinModule();
    return m_ping.Start(retries, timeoutMs, asyncMode);
}

void CTvUdp::Stop() {
    m_ping.Stop();
    // What runs ends by the stop, not by a cancel, which the next step of a walk would take back.
    StopWorker([this] {
        Interrupt();
        m_work.SetEvent();
    });
    if (m_bBusy == 0) {
        AwaitOwed();
    }
    Close();
}

void CTvUdp::AbandonInChild() {
    m_ping.AbandonInChild();
    AbandonWorker();
    m_bPosted = 0;
    m_bBusy = 0;
    m_bRunning = 0;
    m_bSelecting = 0;
    g_bInRecv = 0;
    Close();
}

}  // namespace brenholt
