// What all datagrams of the protocol have in common.
#ifndef BRENHOLT_DISCOVERY_DATAGRAM_H
#define BRENHOLT_DISCOVERY_DATAGRAM_H

#include <cstddef>

namespace brenholt {

inline constexpr size_t kMaxDatagram = 1400;  // bytes, both ways

}  // namespace brenholt

#endif
