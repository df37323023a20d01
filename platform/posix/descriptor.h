// File descriptors, as the handles of this system.
#ifndef BRENHOLT_PLATFORM_POSIX_DESCRIPTOR_H
#define BRENHOLT_PLATFORM_POSIX_DESCRIPTOR_H

#include <cerrno>

#include "platform/handle.h"

namespace brenholt {

// The result of a system call, repeated for as long as a signal interrupts it.
template <class Call>
auto Uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

// `fd`, which may be -1, or in the place of one of the standard three a descriptor above them (the host
// may have closed those, and would then write its messages into our file); close-on-exec is kept. -1
// when no other descriptor is free; `fd` is closed then.
int AboveStandard(int fd);

template <void (*CloseIt)(intptr_t)>
int Descriptor(const CHandle<CloseIt>& handle) {
    return static_cast<int>(handle.Get());
}

}  // namespace brenholt

#endif
