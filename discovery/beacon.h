// The beacon datagram: how it is recognised.
#ifndef BRENHOLT_DISCOVERY_BEACON_H
#define BRENHOLT_DISCOVERY_BEACON_H

#include <string_view>

#include "discovery/datagram.h"
#include "platform/socket.h"

namespace brenholt {

// The first 17 bytes of a beacon, case ignored.
inline constexpr std::string_view kGreeting = "Is there anybody ";

inline constexpr DatagramRule kBeacons{kGreeting, kMaxDatagram};

}  // namespace brenholt

#endif
