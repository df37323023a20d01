// The beacon datagram: how it is recognised.
#ifndef BRENHOLT_DISCOVERY_BEACON_H
#define BRENHOLT_DISCOVERY_BEACON_H

#include <linux/filter.h>

#include <span>
#include <string_view>

namespace brenholt {

// The first 17 bytes of a beacon, case ignored.
inline constexpr std::string_view kGreeting = "Is there anybody ";

// A classic BPF program for a UDP socket: passes datagrams of 17 to kMaxDatagram bytes that begin with the
// greeting, case ignored; no other is queued, so that a flood of them cannot push beacons out.
std::span<const sock_filter> BeaconFilter();

}  // namespace brenholt

#endif
