// DatagramRule, as the kernel's socket filter.
#ifndef BRENHOLT_PLATFORM_POSIX_DATAGRAM_FILTER_H
#define BRENHOLT_PLATFORM_POSIX_DATAGRAM_FILTER_H

#include "platform/socket.h"

namespace brenholt {

// Where the kernel refuses the filter, everything is received.
void AttachFilter(int socket, const DatagramRule& rule);

}  // namespace brenholt

#endif
