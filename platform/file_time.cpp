#include "platform/file_time.h"

namespace brenholt {
namespace {

constexpr int64_t kUnitsPerSecond = 10'000'000;
constexpr int64_t kNanosecondsPerUnit = 100;
constexpr int64_t kEpochSeconds = 11'644'473'600;  // 1601 to 1970

}  // namespace

FILETIME FileTimeFrom(const timespec& time) {
    const auto units = static_cast<uint64_t>((time.tv_sec + kEpochSeconds) * kUnitsPerSecond +
                                             time.tv_nsec / kNanosecondsPerUnit);
    return {static_cast<uint32_t>(units), static_cast<uint32_t>(units >> 32)};
}

std::optional<time_t> ToTime(FILETIME time) {
    const auto units =
        static_cast<int64_t>(uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
    if (units < 0) {
        return std::nullopt;
    }
    const time_t seconds = units / kUnitsPerSecond - kEpochSeconds;
    tm local{};
    if (localtime_r(&seconds, &local) == nullptr || local.tm_year < 0) {
        return std::nullopt;
    }
    return seconds;
}

}  // namespace brenholt
