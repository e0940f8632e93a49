#include "disk/IniText.h"

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>
#include <QtCore/QStringList>

namespace {

bool isPlainInKey(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_' || c == u'-' ||
           c == u'.';
}

bool isHexDigit(QChar c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

QByteArray hex(QChar c, int digits)
{
    return QByteArray::number(c.unicode(), 16).rightJustified(digits, '0').toUpper();
}

QByteArray escapedKey(const QString& key)
{
    QByteArray text;
    for (const QChar c : key) {
        if (c == u'/')
            text += '\\';
        else if (isPlainInKey(c))
            text += c.toLatin1();
        else
            text += c.unicode() <= 0xff ? '%' + hex(c, 2) : "%U" + hex(c, 4);
    }
    return text;
}

/// What a character is within a value, when it is not itself.
QByteArray escaped(QChar c)
{
    constexpr char Letters[] = "abtnvfr"; // of the codes from 7 on
    if (c.isNull())
        return "\\0";
    if (c.unicode() >= 7 && c.unicode() <= 13)
        return QByteArray("\\") + Letters[c.unicode() - 7];
    if (c == u'"' || c == u'\\')
        return QByteArray("\\") + c.toLatin1();
    return "\\x" + QByteArray::number(c.unicode(), 16);
}

QByteArray escapedText(const QString& value)
{
    QByteArray text;
    bool isAfterNumber = false; // a digit would be read as one more of it
    bool isQuoted = value.startsWith(QLatin1Char(' ')) || value.endsWith(QLatin1Char(' '));
    for (const QChar c : value) {
        isQuoted = isQuoted || c == u';' || c == u',' || c == u'=';
        const bool isItself =
            c >= u' ' && c < QChar(0x7f) && c != u'"' && c != u'\\' && !(isAfterNumber && isHexDigit(c));
        text += isItself ? QByteArray(1, c.toLatin1()) : escaped(c);
        const bool isControl = c.unicode() >= 7 && c.unicode() <= 13;
        isAfterNumber = !isItself && !isControl && c != u'"' && c != u'\\';
    }
    return isQuoted ? '"' + text + '"' : text;
}

QString wrapped(const char* kind, const QByteArray& bytes)
{
    return QLatin1String(kind) + QLatin1String(bytes.constData(), bytes.size()) + QLatin1Char(')');
}

QString textOf(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
        return QStringLiteral("@Invalid()");
    case QMetaType::QByteArray:
        return wrapped("@ByteArray(", value.toByteArray());
    case QMetaType::QString:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Bool:
    case QMetaType::Double: {
        const QString text = value.toString();
        return text.startsWith(QLatin1Char('@')) ? QLatin1Char('@') + text : text;
    }
    default:
        break;
    }
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_4_0); // the one that QSettings reads, whatever its own version is
    stream << value;
    return wrapped("@Variant(", bytes);
}

/// The line that begins the part of the file with all keys of the group @p name; empty for keys without a group.
QByteArray headingOf(const QString& name)
{
    if (name.isEmpty())
        return "[General]\n";
    const bool isNamedAlike = name.compare(QLatin1String("general"), Qt::CaseInsensitive) == 0;
    return '[' + (isNamedAlike ? QByteArray("%General") : escapedKey(name)) + "]\n";
}

} // namespace

QByteArray IniText::valueOf(const QVariant& value)
{
    const QVariantList items = value.toList();
    const int type = value.userType();
    const bool isList = type == QMetaType::QStringList || (type == QMetaType::QVariantList && items.size() != 1);
    if (!isList)
        return escapedText(textOf(value));
    QByteArrayList texts;
    for (const QVariant& item : items)
        texts.append(escapedText(textOf(item)));
    return texts.isEmpty() ? QByteArray("@Invalid()") : texts.join(", ");
}

QByteArray IniText::fileOf(const QMap<QString, QVariant>& values)
{
    QMap<QString, QByteArray> groups; // the lines of each
    for (auto it = values.begin(); it != values.end(); ++it) {
        const int slash = it.key().indexOf(QLatin1Char('/'));
        const QString group = slash < 0 ? QString() : it.key().left(slash);
        groups[group] += escapedKey(it.key().mid(slash + 1)) + '=' + valueOf(it.value()) + '\n';
    }
    QByteArrayList parts;
    for (auto it = groups.begin(); it != groups.end(); ++it)
        parts.append(headingOf(it.key()) + it.value());
    return parts.join('\n');
}
