#include "platform/clock.h"

#include <cerrno>
#include <ctime>

namespace brenholt {

uint64_t GetMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000 +
           static_cast<uint64_t>(now.tv_nsec) / 1000;
}

uint32_t GetTickCount() {
    return static_cast<uint32_t>(GetMicroseconds() / 1000);
}

void Sleep(uint32_t milliseconds) {
    if (milliseconds == 0) {
        return;
    }
    timespec left{static_cast<time_t>(milliseconds / 1000),
                  static_cast<long>(milliseconds % 1000) * 1000000};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

}  // namespace brenholt
