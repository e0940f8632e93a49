#include "version/Shown.h"

#include <algorithm>

namespace {

QString escape(QChar character)
{
    constexpr ushort LargestByte = 0xff;
    switch (character.unicode()) {
    case '\n':
        return QStringLiteral("\\n");
    case '\r':
        return QStringLiteral("\\r");
    case '\t':
        return QStringLiteral("\\t");
    default:
        break;
    }
    const QString form = character.unicode() > LargestByte ? QStringLiteral("\\u{%1}") : QStringLiteral("\\x%1");
    return form.arg(character.unicode(), 2, 16, QLatin1Char('0'));
}

} // namespace

bool isShownEscaped(QChar character)
{
    const ushort code = character.unicode();
    if (code >= ' ' && code < 0x7f)
        return false;
    const bool isControl = code < 0xa0;
    const bool isMark = code == 0x61c || code == 0x200e || code == 0x200f;
    const bool isLineEnd = code == 0x2028 || code == 0x2029;
    const bool isDirection = (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
    return isControl || isMark || isLineEnd || isDirection;
}

QString shown(const QString& text)
{
    if (std::none_of(text.begin(), text.end(), isShownEscaped))
        return text;
    QString result;
    result.reserve(text.size() + text.size() / 4);
    for (const QChar character : text) {
        if (isShownEscaped(character))
            result += escape(character);
        else
            result += character;
    }
    return result;
}

QString counted(qint64 number, const char* one, const char* many)
{
    const bool isOne = number == 1;
    const QString noun = QString::fromUtf8(isOne || !many ? one : many);
    return QStringLiteral("%1 %2").arg(number).arg(isOne || many ? noun : noun + QLatin1Char('s'));
}
