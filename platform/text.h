// Text: UTF-16 inside, 8-bit text in the system code page outside.
//
// The system code page is, on Windows, the process's ANSI code page; elsewhere the charset of the user's
// locale: LC_CTYPE as the environment has it, whatever the host has set; plain ASCII counts as UTF-8.
// Every operation may be called from any thread.
#ifndef BRENHOLT_PLATFORM_TEXT_H
#define BRENHOLT_PLATFORM_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace brenholt {

// A byte b that is not valid in the code page is the lone surrogate kByteSurrogate + b in a text.
inline constexpr char16_t kByteSurrogate = 0xDC00;

// UTF-16 to the system code page. Letters with separate accents are composed first (NFC); what the
// code page lacks becomes its substitution character. A lone surrogate of a byte, as
// MultiByteToWideChar gives it, comes out as that byte again.
std::string WideCharToMultiByte(std::u16string_view text);

// The system code page to UTF-16. A byte that is not valid in the code page becomes its
// lone surrogate, so that every text survives the way in and out again.
std::u16string MultiByteToWideChar(std::string_view bytes);

// The character for one byte, whatever the code page makes of it: itself in ASCII, else the lone
// surrogate of MultiByteToWideChar.
char16_t ByteToWide(char byte);

// `bytes` up to its first NUL, or whole.
std::string_view UpToNul(std::string_view bytes);

// Whether two texts are equal when the case of ASCII letters is ignored.
bool EqualNoCase(std::string_view a, std::string_view b);
bool EqualNoCase(std::u16string_view a, std::u16string_view b);

// The ASCII letters of `text` in upper case.
std::u16string MakeUpper(std::u16string_view text);

// The number at the start of `text`: white space, one sign, decimal digits up to the first other
// character. 0 without digits; values beyond 32 bits stop at the limit.
int32_t _wtoi(std::u16string_view text);

// The unsigned number of `base` (10 or 16) at the start of `text`, read as _wtoi reads; a leading "0x"
// is skipped for base 16. 0 without digits; values beyond 32 bits stop at the limit.
uint32_t wcstoul(std::u16string_view text, int base);

}  // namespace brenholt

#endif
