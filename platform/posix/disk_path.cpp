#include "platform/posix/disk_path.h"

#include <algorithm>

#include "platform/text.h"

namespace brenholt {

std::string DiskPath(std::u16string_view path) {
    std::u16string slashed(path);
    std::replace(slashed.begin(), slashed.end(), u'\\', u'/');
    return WideCharToMultiByte(slashed);
}

}  // namespace brenholt
