// The settings of a server of simulated panels.
#ifndef BRENHOLT_TOOLS_PANEL_SETTINGS_H
#define BRENHOLT_TOOLS_PANEL_SETTINGS_H

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

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

// The hook and the observers run on the server's thread and under its lock: they must not call the
// server, and they must not throw. The log may be used.
struct PanelSettings {
    std::string address;  // dotted decimal
    std::filesystem::path root;
    Identity identity;
    BeaconSettings beacon;
    FaultSettings faults;
    Panel::Hook hook;
    std::function<void(const MemoryBlock&)> blockObserver;
};

struct ServerSettings {
    size_t logEntries = 10000;  // how many datagrams the log keeps
    // How long to look for the next request before going to sleep: costs a core, saves a wake-up.
    Time spin{0};
    std::function<void(const LogEntry&)> observer;
};

}  // namespace tavrin

#endif
