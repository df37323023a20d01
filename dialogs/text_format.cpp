#include "dialogs/text_format.h"

#include <charconv>

#include "platform/window/shown_text.h"

namespace brenholt {
namespace {

template <class... Args>
std::u16string Written(Args... args) {
    std::array<char, 32> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), args...);
    return std::u16string(buffer.data(), result.ptr);
}

}  // namespace

std::u16string FormatNumber(int32_t number) {
    return Written(number);
}

std::u16string FormatVersion(int32_t hundredths) {
    return Written(hundredths * 0.01, std::chars_format::fixed, 2);
}

std::u16string FormatAddress(const std::array<uint8_t, 4>& fields) {
    return FormatNumber(fields[0]) + u'.' + FormatNumber(fields[1]) + u'.' +
           FormatNumber(fields[2]) + u'.' + FormatNumber(fields[3]);
}

std::u16string FormatTexts(std::u16string_view format,
                           std::initializer_list<std::u16string_view> texts) {
    std::u16string result;
    for (const std::u16string_view text : texts) {
        const size_t at = format.find(u"%s");
        result.append(format.substr(0, at)).append(ShownOnOneLine(text));
        format.remove_prefix(at + 2);
    }
    return result.append(format);
}

}  // namespace brenholt
