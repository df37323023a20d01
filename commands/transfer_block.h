// The memory that a file passes through, in blocks of 20 MiB.
#ifndef BRENHOLT_COMMANDS_TRANSFER_BLOCK_H
#define BRENHOLT_COMMANDS_TRANSFER_BLOCK_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace brenholt {

// Memory for `size` bytes, unwritten; null when there is none.
inline std::unique_ptr<uint8_t[]> MakeTransferBlock(size_t size) {
    return std::unique_ptr<uint8_t[]>(new (std::nothrow) uint8_t[size]);
}

}  // namespace brenholt

#endif
