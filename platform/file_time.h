// File times: FILETIME words on the wire, seconds on the disk.
#ifndef BRENHOLT_PLATFORM_FILE_TIME_H
#define BRENHOLT_PLATFORM_FILE_TIME_H

#include <cstdint>
#include <ctime>
#include <optional>

namespace brenholt {

// 100 ns units since 1 January 1601 UTC.
struct FILETIME {
    uint32_t dwLowDateTime = 0;
    uint32_t dwHighDateTime = 0;
};

FILETIME FileTimeFrom(const timespec& time);

// Whole seconds since 1970, the fraction dropped. Nothing for a time that the platform refuses (2^63
// units or more) or whose local year is below 1900: such a time counts as none.
std::optional<time_t> ToTime(FILETIME time);

}  // namespace brenholt

#endif
