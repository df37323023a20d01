// The record of all datagrams that passed a server.
#ifndef BRENHOLT_TOOLS_PANEL_LOG_H
#define BRENHOLT_TOOLS_PANEL_LOG_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

#include "tools/panel/endpoint.h"
#include "tools/panel/fault_plan.h"
#include "tools/panel/wire.h"

namespace tavrin {

enum class Event {
    Request,      // came in
    LostRequest,  // came in, but a fault kept it from the panel
    Reply,        // went out
    LostReply,    // would have gone out, but a fault took it
    Beacon,       // went out
};

struct LogEntry {
    Time time{0};  // since the server was made
    Event event = Event::Request;
    size_t panel = 0;  // index of the panel
    Endpoint source;
    Endpoint destination;
    Bytes bytes;  // the whole datagram
    FaultSet faults;
};

// Keeps the latest entries. Any thread may call it.
class Log {
 public:
    using Entries = std::deque<LogEntry>;

    // `maxEntries`: how many are kept; 0 keeps none and costs nothing.
    explicit Log(size_t maxEntries) : m_maxEntries(maxEntries) {}

    void Add(LogEntry entry);
    Entries Snapshot() const;
    void Clear();
    // Waits until `done` holds for the entries kept; false when `limit` passes first. `done` runs
    // under the log's lock and must not call it.
    bool WaitUntil(const std::function<bool(const Entries&)>& done,
                   std::chrono::milliseconds limit);
    // Waits for `count` entries of one panel and one kind.
    bool WaitForCount(size_t panel, Event event, size_t count, std::chrono::milliseconds limit);

 private:
    const size_t m_maxEntries;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    Entries m_entries;
};

}  // namespace tavrin

#endif
