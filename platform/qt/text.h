// Texts on their way into Qt.
#ifndef BRENHOLT_PLATFORM_QT_TEXT_H
#define BRENHOLT_PLATFORM_QT_TEXT_H

#include <QString>
#include <algorithm>
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

// As one line: Qt would break a cell at a separator and draw boxes for other control characters.
inline QString ToOneLine(std::u16string_view text) {
    QString line = ToQString(text);
    const auto breaks = [](QChar c) {
        return c.category() == QChar::Other_Control || c == QChar::LineSeparator ||
               c == QChar::ParagraphSeparator;
    };
    std::replace_if(line.begin(), line.end(), breaks, QChar(u' '));
    return line;
}

}  // namespace brenholt

#endif
