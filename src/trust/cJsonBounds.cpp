#include "trust/cJsonBounds.h"

#include <algorithm>
#include <charconv>

bool cJsonBounds::hold()
{
    while (m_at < m_end) {
        if (!token())
            return false;
    }
    return true;
}

QString cJsonBounds::placed(const QByteArray& text, int at, const QString& reason)
{
    const QByteArray before = text.left(at);
    const int column = at - int(before.lastIndexOf('\n'));
    return QStringLiteral("line %1, column %2: %3").arg(before.count('\n') + 1).arg(column).arg(reason);
}

bool cJsonBounds::fail(const char* at, const QString& reason)
{
    m_errorString = placed(m_text, int(at - m_text.constData()), reason);
    return false;
}

bool cJsonBounds::token()
{
    switch (*m_at) {
    case '{':
    case '[':
        return open();
    case '}':
    case ']':
        return close();
    case '"':
        return string();
    case ',':
        if (++m_values > MaxValues)
            return fail(m_at, QStringLiteral("more than %1 values").arg(MaxValues));
        break;
    default:
        break;
    }
    if (*m_at == '-' || (*m_at >= '0' && *m_at <= '9'))
        return number();
    ++m_at;
    return true;
}

bool cJsonBounds::open()
{
    if (m_levels.size() == MaxDepth)
        return fail(m_at, QStringLiteral("nested deeper than %1 levels").arg(MaxDepth));
    m_levels.append(m_names.size());
    ++m_at;
    return true;
}

bool cJsonBounds::close()
{
    ++m_at;
    if (m_levels.isEmpty())
        return true;
    const auto begin = m_names.begin() + m_levels.takeLast();
    std::sort(begin, m_names.end(),
              [](const Name& a, const Name& b) { return a.text != b.text ? a.text < b.text : a.at < b.at; });
    const auto twice =
        std::adjacent_find(begin, m_names.end(), [](const Name& a, const Name& b) { return a.text == b.text; });
    if (twice != m_names.end()) {
        const QString name = QString::fromUtf8(twice->text.data(), int(twice->text.size()));
        return fail(twice[1].at, QStringLiteral("\"%1\" stands twice in one object").arg(name.left(100)));
    }
    m_names.erase(begin, m_names.end());
    return true;
}

bool cJsonBounds::string()
{
    const char* const quote = m_at++;
    const char* plain = m_at; // where what has not been decoded begins
    std::string decoded;
    const auto isSpecial = [](char c) { return c == '"' || c == '\\' || uchar(c) < ' '; };
    while ((m_at = std::find_if(m_at, m_end, isSpecial)) < m_end && *m_at != '"') {
        if (*m_at != '\\')
            return fail(m_at, QStringLiteral("a control character in a string"));
        decoded.append(plain, m_at);
        if (!escape(decoded))
            return false;
        plain = m_at;
    }
    const char* const end = m_at;
    if (m_at < m_end)
        ++m_at;
    const char* next = m_at;
    while (next < m_end && (*next == ' ' || *next == '\t' || *next == '\n' || *next == '\r'))
        ++next;
    if (next == m_end || *next != ':')
        return true;
    if (plain == quote + 1) {
        m_names.append({std::string_view(plain, size_t(end - plain)), quote});
    } else {
        m_decoded.push_back(decoded.append(plain, end));
        m_names.append({m_decoded.back(), quote});
    }
    return true;
}

bool cJsonBounds::escape(std::string& decoded)
{
    static constexpr std::string_view letters = "\"\\/bfnrt";
    static constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
    const char* const backslash = m_at++;
    const size_t letter = m_at < m_end ? letters.find(*m_at) : letters.npos;
    if (letter != letters.npos) {
        decoded += meanings[letter];
        ++m_at;
        return true;
    }
    char16_t units[2];
    if (!unit(units[0]))
        return fail(backslash, QStringLiteral("an unknown escape in a string"));
    int count = 1;
    if (QChar::isHighSurrogate(units[0]) && m_at < m_end && *m_at == '\\') {
        ++m_at;
        count = unit(units[1]) && QChar::isLowSurrogate(units[1]) ? 2 : 1;
    }
    if (count == 1 && QChar::isSurrogate(units[0]))
        return fail(backslash, QStringLiteral("half of a surrogate pair in a string"));
    decoded += QString::fromUtf16(units, count).toStdString();
    return true;
}

/// Reads the letter u and four digits.
bool cJsonBounds::unit(char16_t& unit)
{
    if (m_end - m_at < 5 || *m_at != 'u')
        return false;
    quint16 value = 0;
    const auto [end, error] = std::from_chars(m_at + 1, m_at + 5, value, 16);
    if (error != std::errc() || end != m_at + 5)
        return false;
    unit = char16_t(value);
    m_at = end;
    return true;
}

bool cJsonBounds::number()
{
    const char* const begin = m_at;
    while (m_at < m_end && (*m_at == '-' || (*m_at >= '0' && *m_at <= '9')))
        ++m_at;
    qint64 value = 0;
    const auto [end, error] = std::from_chars(begin, m_at, value);
    const bool hasMore = m_at < m_end && (*m_at == '.' || *m_at == 'e' || *m_at == 'E' || *m_at == '+');
    const bool isInteger = error == std::errc() && end == m_at && !hasMore;
    return isInteger || fail(begin, QStringLiteral("a number that is not a whole one of 64 bits"));
}
