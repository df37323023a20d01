#include "platform/window/shown_text.h"

namespace brenholt {
namespace {

bool IsControl(char16_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

// Separators of lines and paragraphs, and the marks, embeddings, overrides and isolates of the
// writing direction.
bool IsFormat(char16_t c) {
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x2028 && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

}  // namespace

std::u16string ShownOnOneLine(std::u16string_view text) {
    std::u16string shown;
    shown.reserve(text.size());
    for (const char16_t c : text) {
        if (!IsControl(c) && !IsFormat(c)) {
            shown += c;
            continue;
        }
        shown += IsControl(c) ? u"\\x" : u"\\u";
        for (int shift = IsControl(c) ? 4 : 12; shift >= 0; shift -= 4) {
            shown += u"0123456789ABCDEF"[c >> shift & 0xF];
        }
    }
    return shown;
}

}  // namespace brenholt
