#include "tools/panel/server.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <utility>

#include "tools/panel/udp.h"
#include "tools/panel/unit.h"

namespace tavrin {
namespace {

constexpr std::size_t kLargestUdp = 65536;

}  // namespace

Server::Server(std::vector<PanelSettings> panels, ServerSettings settings)
    : start_(std::chrono::steady_clock::now()),
      settings_(std::move(settings)),
      log_(settings_.log_entries),
      wake_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)),
      buffer_(kLargestUdp) {
    if (!wake_) {
        throw ServerError("cannot make an event descriptor");
    }
    for (PanelSettings& panel : panels) {
        units_.push_back(std::make_unique<Unit>(std::move(panel)));
    }
}

Server::~Server() {
    Stop();
}

void Server::Start() {
    if (thread_.joinable()) {
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        try {
            for (const auto& unit : units_) {
                unit->Open();
                unit->next_beacon = Now();
            }
        } catch (const ServerError&) {
            Close();
            throw;
        }
        stop_ = false;
    }
    thread_ = std::thread([this] { Run(); });
}

void Server::Stop() {
    if (!thread_.joinable()) {
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        stop_ = true;
    }
    Wake();
    thread_.join();
    const std::lock_guard lock(mutex_);
    Close();
}

void Server::Close() {
    pending_.clear();
    for (const auto& unit : units_) {
        unit->Close();
    }
}

void Server::Pause(std::size_t panel) {
    const std::lock_guard lock(mutex_);
    units_.at(panel)->paused = true;
}

void Server::Resume(std::size_t panel) {
    {
        const std::lock_guard lock(mutex_);
        units_.at(panel)->paused = false;
    }
    Wake();
}

void Server::SetFaults(std::size_t panel, const FaultSettings& faults) {
    const std::lock_guard lock(mutex_);
    units_.at(panel)->plan = FaultPlan(faults);
}

void Server::SetHook(std::size_t panel, Panel::Hook hook) {
    const std::lock_guard lock(mutex_);
    units_.at(panel)->panel.SetHook(std::move(hook));
}

void Server::SetBeacon(std::size_t panel, BeaconSettings beacon) {
    {
        const std::lock_guard lock(mutex_);
        units_.at(panel)->beacon = std::move(beacon);
        units_.at(panel)->next_beacon = Now();
    }
    Wake();
}

void Server::SendBeacon(std::size_t panel) {
    const std::lock_guard lock(mutex_);
    if (units_.at(panel)->side_socket) {
        Beacon(panel);
    }
}

std::vector<MemoryBlock> Server::Blocks(std::size_t panel) const {
    const std::lock_guard lock(mutex_);
    const auto& blocks = units_.at(panel)->panel.blocks();
    return {blocks.begin(), blocks.end()};
}

Time Server::Now() const {
    return std::chrono::steady_clock::now() - start_;
}

void Server::Wake() {
    woken_ = true;
    const std::uint64_t one = 1;
    // It fails only when the counter is full, and then the thread wakes anyway.
    [[maybe_unused]] const ssize_t written = write(wake_.get(), &one, sizeof one);
}

bool Server::Recording() const {
    return settings_.log_entries > 0 || settings_.observer;
}

void Server::Record(std::size_t index, Event event, const Endpoint& source,
                    const Endpoint& destination, ByteView bytes, FaultSet faults) {
    if (!Recording()) {
        return;
    }
    LogEntry entry{Now(), event, index, source, destination, Bytes(bytes.begin(), bytes.end()),
                   faults};
    if (settings_.observer) {
        settings_.observer(entry);
    }
    log_.Add(std::move(entry));
}

}  // namespace tavrin
