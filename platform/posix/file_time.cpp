#include "platform/file_time.h"

#include <ctime>

namespace brenholt {

std::optional<int64_t> LocalYear(int64_t seconds) {
    const time_t time = seconds;
    tm local{};
    if (localtime_r(&time, &local) == nullptr) {
        return std::nullopt;
    }
    return int64_t{1900} + local.tm_year;
}

}  // namespace brenholt
