// The 20 MiB of memory that a file transfer holds while it runs.
#ifndef BRENHOLT_COMMANDS_TRANSFER_BLOCK_H
#define BRENHOLT_COMMANDS_TRANSFER_BLOCK_H

#include <cstdint>
#include <memory>
#include <new>

#include "link/tv_udp.h"

namespace brenholt {

// Null when there is no memory. Left unwritten, so that a small file costs only the pages it needs.
inline std::unique_ptr<uint8_t[]> MakeTransferBlock() {
    return std::unique_ptr<uint8_t[]>(new (std::nothrow) uint8_t[kTransferBlock]);
}

}  // namespace brenholt

#endif
