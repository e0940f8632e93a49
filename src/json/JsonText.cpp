#include "json/JsonText.h"

#include "json/JsonScan.h"

#include <QtCore/QVarLengthArray>

#include <array>

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

/// The value of each byte as a hex digit, -1 for those that are none.
constexpr std::array<qint8, 256> hexDigits()
{
    std::array<qint8, 256> table{};
    for (qint8& value : table)
        value = -1;
    for (int i = 0; i < 10; ++i)
        table[size_t('0' + i)] = qint8(i);
    for (int i = 0; i < 6; ++i)
        table[size_t('a' + i)] = table[size_t('A' + i)] = qint8(10 + i);
    return table;
}

constexpr std::array<qint8, 256> s_hexDigits = hexDigits();

/// Four hex digits at @p at as a UTF-16 unit; negative when they are none or too few.
int hexUnit(const char* at, const char* end)
{
    if (end - at < 4)
        return -1;
    const int digits[] = {s_hexDigits[quint8(at[0])], s_hexDigits[quint8(at[1])], s_hexDigits[quint8(at[2])],
                          s_hexDigits[quint8(at[3])]};
    return digits[0] * 4096 | digits[1] * 256 | digits[2] * 16 | digits[3];
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
