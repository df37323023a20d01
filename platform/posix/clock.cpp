#include "platform/clock.h"

#include <cerrno>
#include <ctime>

namespace brenholt {

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
