#include "platform/clock.h"

#include <chrono>

namespace brenholt {

uint64_t GetMicroseconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

uint32_t GetTickCount() {
    return static_cast<uint32_t>(GetMicroseconds() / 1000);
}

}  // namespace brenholt
