#include "tools/panel/log.h"

#include <algorithm>

namespace tavrin {

void Log::Add(LogEntry entry) {
    if (m_maxEntries == 0) {
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        if (m_entries.size() == m_maxEntries) {
            m_entries.pop_front();
        }
        m_entries.push_back(std::move(entry));
    }
    m_changed.notify_all();
}

Log::Entries Log::Snapshot() const {
    const std::lock_guard lock(m_mutex);
    return m_entries;
}

void Log::Clear() {
    const std::lock_guard lock(m_mutex);
    m_entries.clear();
}

bool Log::WaitUntil(const std::function<bool(const Entries&)>& done,
                    std::chrono::milliseconds limit) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, limit, [&] { return done(m_entries); });
}

bool Log::WaitForCount(size_t panel, Event event, size_t count, std::chrono::milliseconds limit) {
    const auto wanted = [&](const LogEntry& entry) {
        return entry.panel == panel && entry.event == event;
    };
    return WaitUntil(
        [&](const Entries& entries) {
            return static_cast<size_t>(std::count_if(entries.begin(), entries.end(), wanted)) >=
                   count;
        },
        limit);
}

}  // namespace tavrin
