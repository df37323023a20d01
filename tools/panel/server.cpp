#include "tools/panel/server.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <utility>

#include "tools/panel/udp.h"
#include "tools/panel/unit.h"

namespace tavrin {
namespace {

constexpr size_t kLargestUdp = 65536;

}  // namespace

Server::Server(std::vector<PanelSettings> panels, ServerSettings settings)
    : m_start(std::chrono::steady_clock::now()),
      m_settings(std::move(settings)),
      m_log(m_settings.logEntries),
      m_wake(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)),
      m_buffer(kLargestUdp) {
    if (!m_wake) {
        throw ServerError("cannot make an event descriptor");
    }
    for (PanelSettings& panel : panels) {
        m_units.push_back(std::make_unique<Unit>(std::move(panel)));
    }
}

Server::~Server() {
    Stop();
}

void Server::Start() {
    if (m_thread.joinable()) {
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        try {
            for (const auto& unit : m_units) {
                unit->Open();
                unit->nextBeacon = Now();
            }
        } catch (const ServerError&) {
            Close();
            throw;
        }
        m_stop = false;
    }
    m_thread = std::thread([this] { Run(); });
}

void Server::Stop() {
    if (!m_thread.joinable()) {
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    Wake();
    m_thread.join();
    const std::lock_guard lock(m_mutex);
    Close();
}

void Server::Close() {
    m_pending.clear();
    for (const auto& unit : m_units) {
        unit->Close();
    }
}

void Server::Pause(size_t panel) {
    const std::lock_guard lock(m_mutex);
    m_units.at(panel)->paused = true;
}

void Server::Resume(size_t panel) {
    {
        const std::lock_guard lock(m_mutex);
        m_units.at(panel)->paused = false;
    }
    Wake();
}

void Server::SetFaults(size_t panel, const FaultSettings& faults) {
    const std::lock_guard lock(m_mutex);
    m_units.at(panel)->plan = FaultPlan(faults);
}

void Server::SetHook(size_t panel, Panel::Hook hook) {
    const std::lock_guard lock(m_mutex);
    m_units.at(panel)->panel.SetHook(std::move(hook));
}

void Server::SetBeacon(size_t panel, BeaconSettings beacon) {
    {
        const std::lock_guard lock(m_mutex);
        m_units.at(panel)->beacon = std::move(beacon);
        m_units.at(panel)->nextBeacon = Now();
    }
    Wake();
}

void Server::SendBeacon(size_t panel) {
    const std::lock_guard lock(m_mutex);
    if (m_units.at(panel)->sideSocket) {
        Beacon(panel);
    }
}

std::vector<MemoryBlock> Server::Blocks(size_t panel) const {
    const std::lock_guard lock(m_mutex);
    const auto& blocks = m_units.at(panel)->panel.blocks();
    return {blocks.begin(), blocks.end()};
}

Time Server::Now() const {
    return std::chrono::steady_clock::now() - m_start;
}

void Server::Wake() {
    m_woken = true;
    const uint64_t one = 1;
    // It fails only when the counter is full, and then the thread wakes anyway.
    [[maybe_unused]] const ssize_t written = write(m_wake.get(), &one, sizeof one);
}

bool Server::Recording() const {
    return m_settings.logEntries > 0 || m_settings.observer;
}

void Server::Record(size_t index, Event event, const Endpoint& source, const Endpoint& destination,
                    ByteView bytes, FaultSet faults) {
    if (!Recording()) {
        return;
    }
    LogEntry entry{Now(), event, index, source, destination, Bytes(bytes.begin(), bytes.end()),
                   faults};
    if (m_settings.observer) {
        m_settings.observer(entry);
    }
    m_log.Add(std::move(entry));
}

}  // namespace tavrin
