// Memory for data that is moved in large blocks.
#ifndef BRENHOLT_PLATFORM_MEMORY_H
#define BRENHOLT_PLATFORM_MEMORY_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace brenholt {

struct MemoryFree {
    void operator()(uint8_t* memory) const { std::free(memory); }
};
using MemoryBlock = std::unique_ptr<uint8_t[], MemoryFree>;

// `size` bytes, not initialised; null when there is no memory. A large block lies on huge pages where the
// system has them: the first touch of an ordinary page can cost as much as a datagram.
MemoryBlock AllocateBlock(size_t size);

}  // namespace brenholt

#endif
