#include "platform/text.h"

#include <dlfcn.h>
#include <langinfo.h>
#include <locale.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/unorm2.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>

namespace brenholt {
namespace {

struct ConverterCloser {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

// A charset's name. No destructor: threads may convert while the process ends.
using CharsetName = std::array<char, 64>;

// ICU keeps its caches for the life of the process and would leave them behind if it were unloaded
// with the module.
void KeepIcuLoaded() {
    Dl_info icu{};
    if (dladdr(reinterpret_cast<const void*>(&ucnv_open), &icu) != 0) {
        dlopen(icu.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
    }
}

CharsetName FindCodePage() {
    KeepIcuLoaded();
    CharsetName found{"UTF-8"};
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr) {
        return found;
    }
    const std::string name = nl_langinfo_l(CODESET, locale);
    freelocale(locale);
    UErrorCode error = U_ZERO_ERROR;
    const Converter known(ucnv_open(name.c_str(), &error));
    const bool plain = name == "ANSI_X3.4-1968" || name == "US-ASCII";
    if (U_SUCCESS(error) && !plain && name.size() < found.size()) {
        found = {};
        std::copy(name.begin(), name.end(), found.begin());
    }
    return found;
}

// A byte that is not valid becomes a lone surrogate.
void BytesToSurrogates(const void*, UConverterToUnicodeArgs* args, const char* bytes,
                       int32_t length, UConverterCallbackReason reason, UErrorCode* error) {
    if (reason > UCNV_IRREGULAR) {
        return;
    }
    *error = U_ZERO_ERROR;
    for (int32_t i = 0; i < length; ++i) {
        const UChar unit = kByteSurrogate + static_cast<unsigned char>(bytes[i]);
        ucnv_cbToUWriteUChars(args, &unit, 1, 0, error);
    }
}

// A lone surrogate of the kind above becomes its byte, everything else the substitution character.
void SurrogatesToBytes(const void* context, UConverterFromUnicodeArgs* args, const UChar* units,
                       int32_t length, UChar32 point, UConverterCallbackReason reason,
                       UErrorCode* error) {
    if (reason <= UCNV_IRREGULAR && length == 1 && units[0] >= kByteSurrogate &&
        units[0] <= kByteSurrogate + 0xFF) {
        *error = U_ZERO_ERROR;
        const char byte = static_cast<char>(units[0] - kByteSurrogate);
        ucnv_cbFromUWriteBytes(args, &byte, 1, 0, error);
        return;
    }
    UCNV_FROM_U_CALLBACK_SUBSTITUTE(context, args, units, length, point, reason, error);
}

Converter OpenConverter() {
    static const CharsetName codePage = FindCodePage();
    UErrorCode error = U_ZERO_ERROR;
    Converter converter(ucnv_open(codePage.data(), &error));
    ucnv_setToUCallBack(converter.get(), BytesToSurrogates, nullptr, nullptr, nullptr, &error);
    ucnv_setFromUCallBack(converter.get(), SurrogatesToBytes, nullptr, nullptr, nullptr, &error);
    if (U_FAILURE(error)) {
        throw std::bad_alloc();  // the only way in which a converter that opened once fails
    }
    return converter;
}

std::u16string Composed(std::u16string_view text) {
    UErrorCode error = U_ZERO_ERROR;
    const UNormalizer2* nfc = unorm2_getNFCInstance(&error);
    std::u16string result(text.size() + 16, u'\0');
    const auto length = static_cast<int32_t>(text.size());
    int32_t needed = unorm2_normalize(nfc, text.data(), length, result.data(),
                                      static_cast<int32_t>(result.size()), &error);
    if (error == U_BUFFER_OVERFLOW_ERROR) {
        error = U_ZERO_ERROR;
        result.resize(static_cast<size_t>(needed));
        needed = unorm2_normalize(nfc, text.data(), length, result.data(), needed, &error);
    }
    if (U_FAILURE(error)) {
        return std::u16string(text);
    }
    result.resize(static_cast<size_t>(needed));
    return result;
}

template <class Char>
bool IsAscii(std::basic_string_view<Char> text) {
    return std::all_of(text.begin(), text.end(),
                       [](Char c) { return static_cast<std::make_unsigned_t<Char>>(c) < 0x80; });
}

}  // namespace

std::string WideCharToMultiByte(std::u16string_view text) {
    if (IsAscii(text)) {
        return std::string(text.begin(), text.end());
    }
    const std::u16string composed = Composed(text);
    const Converter converter = OpenConverter();
    std::string bytes;
    bytes.resize(
        UCNV_GET_MAX_BYTES_FOR_STRING(composed.size(), ucnv_getMaxCharSize(converter.get())));
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length =
        ucnv_fromUChars(converter.get(), bytes.data(), static_cast<int32_t>(bytes.size()),
                        composed.data(), static_cast<int32_t>(composed.size()), &error);
    bytes.resize(U_SUCCESS(error) ? static_cast<size_t>(length) : 0);
    return bytes;
}

std::u16string MultiByteToWideChar(std::string_view bytes) {
    if (IsAscii(bytes)) {
        return std::u16string(bytes.begin(), bytes.end());
    }
    const Converter converter = OpenConverter();
    std::u16string text(2 * bytes.size(), u'\0');
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length =
        ucnv_toUChars(converter.get(), text.data(), static_cast<int32_t>(text.size()), bytes.data(),
                      static_cast<int32_t>(bytes.size()), &error);
    text.resize(U_SUCCESS(error) ? static_cast<size_t>(length) : 0);
    return text;
}

}  // namespace brenholt
