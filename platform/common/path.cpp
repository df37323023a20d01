#include "platform/path.h"

#include <algorithm>

#include "platform/text.h"

namespace brenholt {
namespace {

constexpr std::u16string_view kSeparators = u"\\/";

}  // namespace

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

bool IsPlainName(std::u16string_view name) {
    // The last three are the same characters as bytes that are not valid in the code page.
    constexpr std::u16string_view kForbidden(u"\\/\0\xDC5C\xDC2F\xDC00", 6);
    return !name.empty() && name != u"." && name != u".." &&
           name.find_first_of(kForbidden) == std::u16string_view::npos;
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
