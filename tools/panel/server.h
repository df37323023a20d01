// Simulated panels on real sockets: any number of them in one process, each on an address of its
// own, all served by one thread.
//
// A panel takes commands on ADDRESS:10251 and sends its beacons from another port of the same
// address.
#ifndef BRENHOLT_TOOLS_PANEL_SERVER_H
#define BRENHOLT_TOOLS_PANEL_SERVER_H

#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tools/panel/endpoint.h"
#include "tools/panel/fault_plan.h"
#include "tools/panel/log.h"
#include "tools/panel/panel.h"

namespace tavrin {

struct BeaconSettings {
    bool enabled = true;
    Time interval = std::chrono::seconds(1);
    // What is sent: these bytes as they are, else a beacon with the descriptor of the identity.
    std::optional<Bytes> raw;
    Endpoint host{0x7F000001, kBeaconPort};  // may be a broadcast address
};

struct PanelSettings {
    std::string address;  // dotted decimal
    std::filesystem::path root;
    Identity identity;
    BeaconSettings beacon;
    FaultSettings faults;
    Panel::Hook hook;
    std::function<void(const MemoryBlock&)> block_observer;  // called on the server's thread
};

struct ServerSettings {
    std::size_t log_entries = 10000;  // how many datagrams the log keeps
    // How long to look for the next request before going to sleep: costs a core, saves a wake-up.
    Time spin{0};
    std::function<void(const LogEntry&)> observer;  // called on the server's thread
};

// Panels cannot be started; the message names the address and the port.
class ServerError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

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
    void Pause(std::size_t panel);
    void Resume(std::size_t panel);
    void SetFaults(std::size_t panel, const FaultSettings& faults);
    void SetHook(std::size_t panel, Panel::Hook hook);
    void SetBeacon(std::size_t panel, BeaconSettings beacon);
    // Sends one beacon at once, also when beacons are off or the panel is paused.
    void SendBeacon(std::size_t panel);
    std::vector<MemoryBlock> Blocks(std::size_t panel) const;

    Log& log() { return log_; }

 private:
    struct Unit;
    struct Pending;

    Time Now() const;
    void Run();
    void Wake();
    bool ReceiveReady();
    bool ReceiveOne(std::size_t index);
    void Answer(std::size_t index, const Endpoint& host, ByteView datagram);
    void Send(std::size_t index, const Endpoint& host, Outgoing outgoing);
    void SendDue(Time now);
    void Beacon(std::size_t index);
    Time NextDue() const;
    void Record(LogEntry entry);
    bool Recording() const;

    const std::chrono::steady_clock::time_point start_;
    ServerSettings settings_;
    Log log_;
    Descriptor wake_;
    mutable std::mutex mutex_;  // guards the units and what waits to be sent
    std::vector<std::unique_ptr<Unit>> units_;
    std::vector<Pending> pending_;
    bool stop_ = false;
    std::thread thread_;
};

}  // namespace tavrin

#endif
