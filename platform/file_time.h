// File times: FILETIME words on the wire, seconds on the disk.
#ifndef BRENHOLT_PLATFORM_FILE_TIME_H
#define BRENHOLT_PLATFORM_FILE_TIME_H

#include <cstdint>
#include <optional>

namespace brenholt {

// 100 ns units since 1 January 1601 UTC.
struct FILETIME {
    uint32_t dwLowDateTime = 0;
    uint32_t dwHighDateTime = 0;
};

// From seconds since 1970 and the nanoseconds of the next one.
FILETIME FileTimeFrom(int64_t seconds, uint32_t nanoseconds);

// Whole seconds since 1970, the fraction dropped. Nothing for a time that the platform refuses (2^63
// units or more) or whose local year is below 1900: such a time counts as none.
std::optional<int64_t> ToTime(FILETIME time);

// The year of that time on the host's clock. Nothing when the system cannot say.
std::optional<int64_t> LocalYear(int64_t seconds);

}  // namespace brenholt

#endif
