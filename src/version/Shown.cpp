#include "version/Shown.h"

#include <algorithm>
#include <vector>

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

constexpr int MostLetters = 2;   // that may differ, and at most one in three
constexpr int ShortestBegin = 3; // of a name that is not written to its end
constexpr int LongestName = 64;  // the time grows with the square of it

/// How many letters have to be changed, inserted, left out, or exchanged with their neighbour.
int distanceOf(const QString& a, const QString& b)
{
    std::vector<int> before(size_t(b.size() + 1)), last(before), now(before);
    for (int j = 0; j <= b.size(); ++j)
        last[j] = j;
    for (int i = 1; i <= a.size(); ++i) {
        now[0] = i;
        for (int j = 1; j <= b.size(); ++j) {
            const bool isSame = a[i - 1] == b[j - 1];
            now[j] = std::min({last[j] + 1, now[j - 1] + 1, last[j - 1] + !isSame});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                now[j] = std::min(now[j], before[j - 2] + 1);
        }
        before.swap(last);
        last.swap(now);
    }
    return last[b.size()];
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

QString nearestName(const QString& written, const QStringList& known)
{
    if (written.size() > LongestName)
        return QString();
    const QString lower = written.toLower();
    int least = 1 + std::min(MostLetters, int(lower.size()) / 3); // letters from which on it is another name
    QString nearest;
    for (const QString& name : known) {
        const QString other = name.toLower();
        const bool isBegin = lower.size() >= ShortestBegin && other.startsWith(lower);
        const int distance = isBegin ? 1 : other.size() > LongestName ? least : distanceOf(lower, other);
        if (distance >= least || distance >= other.size())
            continue;
        least = distance;
        nearest = name;
    }
    return nearest;
}
