// Texts that come from elsewhere, on their way to the user.
#ifndef BRENHOLT_PLATFORM_WINDOW_SHOWN_TEXT_H
#define BRENHOLT_PLATFORM_WINDOW_SHOWN_TEXT_H

#include <string>
#include <string_view>

namespace brenholt {

// `text` with what would break its line, reorder it or is not a character written out: "\x0A"
// for a control character, "\u2028" for a separator of lines or a control of the writing direction.
std::u16string ShownOnOneLine(std::u16string_view text);

}  // namespace brenholt

#endif
