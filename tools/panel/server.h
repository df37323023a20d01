// Simulated panels on real sockets: any number of them in one process, each on an address of its
// own, all served by one thread.
//
// A panel takes commands on ADDRESS:10251 and sends its beacons from another port of the same
// address.
#ifndef BRENHOLT_TOOLS_PANEL_SERVER_H
#define BRENHOLT_TOOLS_PANEL_SERVER_H

#include <poll.h>
#include <atomic>

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "tools/panel/descriptor.h"
#include "tools/panel/endpoint.h"
#include "tools/panel/fault_plan.h"
#include "tools/panel/log.h"
#include "tools/panel/panel.h"
#include "tools/panel/server_error.h"
#include "tools/panel/settings.h"

namespace tavrin {

struct Unit;

class Server {
 public:
    // Opens the folders, no sockets. Throws ServerError.
    explicit Server(std::vector<PanelSettings> panels, ServerSettings settings = {});
    ~Server();  // stops

    // Binds all sockets, sends the first beacons and serves. Throws ServerError. One thread at a
    // time may call Start and Stop; everything else is free for any thread.
    void Start();
    // Closes the sockets; replies that were not due yet are forgotten. What the panels know stays.
    void Stop();

    // A paused panel sends no beacons and reads nothing; requests wait in its socket.
    void Pause(size_t panel);
    void Resume(size_t panel);
    void SetFaults(size_t panel, const FaultSettings& faults);
    void SetHook(size_t panel, Panel::Hook hook);
    void SetBeacon(size_t panel, BeaconSettings beacon);
    // Sends one beacon at once, also when beacons are off or the panel is paused.
    void SendBeacon(size_t panel);
    std::vector<MemoryBlock> Blocks(size_t panel) const;

    Log& log() { return m_log; }

 private:
    struct Pending {
        Outgoing outgoing;
        size_t panel;
        Endpoint host;
    };

    Time Now() const;
    void Wake();
    bool Recording() const;
    void Record(size_t index, Event event, const Endpoint& source, const Endpoint& destination,
                ByteView bytes, FaultSet faults = {});
    void Close();

    // On the server's thread. Those that say so take the lock; the others are called with it held.
    void Run();
    bool Prepare(std::vector<pollfd>& sockets, Time& wait);  // locks; false at the end
    bool Spin(Time limit);                                   // locks
    bool ReceiveOne(size_t index);                           // locks
    void Answer(size_t index, const Endpoint& host, ByteView datagram);
    void Dispatch(size_t index, const Endpoint& host, Outgoing outgoing, Time now);
    void Send(size_t index, const Endpoint& host, const Outgoing& outgoing);
    void SendDue(Time now);
    void Beacon(size_t index);

    const std::chrono::steady_clock::time_point m_start;
    const ServerSettings m_settings;
    Log m_log;
    Descriptor m_wake;
    std::atomic<bool> m_woken{false};  // and the thread has not looked yet
    mutable std::mutex m_mutex;        // guards all below but the thread
    std::vector<std::unique_ptr<Unit>> m_units;
    std::deque<Pending> m_pending;  // by the time when it is due
    bool m_stop = false;
    Bytes m_buffer;
    Replies m_replies;
    std::vector<Outgoing> m_outgoing;
    std::thread m_thread;
};

}  // namespace tavrin

#endif
