// Texts of the module as paths of this system.
#ifndef BRENHOLT_PLATFORM_POSIX_DISK_PATH_H
#define BRENHOLT_PLATFORM_POSIX_DISK_PATH_H

#include <string>
#include <string_view>

namespace brenholt {

// 8-bit text, every separator a '/'.
std::string DiskPath(std::u16string_view path);

}  // namespace brenholt

#endif
