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
        if (settings_.spin > Time{0} && Spin(std::min(wait, settings_.spin))) {
            continue;
        }
        const timespec limit = ToSystem(wait);
        if (ppoll(sockets.data(), sockets.size(), &limit, nullptr) <= 0) {
            continue;
        }
        for (std::size_t i = 0; i + 1 < sockets.size(); ++i) {
            if (sockets[i].revents != 0) {
                ReceiveOne(i);
            }
        }
        if (sockets.back().revents != 0) {
            std::uint64_t wakes = 0;
            [[maybe_unused]] const ssize_t count = read(wake_.get(), &wakes, sizeof wakes);
        }
    }
}

bool Server::Prepare(std::vector<pollfd>& sockets, Time& wait) {
    woken_ = false;
    const std::lock_guard lock(mutex_);
    if (stop_) {
        return false;
    }
    const Time now = Now();
    SendDue(now);
    Time next = now + kForever;
    sockets.clear();
    for (std::size_t i = 0; i < units_.size(); ++i) {
        Unit& unit = *units_[i];
        const bool beacons = unit.beacon.enabled && !unit.paused;
        if (beacons && unit.next_beacon <= now) {
            if (!unit.plan.Silent(now)) {
                Beacon(i);
            }
            unit.next_beacon = now + std::max(unit.beacon.interval, kShortestInterval);
        }
        if (beacons) {
            next = std::min(next, unit.next_beacon);
        }
        // A negative descriptor is one that the system does not look at.
        sockets.push_back({unit.paused ? -1 : unit.command_socket.get(), POLLIN, 0});
    }
    sockets.push_back({wake_.get(), POLLIN, 0});
    if (!pending_.empty()) {
        next = std::min(next, pending_.front().outgoing.due);
    }
    wait = std::max(next - now, Time{0});
    return true;
}

bool Server::Spin(Time limit) {
    // Who wakes the thread, to stop it or with another beacon, does not wait for the spin's end.
    for (const Time end = Now() + limit; Now() < end && !woken_;) {
        for (std::size_t i = 0; i < units_.size(); ++i) {
            if (ReceiveOne(i)) {
                return true;
            }
        }
    }
    return false;
}

bool Server::ReceiveOne(std::size_t index) {
    const std::lock_guard lock(mutex_);
    if (units_[index]->paused) {
        return false;
    }
    Endpoint host;
    const auto length = ReceiveFrom(units_[index]->command_socket, buffer_, host);
    if (!length) {
        return false;
    }
    Answer(index, host, ByteView(buffer_).first(*length));
    return true;
}

void Server::Answer(std::size_t index, const Endpoint& host, ByteView datagram) {
    Unit& unit = *units_[index];
    const Time now = Now();
    const FaultSet faults = unit.plan.Arrive(now);
    const Event event = faults.Empty() ? Event::Request : Event::LostRequest;
    Record(index, event, host, unit.command, datagram, faults);
    if (event == Event::LostRequest) {
        return;
    }
    unit.panel.Receive(host, datagram, replies_);
    for (Reply& reply : replies_) {
        const Bytes intended = Recording() ? reply.bytes : Bytes{};
        outgoing_.clear();
        const FaultSet befallen = unit.plan.Apply(now, std::move(reply), outgoing_);
        if (befallen.Has(Fault::Lose) || befallen.Has(Fault::Silence)) {
            Record(index, Event::LostReply, unit.command, host, intended, befallen);
        }
        for (Outgoing& outgoing : outgoing_) {
            Dispatch(index, host, std::move(outgoing), now);
        }
    }
    unit.panel.WorkAhead();
}

void Server::Dispatch(std::size_t index, const Endpoint& host, Outgoing outgoing, Time now) {
    if (outgoing.due <= now) {
        Send(index, host, outgoing);
        return;
    }
    const auto behind = std::upper_bound(
        pending_.begin(), pending_.end(), outgoing.due,
        [](Time due, const Pending& pending) { return due < pending.outgoing.due; });
    pending_.insert(behind, Pending{std::move(outgoing), index, host});
}

// The record comes first: who has the reply in hand finds it in the log.
void Server::Send(std::size_t index, const Endpoint& host, const Outgoing& outgoing) {
    const Unit& unit = *units_[index];
    const bool side = outgoing.other_port;
    Record(index, Event::Reply, side ? unit.side : unit.command, host, outgoing.bytes,
           outgoing.faults);
    SendTo(side ? unit.side_socket : unit.command_socket, host, outgoing.bytes);
}

void Server::SendDue(Time now) {
    while (!pending_.empty() && pending_.front().outgoing.due <= now) {
        const Pending pending = std::move(pending_.front());
        pending_.pop_front();
        Send(pending.panel, pending.host, pending.outgoing);
    }
}

void Server::Beacon(std::size_t index) {
    const Unit& unit = *units_[index];
    const Bytes bytes = unit.BeaconBytes();
    Record(index, Event::Beacon, unit.side, unit.beacon.host, bytes);
    SendTo(unit.side_socket, unit.beacon.host, bytes);
}

}  // namespace tavrin
