// Text between the charset of the user's locale, the module's UTF-16 and the UTF-8 of JSON.
//
// Names on disk, on the command line and from panels are bytes in the charset of the locale (plain
// ASCII counts as UTF-8), and need not be valid in it. A byte b that is not becomes the lone
// surrogate U+DC00 + b in UTF-16, as the module has it, so that every name survives the way in and
// out again.
#ifndef BRENHOLT_TOOLS_HOST_TEXT_H
#define BRENHOLT_TOOLS_HOST_TEXT_H

#include <string>
#include <string_view>

namespace host {

std::u16string ToWide(std::string_view bytes);
std::string ToBytes(std::u16string_view text);

// Bytes as an argument of the table. The module composes letters with separate accents; a name that
// this would change has its bytes beyond ASCII as lone surrogates, so that it stays the same name.
std::u16string ForTable(std::string_view bytes);

// The same for a path of this host, where a backslash is a letter and not a separator.
std::u16string LocalForTable(std::string_view path);

// UTF-8 that is always valid: a lone surrogate becomes U+FFFD.
std::string ToUtf8(std::u16string_view text);

// Whether no byte of the original was outside the charset.
bool IsText(std::u16string_view text);

// The same text with what could move a terminal's cursor, change its state or hide itself written
// as \xNN or \uNNNN: control and format characters, line and paragraph separators, and with
// `bytesToo` also bytes outside the charset.
std::string Harmless(std::string_view bytes, bool bytesToo);

// What the system says of an errno value.
std::string ErrorText(int error);

// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...);

}  // namespace host

#endif
