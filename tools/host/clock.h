// The clock that waits and durations are measured with.
#ifndef BRENHOLT_TOOLS_HOST_CLOCK_H
#define BRENHOLT_TOOLS_HOST_CLOCK_H

#include <chrono>

namespace host {

using Clock = std::chrono::steady_clock;

inline Clock::time_point InSeconds(double seconds) {
    return Clock::now() +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

inline double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace host

#endif
