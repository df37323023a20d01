// Texts composed for the user. The host's locale has no part in them.
#ifndef BRENHOLT_DIALOGS_TEXT_FORMAT_H
#define BRENHOLT_DIALOGS_TEXT_FORMAT_H

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace brenholt {

// "%d".
std::u16string FormatNumber(int32_t number);
// A version in hundredths as "%.02f": 123 gives "1.23".
std::u16string FormatVersion(int32_t hundredths);
// "%u.%u.%u.%u".
std::u16string FormatAddress(const std::array<uint8_t, 4>& fields);
// `format` with each "%s" replaced by the next of `texts`, as ShownOnOneLine; there is one for each.
std::u16string FormatTexts(std::u16string_view format,
                           std::initializer_list<std::u16string_view> texts);

}  // namespace brenholt

#endif
