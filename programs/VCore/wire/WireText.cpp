#include "wire/WireText.h"

#include <Norvale/cJsonReader.h>
#include <Norvale/cJsonValue.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <cstdio>

namespace {

bool isAscii(const QByteArray& bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char byte) { return static_cast<unsigned char>(byte) < 128; });
}

// Outside of strings and comments such a character is an error with or without being escaped.
QByteArray escaped(const QByteArray& utf8)
{
    QByteArray bytes;
    bytes.reserve(utf8.size());
    for (const QChar unit : QString::fromUtf8(utf8)) {
        if (unit.unicode() <= 127) {
            bytes.append(char(unit.unicode()));
            continue;
        }
        char text[8];
        std::snprintf(text, sizeof text, "\\u%04x", unsigned(unit.unicode()));
        bytes.append(text);
    }
    return bytes;
}

bool arrayToQt(const cJsonValue& value, QJsonValue* out, int depth)
{
    QJsonArray array;
    for (unsigned int i = 0; i < value.size(); ++i) {
        QJsonValue element;
        if (!WireText::toQt(value[int(i)], &element, depth + 1))
            return false;
        array.append(element);
    }
    *out = array;
    return true;
}

bool objectToQt(const cJsonValue& value, QJsonValue* out, int depth)
{
    QJsonObject object;
    for (const QString& key : value.keys()) {
        QJsonValue member;
        if (!WireText::toQt(value[key], &member, depth + 1))
            return false;
        object.insert(key, member);
    }
    *out = object;
    return true;
}

} // namespace

bool WireText::read(const QByteArray& payload, cJsonValue* value)
{
    return cJsonReader::parse(isAscii(payload) ? payload : escaped(payload), *value);
}

QByteArray WireText::write(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

bool WireText::toQt(const cJsonValue& value, QJsonValue* out, int depth)
{
    if (depth > MaxDepth)
        return false;
    switch (value.type()) {
    case ArrayType:
        return arrayToQt(value, out, depth);
    case ObjectType:
        return objectToQt(value, out, depth);
    case IntType:
        *out = value.toInt();
        break;
    case UIntType:
        *out = qint64(value.toUInt());
        break;
    case DoubleType:
        *out = value.toDouble();
        break;
    case StringType:
        *out = value.toString();
        break;
    case BooleanType:
        *out = value.toBool();
        break;
    default:
        *out = QJsonValue::Null;
        break;
    }
    return true;
}

QString WireText::commandOf(const cJsonValue& message)
{
    return memberOf(message, QStringLiteral("command")).toString();
}

const cJsonValue& WireText::memberOf(const cJsonValue& message, const QString& name)
{
    return message.isObject() ? message[name] : cJsonValue::null();
}
