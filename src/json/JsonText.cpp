#include "json/JsonText.h"

#include "json/JsonScan.h"

#include <QtCore/QVarLengthArray>

namespace {

/// What the letter of an escape stands for; 0 when it is none of the one-letter escapes.
char meaningOf(char letter)
{
    switch (letter) {
    case '"':
    case '/':
    case '\\':
        return letter;
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return 0;
    }
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = char(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Four hex digits at @p at as a UTF-16 unit; -1 when they are none or too few.
int hexUnit(const char* at, const char* end)
{
    if (end - at < 4)
        return -1;
    int unit = 0;
    for (int i = 0; i < 4; ++i) {
        const int digit = hexDigit(at[i]);
        if (digit < 0)
            return -1;
        unit = unit * 16 + digit;
    }
    return unit;
}

using Units = QVarLengthArray<ushort, 512>;

void appendLatin1(Units& units, const char* at, const char* end)
{
    for (; at < end; ++at)
        units.append(quint8(*at));
}

/// Decodes the escape whose backslash stands at @p at and moves behind it.
bool appendEscape(Units& units, const char*& at, const char* end)
{
    if (end - at < 2)
        return false;
    if (at[1] == 'u') {
        const int unit = hexUnit(at + 2, end);
        if (unit < 0)
            return false;
        units.append(ushort(unit));
        at += 6;
        return true;
    }
    const char meant = meaningOf(at[1]);
    if (!meant)
        return false;
    units.append(ushort(meant));
    at += 2;
    return true;
}

} // namespace

const char* JsonText::findClosingQuote(const char* at, const char* end, bool* isPlain)
{
    *isPlain = true;
    for (at = JsonScan::findQuote(at, end); at < end; at = JsonScan::findQuote(at, end)) {
        if (*at == '"')
            return at;
        *isPlain = false;
        at += end - at >= 2 ? 2 : 1;
    }
    return nullptr;
}

bool JsonText::decodeEscaped(const char* at, const char* end, QString& out)
{
    Units units;
    while (at < end) {
        const char* const backslash = JsonScan::findQuote(at, end);
        appendLatin1(units, at, backslash);
        at = backslash;
        if (at < end && !appendEscape(units, at, end))
            return false;
    }
    out = QString(reinterpret_cast<const QChar*>(units.constData()), units.size());
    return true;
}
