#include "trust/CanonicalJson.h"

#include "trust/cJsonBounds.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <vector>

namespace {

void writeString(const QByteArray& bytes, QByteArray& out)
{
    out += '"';
    for (const char *plain = bytes.begin(), *end = bytes.end(); plain < end;) {
        const char* const special = std::find_if(plain, end, [](char c) { return c == '"' || c == '\\'; });
        out.append(plain, int(special - plain));
        if (special < end)
            out.append('\\').append(*special);
        plain = special + 1;
    }
    out += '"';
}

bool writeValue(const QJsonValue& value, QByteArray& out);

/// The order is that of code points, which UTF-8 keeps; Qt's is that of UTF-16, which differs above U+FFFF.
bool writeObject(const QJsonObject& object, QByteArray& out)
{
    struct Member
    {
        QByteArray name;
        QJsonObject::const_iterator at;

        bool operator<(const Member& other) const { return name < other.name; }
    };
    std::vector<Member> members;
    members.reserve(size_t(object.size()));
    for (auto each = object.constBegin(); each != object.constEnd(); ++each)
        members.push_back({each.key().toUtf8(), each});
    if (!std::is_sorted(members.begin(), members.end()))
        std::sort(members.begin(), members.end());
    char before = '{';
    for (const Member& each : members) {
        out += before;
        writeString(each.name, out);
        out += ':';
        if (!writeValue(each.at.value(), out))
            return false;
        before = ',';
    }
    out += members.empty() ? "{}" : "}";
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
        writeString(value.toString().toUtf8(), out);
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
    cJsonBounds bounds(text);
    if (!bounds.hold()) {
        *error = bounds.errorString();
        return std::nullopt;
    }
    QJsonParseError fault;
    const QJsonDocument document = QJsonDocument::fromJson(text, &fault);
    if (fault.error != QJsonParseError::NoError) {
        *error = cJsonBounds::placed(text, fault.offset, fault.errorString());
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
