#include "platform/file_time.h"

namespace brenholt {
namespace {

constexpr int64_t kUnitsPerSecond = 10'000'000;
constexpr uint32_t kNanosecondsPerUnit = 100;
constexpr int64_t kEpochSeconds = 11'644'473'600;  // 1601 to 1970
constexpr int64_t kFirstYear = 1900;

}  // namespace

FILETIME FileTimeFrom(int64_t seconds, uint32_t nanoseconds) {
    const auto units = static_cast<uint64_t>((seconds + kEpochSeconds) * kUnitsPerSecond +
                                             nanoseconds / kNanosecondsPerUnit);
    return {static_cast<uint32_t>(units), static_cast<uint32_t>(units >> 32)};
}

std::optional<int64_t> ToTime(FILETIME time) {
    const auto units =
        static_cast<int64_t>(uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
    const int64_t seconds = units / kUnitsPerSecond - kEpochSeconds;
    return LocalYear(seconds) >= kFirstYear ? std::optional(seconds) : std::nullopt;
}

}  // namespace brenholt
