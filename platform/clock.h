// Time: the tick and the delay. With the sockets, the seam through which tests own the clock.
#ifndef BRENHOLT_PLATFORM_CLOCK_H
#define BRENHOLT_PLATFORM_CLOCK_H

#include <cstdint>

namespace brenholt {

// Milliseconds of a monotonic clock, wrapping at 32 bits. Take differences unsigned.
uint32_t GetTickCount();

// Microseconds of the same clock. They do not wrap.
uint64_t GetMicroseconds();

// Blocks the calling thread for at least `milliseconds`; 0 returns at once. Signals do not cut it short.
void Sleep(uint32_t milliseconds);

}  // namespace brenholt

#endif
