// The server's thread: waiting, receiving and sending.
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "tools/panel/server.h"
#include "tools/panel/udp.h"
#include "tools/panel/unit.h"

namespace tavrin {
namespace {

constexpr Time kForever = std::chrono::hours(1);
// Between two beacons of a panel, whatever was asked for, requests get their turn.
constexpr Time kShortestInterval = std::chrono::microseconds(10);

timespec ToSystem(Time time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    return {seconds.count(), static_cast<long>((time - seconds).count())};
}

}  // namespace

void Server::Run() {
    std::vector<pollfd> sockets;
    Time wait{0};
    while (Prepare(sockets, wait)) {
        if (m_settings.spin > Time{0} && Spin(std::min(wait, m_settings.spin))) {
            continue;
        }
        const timespec limit = ToSystem(wait);
        if (ppoll(sockets.data(), sockets.size(), &limit, nullptr) <= 0) {
            continue;
        }
        for (size_t i = 0; i + 1 < sockets.size(); ++i) {
            if (sockets[i].revents != 0) {
                ReceiveOne(i);
            }
        }
        if (sockets.back().revents != 0) {
            uint64_t wakes = 0;
            [[maybe_unused]] const ssize_t count = read(m_wake.get(), &wakes, sizeof wakes);
        }
    }
}

bool Server::Prepare(std::vector<pollfd>& sockets, Time& wait) {
    m_woken = false;
    const std::lock_guard lock(m_mutex);
    if (m_stop) {
        return false;
    }
    const Time now = Now();
    SendDue(now);
    Time next = now + kForever;
    sockets.clear();
    for (size_t i = 0; i < m_units.size(); ++i) {
        Unit& unit = *m_units[i];
        const bool beacons = unit.beacon.enabled && !unit.paused;
        if (beacons && unit.nextBeacon <= now) {
            if (!unit.plan.Silent(now)) {
                Beacon(i);
            }
            unit.nextBeacon = now + std::max(unit.beacon.interval, kShortestInterval);
        }
        if (beacons) {
            next = std::min(next, unit.nextBeacon);
        }
        // A negative descriptor is one that the system does not look at.
        sockets.push_back({unit.paused ? -1 : unit.commandSocket.get(), POLLIN, 0});
    }
    sockets.push_back({m_wake.get(), POLLIN, 0});
    if (!m_pending.empty()) {
        next = std::min(next, m_pending.front().outgoing.due);
    }
    wait = std::max(next - now, Time{0});
    return true;
}

bool Server::Spin(Time limit) {
    // Who wakes the thread, to stop it or with another beacon, does not wait for the spin's end.
    for (const Time end = Now() + limit; Now() < end && !m_woken;) {
        for (size_t i = 0; i < m_units.size(); ++i) {
            if (ReceiveOne(i)) {
                return true;
            }
        }
    }
    return false;
}

bool Server::ReceiveOne(size_t index) {
    const std::lock_guard lock(m_mutex);
    if (m_units[index]->paused) {
        return false;
    }
    Endpoint host;
    const auto length = ReceiveFrom(m_units[index]->commandSocket, m_buffer, host);
    if (!length) {
        return false;
    }
    Answer(index, host, ByteView(m_buffer).first(*length));
    return true;
}

void Server::Answer(size_t index, const Endpoint& host, ByteView datagram) {
    Unit& unit = *m_units[index];
    const Time now = Now();
    const FaultSet faults = unit.plan.Arrive(now);
    const Event event = faults.Empty() ? Event::Request : Event::LostRequest;
    Record(index, event, host, unit.command, datagram, faults);
    if (event == Event::LostRequest) {
        return;
    }
    unit.panel.Receive(host, datagram, m_replies);
    for (Reply& reply : m_replies) {
        const Bytes intended = Recording() ? reply.bytes : Bytes{};
        m_outgoing.clear();
        const FaultSet befallen = unit.plan.Apply(now, std::move(reply), m_outgoing);
        if (befallen.Has(Fault::Lose) || befallen.Has(Fault::Silence)) {
            Record(index, Event::LostReply, unit.command, host, intended, befallen);
        }
        for (Outgoing& outgoing : m_outgoing) {
            Dispatch(index, host, std::move(outgoing), now);
        }
    }
    unit.panel.WorkAhead();
}

void Server::Dispatch(size_t index, const Endpoint& host, Outgoing outgoing, Time now) {
    if (outgoing.due <= now) {
        Send(index, host, outgoing);
        return;
    }
    const auto place = std::upper_bound(
        m_pending.begin(), m_pending.end(), outgoing.due,
        [](Time due, const Pending& pending) { return due < pending.outgoing.due; });
    m_pending.insert(place, Pending{std::move(outgoing), index, host});
}

// The record comes first: who has the reply in hand finds it in the log.
void Server::Send(size_t index, const Endpoint& host, const Outgoing& outgoing) {
    const Unit& unit = *m_units[index];
    const bool side = outgoing.otherPort;
    Record(index, Event::Reply, side ? unit.side : unit.command, host, outgoing.bytes,
           outgoing.faults);
    SendTo(side ? unit.sideSocket : unit.commandSocket, host, outgoing.bytes);
}

void Server::SendDue(Time now) {
    while (!m_pending.empty() && m_pending.front().outgoing.due <= now) {
        const Pending pending = std::move(m_pending.front());
        m_pending.pop_front();
        Send(pending.panel, pending.host, pending.outgoing);
    }
}

void Server::Beacon(size_t index) {
    const Unit& unit = *m_units[index];
    const Bytes bytes = unit.BeaconBytes();
    Record(index, Event::Beacon, unit.side, unit.beacon.host, bytes);
    SendTo(unit.sideSocket, unit.beacon.host, bytes);
}

}  // namespace tavrin
