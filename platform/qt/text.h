// Texts on their way into Qt.
#ifndef BRENHOLT_PLATFORM_QT_TEXT_H
#define BRENHOLT_PLATFORM_QT_TEXT_H

#include <QString>
#include <string_view>

namespace brenholt {

// Lone surrogates stay as they are.
inline QString ToQString(std::u16string_view text) {
    return QStringView(text).toString();
}

// With line feeds in the place of CR LF, as Qt separates lines.
inline QString ToLines(std::u16string_view text) {
    return ToQString(text).replace(QLatin1String("\r\n"), QLatin1String("\n"));
}

}  // namespace brenholt

#endif
