#include "platform/memory.h"

#include <sys/mman.h>

namespace brenholt {
namespace {

constexpr size_t kHugePage = size_t{2} << 20;

}  // namespace

MemoryBlock AllocateBlock(size_t size) {
    const size_t alignment = size < kHugePage ? alignof(std::max_align_t) : kHugePage;
    const size_t whole = (size + alignment - 1) / alignment * alignment;
    MemoryBlock block(static_cast<uint8_t*>(std::aligned_alloc(alignment, whole)));
    if (block && alignment == kHugePage) {
        madvise(block.get(), whole, MADV_HUGEPAGE);
    }
    return block;
}

}  // namespace brenholt
