#include "tools/panel/log.h"

#include <algorithm>

namespace tavrin {

void Log::Add(LogEntry entry) {
    if (max_entries_ == 0) {
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        if (entries_.size() == max_entries_) {
            entries_.pop_front();
        }
        entries_.push_back(std::move(entry));
    }
    changed_.notify_all();
}

Log::Entries Log::Snapshot() const {
    const std::lock_guard lock(mutex_);
    return entries_;
}

void Log::Clear() {
    const std::lock_guard lock(mutex_);
    entries_.clear();
}

bool Log::WaitUntil(const std::function<bool(const Entries&)>& done,
                    std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return done(entries_); });
}

bool Log::WaitForCount(std::size_t panel, Event event, std::size_t count,
                       std::chrono::milliseconds limit) {
    const auto wanted = [&](const LogEntry& entry) {
        return entry.panel == panel && entry.event == event;
    };
    return WaitUntil(
        [&](const Entries& entries) {
            return static_cast<std::size_t>(
                       std::count_if(entries.begin(), entries.end(), wanted)) >= count;
        },
        limit);
}

}  // namespace tavrin
