// Paths as texts: '\' and '/' both separate; the module writes '\'.
#ifndef BRENHOLT_PLATFORM_PATH_H
#define BRENHOLT_PLATFORM_PATH_H

#include <string>
#include <string_view>

namespace brenholt {

// The path in the module's own form: every '/' becomes '\', and it ends in '\' (an empty path
// becomes "\").
std::u16string FolderPath(std::u16string_view path);

// The part after the last separator; the whole text without one.
std::u16string_view LastComponent(std::u16string_view path);

// The rule for names that come from a panel: whether `name` is one component that stays in its folder.
// Not empty, not "." or "..", no separator of either kind and no NUL, nor a character that
// WideCharToMultiByte turns into one. Text, not bytes: in some code pages a letter's second byte is that of
// a separator.
bool IsPlainName(std::u16string_view name);

// A name from a panel as text. WideCharToMultiByte gives its bytes back unchanged, even where they are
// not valid in the code page or spell a letter in a way that the code page would not.
std::u16string WidenName(std::string_view name);

}  // namespace brenholt

#endif
