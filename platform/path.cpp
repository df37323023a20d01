#include "platform/path.h"

#include <algorithm>

#include "platform/text.h"

namespace brenholt {
namespace {

constexpr std::u16string_view kSeparators = u"\\/";

}  // namespace

std::string DiskPath(std::u16string_view path) {
    std::u16string slashed(path);
    std::replace(slashed.begin(), slashed.end(), u'\\', u'/');
    return WideCharToMultiByte(slashed);
}

std::u16string FolderPath(std::u16string_view path) {
    std::u16string folder(path);
    std::replace(folder.begin(), folder.end(), u'/', u'\\');
    if (!folder.ends_with(u'\\')) {
        folder += u'\\';
    }
    return folder;
}

std::u16string_view LastComponent(std::u16string_view path) {
    const size_t at = path.find_last_of(kSeparators);
    return at == std::u16string_view::npos ? path : path.substr(at + 1);
}

bool IsPlainName(std::string_view name) {
    constexpr std::string_view kForbidden("\\/\0", 3);
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(kForbidden) == std::string_view::npos;
}

std::u16string WidenName(std::string_view name) {
    std::u16string text = MultiByteToWideChar(name);
    if (WideCharToMultiByte(text) != name) {
        text.assign(name.size(), u'\0');
        std::transform(name.begin(), name.end(), text.begin(), ByteToWide);
    }
    return text;
}

}  // namespace brenholt
