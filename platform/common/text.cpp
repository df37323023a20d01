#include "platform/text.h"

#include <algorithm>
#include <limits>

namespace brenholt {
namespace {

template <class Char>
Char UpperAscii(Char c) {
    return c >= 'a' && c <= 'z' ? static_cast<Char>(c - 'a' + 'A') : c;
}

template <class Char>
bool EqualNoCaseAs(std::basic_string_view<Char> a, std::basic_string_view<Char> b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](Char x, Char y) { return UpperAscii(x) == UpperAscii(y); });
}

constexpr std::u16string_view kBlanks = u" \t\n\v\f\r";

int DigitValue(char16_t c) {
    if (c >= u'0' && c <= u'9') {
        return c - u'0';
    }
    const char16_t upper = UpperAscii(c);
    return upper >= u'A' && upper <= u'F' ? upper - u'A' + 10 : std::numeric_limits<int>::max();
}

// White space and one sign go from the front of `text`; whether the sign was a minus.
bool TakeSign(std::u16string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const bool minus = text.starts_with(u'-');
    if (minus || text.starts_with(u'+')) {
        text.remove_prefix(1);
    }
    return minus;
}

// The digits of `base` at the front of `text`, stopping at `limit`.
uint32_t TakeDigits(std::u16string_view text, int base, uint32_t limit) {
    uint64_t value = 0;
    for (const char16_t c : text) {
        const int digit = DigitValue(c);
        if (digit >= base) {
            break;
        }
        value = std::min<uint64_t>(
            value * static_cast<unsigned>(base) + static_cast<unsigned>(digit), limit);
    }
    return static_cast<uint32_t>(value);
}

}  // namespace

char16_t ByteToWide(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value < 0x80 ? value : static_cast<char16_t>(kByteSurrogate + value);
}

std::string_view UpToNul(std::string_view bytes) {
    return bytes.substr(0, bytes.find('\0'));
}

bool EqualNoCase(std::string_view a, std::string_view b) {
    return EqualNoCaseAs(a, b);
}
bool EqualNoCase(std::u16string_view a, std::u16string_view b) {
    return EqualNoCaseAs(a, b);
}

std::u16string MakeUpper(std::u16string_view text) {
    std::u16string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(), UpperAscii<char16_t>);
    return upper;
}

int32_t _wtoi(std::u16string_view text) {
    const bool minus = TakeSign(text);
    const uint32_t limit = std::numeric_limits<int32_t>::max() + (minus ? 1U : 0U);
    const uint32_t value = TakeDigits(text, 10, limit);
    return static_cast<int32_t>(minus ? 0U - value : value);
}

uint32_t wcstoul(std::u16string_view text, int base) {
    const bool minus = TakeSign(text);
    if (base == 16 && text.size() > 2 && text[0] == u'0' && UpperAscii(text[1]) == u'X' &&
        DigitValue(text[2]) < base) {
        text.remove_prefix(2);
    }
    const uint32_t value = TakeDigits(text, base, std::numeric_limits<uint32_t>::max());
    return minus ? 0U - value : value;
}

}  // namespace brenholt
