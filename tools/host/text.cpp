#include "tools/host/text.h"

#include <langinfo.h>
#include <locale.h>
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/unorm2.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <system_error>

namespace host {
namespace {

using Converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

constexpr char16_t kByteMark = 0xDC00;  // a byte outside the charset is kByteMark + byte

// The charset of the environment's locale, as ICU finds it.
std::string LocaleCharset() {
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr) {
        return "UTF-8";
    }
    std::string name = nl_langinfo_l(CODESET, locale);
    freelocale(locale);
    return name == "ANSI_X3.4-1968" ? "UTF-8" : name;
}

void KeepBytes(const void* /*context*/, UConverterToUnicodeArgs* args, const char* units,
               int32_t length, UConverterCallbackReason reason, UErrorCode* error) {
    if (reason > UCNV_IRREGULAR) {
        return;
    }
    *error = U_ZERO_ERROR;
    for (int32_t i = 0; i < length; ++i) {
        const auto unit = static_cast<UChar>(kByteMark + static_cast<unsigned char>(units[i]));
        ucnv_cbToUWriteUChars(args, &unit, 1, 0, error);
    }
}

void RestoreBytes(const void* context, UConverterFromUnicodeArgs* args, const UChar* units,
                  int32_t length, UChar32 point, UConverterCallbackReason reason,
                  UErrorCode* error) {
    if (reason == UCNV_ILLEGAL && point >= kByteMark && point <= kByteMark + 0xFF) {
        *error = U_ZERO_ERROR;
        const auto byte = static_cast<char>(point - kByteMark);
        ucnv_cbFromUWriteBytes(args, &byte, 1, 0, error);
        return;
    }
    UCNV_FROM_U_CALLBACK_SUBSTITUTE(context, args, units, length, point, reason, error);
}

Converter OpenConverter() {
    static const std::string charset = LocaleCharset();
    UErrorCode error = U_ZERO_ERROR;
    Converter converter(ucnv_open(charset.c_str(), &error), &ucnv_close);
    if (U_FAILURE(error)) {
        error = U_ZERO_ERROR;
        converter.reset(ucnv_open("UTF-8", &error));
    }
    ucnv_setToUCallBack(converter.get(), KeepBytes, nullptr, nullptr, nullptr, &error);
    ucnv_setFromUCallBack(converter.get(), RestoreBytes, nullptr, nullptr, nullptr, &error);
    if (U_FAILURE(error)) {
        throw std::bad_alloc();
    }
    return converter;
}

}  // namespace

std::u16string ToWide(std::string_view bytes) {
    const Converter converter = OpenConverter();
    std::u16string text;
    std::array<UChar, 256> chunk{};
    const char* from = bytes.data();
    UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
    while (error == U_BUFFER_OVERFLOW_ERROR) {
        error = U_ZERO_ERROR;
        UChar* to = chunk.data();
        ucnv_toUnicode(converter.get(), &to, chunk.data() + chunk.size(), &from,
                       bytes.data() + bytes.size(), nullptr, 1, &error);
        text.append(chunk.data(), to);
    }
    return text;
}

std::string ToBytes(std::u16string_view text) {
    const Converter converter = OpenConverter();
    std::string bytes;
    std::array<char, 256> chunk{};
    const UChar* from = text.data();
    UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
    while (error == U_BUFFER_OVERFLOW_ERROR) {
        error = U_ZERO_ERROR;
        char* to = chunk.data();
        ucnv_fromUnicode(converter.get(), &to, chunk.data() + chunk.size(), &from,
                         text.data() + text.size(), nullptr, 1, &error);
        bytes.append(chunk.data(), to);
    }
    return bytes;
}

std::u16string ForTable(std::string_view bytes) {
    std::u16string text = ToWide(bytes);
    UErrorCode error = U_ZERO_ERROR;
    const UNormalizer2* nfc = unorm2_getNFCInstance(&error);
    const bool composed =
        unorm2_isNormalized(nfc, text.data(), static_cast<int32_t>(text.size()), &error) != 0;
    if (!composed || ToBytes(text) != bytes) {
        text.assign(bytes.begin(), bytes.end());
        std::transform(bytes.begin(), bytes.end(), text.begin(), [](char c) {
            const auto byte = static_cast<unsigned char>(c);
            return static_cast<char16_t>(byte < 0x80 ? byte : kByteMark + byte);
        });
    }
    return text;
}

std::u16string LocalForTable(std::string_view path) {
    std::u16string text = ForTable(path);
    std::replace(text.begin(), text.end(), u'\\', static_cast<char16_t>(kByteMark + '\\'));
    return text;
}

std::string ToUtf8(std::u16string_view text) {
    std::string utf8;
    for (size_t i = 0; i < text.size();) {
        UChar32 point = 0;
        U16_NEXT_OR_FFFD(text.data(), i, text.size(), point);
        std::array<char, U8_MAX_LENGTH> unit{};
        int32_t length = 0;
        U8_APPEND_UNSAFE(unit.data(), length, point);
        utf8.append(unit.data(), static_cast<size_t>(length));
    }
    return utf8;
}

bool IsText(std::u16string_view text) {
    for (size_t i = 0; i < text.size();) {
        UChar32 point = 0;
        U16_NEXT(text.data(), i, text.size(), point);
        if (U_IS_SURROGATE(point)) {
            return false;
        }
    }
    return true;
}

std::string Harmless(std::string_view bytes, bool bytesToo) {
    const std::u16string text = ToWide(bytes);
    std::u16string shown;
    for (size_t i = 0; i < text.size();) {
        const size_t start = i;
        UChar32 point = 0;
        U16_NEXT(text.data(), i, text.size(), point);
        std::string mark;
        if (bytesToo && U_IS_SURROGATE(point)) {
            mark = Format("\\x%02X", static_cast<unsigned>(point - kByteMark));
        } else if (u_iscntrl(point)) {
            mark = Format(point < 0x100 ? "\\x%02X" : "\\u%04X", static_cast<unsigned>(point));
        } else {
            shown.append(text, start, i - start);
        }
        shown.append(mark.begin(), mark.end());
    }
    return ToBytes(shown);
}

std::string ErrorText(int error) {
    return std::system_category().message(error);
}

std::string Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(nullptr, 0, format, args);
    va_end(args);
    std::string text(static_cast<size_t>(length) + 1, '\0');
    va_start(args, format);
    std::vsnprintf(text.data(), text.size(), format, args);
    va_end(args);
    text.pop_back();
    return text;
}

}  // namespace host
