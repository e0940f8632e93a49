#include "trust/CanonicalJson.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QVector>

#include <algorithm>
#include <charconv>
#include <deque>
#include <string>
#include <string_view>

namespace {

/// Looks through a text before Qt reads it, for what Qt does not mind: nesting without a bound, which it follows on the
/// stack, members that stand twice, of which it keeps one, halves of surrogate pairs, and numbers that it rounds.
/// Whether the text is JSON at all is left to Qt.
class cScan
{
public:
    explicit cScan(const QByteArray& text) : m_begin(text.constData()), m_at(m_begin), m_end(m_begin + text.size()) {}

    /// @return whether all is well; else reason() and failedAt() tell.
    bool run()
    {
        while (m_at < m_end) {
            if (!token())
                return false;
        }
        return true;
    }

    const QString& reason() const { return m_reason; }
    int failedAt() const { return int(m_failedAt - m_begin); }

private:
    struct Name
    {
        std::string_view text; // decoded
        const char* at;
    };

    bool fail(const char* at, const QString& reason)
    {
        m_failedAt = at;
        m_reason = reason;
        return false;
    }

    bool token();
    bool open();
    bool close();
    bool string();
    bool escape(std::string& decoded);
    bool unit(char16_t& unit);
    bool number();

    const char* const m_begin;
    const char* m_at;
    const char* const m_end;
    const char* m_failedAt = nullptr;
    QString m_reason;
    QVector<int> m_levels; // of each open bracket where its names begin
    QVector<Name> m_names;
    std::deque<std::string> m_decoded; // names that had escapes
};

bool cScan::token()
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
    default:
        break;
    }
    if (*m_at == '-' || (*m_at >= '0' && *m_at <= '9'))
        return number();
    ++m_at;
    return true;
}

bool cScan::open()
{
    if (m_levels.size() == CanonicalJson::MaxDepth) {
        return fail(m_at, QStringLiteral("nested deeper than %1 levels").arg(CanonicalJson::MaxDepth));
    }
    m_levels.append(m_names.size());
    ++m_at;
    return true;
}

bool cScan::close()
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

bool cScan::string()
{
    const char* const quote = m_at++;
    const char* plain = m_at; // where what has not been decoded begins
    std::string decoded;
    while (m_at < m_end && *m_at != '"') {
        if (uchar(*m_at) < ' ')
            return fail(m_at, QStringLiteral("a control character in a string"));
        if (*m_at != '\\') {
            ++m_at;
            continue;
        }
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

bool cScan::escape(std::string& decoded)
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
bool cScan::unit(char16_t& unit)
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

bool cScan::number()
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

QString placed(const QByteArray& text, int at, const QString& reason)
{
    const QByteArray before = text.left(at);
    const int column = at - before.lastIndexOf('\n');
    return QStringLiteral("line %1, column %2: %3").arg(before.count('\n') + 1).arg(column).arg(reason);
}

void writeString(const QString& text, QByteArray& out)
{
    QByteArray bytes = text.toUtf8();
    if (bytes.contains('\\') || bytes.contains('"'))
        bytes.replace('\\', "\\\\").replace('"', "\\\"");
    out += '"';
    out += bytes;
    out += '"';
}

bool writeValue(const QJsonValue& value, QByteArray& out);

/// The order is that of code points, which UTF-8 keeps; Qt's is that of UTF-16, which differs above U+FFFF.
bool writeObject(const QJsonObject& object, QByteArray& out)
{
    QVector<QJsonObject::const_iterator> members;
    members.reserve(object.size());
    bool isInOrder = true;
    for (auto each = object.constBegin(); each != object.constEnd(); ++each) {
        const QString name = each.key();
        isInOrder = isInOrder && std::none_of(name.begin(), name.end(), [](QChar c) { return c.unicode() >= 0xd800; });
        members.append(each);
    }
    if (!isInOrder) {
        std::sort(members.begin(), members.end(), [](auto a, auto b) { return a.key().toUcs4() < b.key().toUcs4(); });
    }
    char before = '{';
    for (const auto& each : members) {
        out += before;
        writeString(each.key(), out);
        out += ':';
        if (!writeValue(each.value(), out))
            return false;
        before = ',';
    }
    out += members.isEmpty() ? "{}" : "}";
    return true;
}

bool writeArray(const QJsonArray& array, QByteArray& out)
{
    char before = '[';
    for (const QJsonValue& each : array) {
        out += before;
        if (!writeValue(each, out))
            return false;
        before = ',';
    }
    out += array.isEmpty() ? "[]" : "]";
    return true;
}

bool writeValue(const QJsonValue& value, QByteArray& out)
{
    switch (value.type()) {
    case QJsonValue::Object:
        return writeObject(value.toObject(), out);
    case QJsonValue::Array:
        return writeArray(value.toArray(), out);
    case QJsonValue::String:
        writeString(value.toString(), out);
        return true;
    case QJsonValue::Bool:
        out += value.toBool() ? "true" : "false";
        return true;
    case QJsonValue::Null:
        out += "null";
        return true;
    default:
        break;
    }
    const std::optional<qint64> number = CanonicalJson::integer(value);
    if (number)
        out += QByteArray::number(*number);
    return number.has_value();
}

} // namespace

namespace CanonicalJson {

std::optional<QJsonObject> read(const QByteArray& text, QString* error)
{
    cScan scan(text);
    if (!scan.run()) {
        *error = placed(text, scan.failedAt(), scan.reason());
        return std::nullopt;
    }
    QJsonParseError fault;
    const QJsonDocument document = QJsonDocument::fromJson(text, &fault);
    if (fault.error != QJsonParseError::NoError) {
        *error = placed(text, fault.offset, fault.errorString());
        return std::nullopt;
    }
    if (!document.isObject()) {
        *error = QStringLiteral("line 1, column 1: not an object");
        return std::nullopt;
    }
    return document.object();
}

std::optional<QByteArray> write(const QJsonValue& value)
{
    QByteArray out;
    if (!writeValue(value, out))
        return std::nullopt;
    return out;
}

std::optional<qint64> integer(const QJsonValue& value)
{
    if (value.type() != QJsonValue::Double)
        return std::nullopt;
    // In the variant a number of 64 bits is one still; toDouble() rounds.
    const QVariant number = value.toVariant();
    if (number.userType() != QMetaType::LongLong)
        return std::nullopt;
    return number.toLongLong();
}

} // namespace CanonicalJson
