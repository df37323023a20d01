#include "discovery/tavrin_unit.h"

#include "platform/text.h"

namespace brenholt {
namespace {

constexpr size_t kVersionDigits = 4;
constexpr size_t kKindChars = 4;  // "_ARM"

std::u16string_view Right(std::u16string_view text, size_t count) {
    return text.substr(text.size() - std::min(count, text.size()));
}

// Deletes `count` characters from the last underscore on, or from the start when there is none.
void DeleteFromLastUnderscore(std::u16string& text, size_t count) {
    const size_t at = text.rfind(u'_');
    text.erase(at == std::u16string::npos ? 0 : at, count);
}

}  // namespace

void CTavrinUnit::ParseDescriptor(std::u16string_view text) {
    std::u16string rest(text);
    // The character in front of the digits is dropped whatever it is.
    const std::u16string_view version = Right(rest, 1 + kVersionDigits);
    m_nVersion = _wtoi(version.substr(version.empty() ? 0 : 1));
    DeleteFromLastUnderscore(rest, 1 + kVersionDigits);

    const std::u16string_view kind = Right(rest, kKindChars);
    m_nCpu = kind == u"_ARM" ? kCpuArm : kind == u"_X86" ? kCpuX86 : kCpuUnknown;
    DeleteFromLastUnderscore(rest, kKindChars);

    m_strProject = std::move(rest);
}

}  // namespace brenholt
