#include "trust/cMetadataReader.h"

#include "trust/CanonicalJson.h"
#include "version/Numbers.h"
#include "version/Shown.h"

void cMetadataReader::fail(const QString& reason)
{
    if (!hasFailed())
        m_fault = QStringList(m_places + QStringList(reason)).join(QStringLiteral(": "));
}

QJsonValue cMetadataReader::member(const QJsonObject& object, const char* name, QJsonValue::Type type, const char* what)
{
    const QJsonValue value = object.value(QLatin1String(name));
    if (value.type() == type)
        return value;
    const QString form = value.isUndefined() ? QStringLiteral("\"%1\" is missing") : QStringLiteral("\"%1\" is no %2");
    fail(value.isUndefined() ? form.arg(QLatin1String(name)) : form.arg(QLatin1String(name), QLatin1String(what)));
    return QJsonValue();
}

QString cMetadataReader::text(const QJsonObject& object, const char* name)
{
    const QString text = member(object, name, QJsonValue::String, "text").toString();
    if (text.size() <= MaxText)
        return text;
    fail(QStringLiteral("\"%1\" has more than %2 characters").arg(QLatin1String(name)).arg(MaxText));
    return QString();
}

qint64 cMetadataReader::number(const QJsonObject& object, const char* name, qint64 least, qint64 most)
{
    const std::optional<qint64> number =
        CanonicalJson::integer(member(object, name, QJsonValue::Double, "whole number"));
    if (number && *number >= least && *number <= most)
        return *number;
    fail(QStringLiteral("\"%1\" is no whole number from %2 to %3").arg(QLatin1String(name)).arg(least).arg(most));
    return least;
}

bool cMetadataReader::flag(const QJsonObject& object, const char* name)
{
    return member(object, name, QJsonValue::Bool, "true or false").toBool();
}

QJsonObject cMetadataReader::object(const QJsonObject& object, const char* name, int most)
{
    const QJsonObject inner = member(object, name, QJsonValue::Object, "object").toObject();
    if (inner.size() <= most)
        return inner;
    fail(QStringLiteral("\"%1\" has more than %2").arg(QLatin1String(name), counted(most, "member")));
    return QJsonObject();
}

QJsonArray cMetadataReader::array(const QJsonObject& object, const char* name, int most)
{
    const QJsonArray inner = member(object, name, QJsonValue::Array, "list").toArray();
    if (inner.size() <= most)
        return inner;
    fail(QStringLiteral("\"%1\" has more than %2").arg(QLatin1String(name), counted(most, "element")));
    return QJsonArray();
}

QStringList cMetadataReader::texts(const QJsonObject& object, const char* name, int most)
{
    QStringList texts;
    const QJsonArray elements = array(object, name, most);
    for (const QJsonValue& element : elements) {
        texts.append(element.toString());
        if (!element.isString() || texts.last().size() > MaxText)
            fail(QStringLiteral("\"%1\" has an element that is no text of at most %2 characters")
                     .arg(QLatin1String(name))
                     .arg(MaxText));
    }
    return texts;
}

cTrustHashes cMetadataReader::hashes(const QJsonObject& object)
{
    constexpr int MaxHashes = 32;
    cTrustHashes hashes;
    const QJsonObject inner = this->object(object, "hashes", MaxHashes);
    for (auto it = inner.begin(); it != inner.end(); ++it) {
        hashes.insert(it.key(), hexBytes(it.value().toString()));
        if (!it.value().isString())
            fail(QStringLiteral("\"hashes\" has a value that is no text"));
    }
    if (inner.isEmpty())
        fail(QStringLiteral("\"hashes\" has none"));
    return hashes;
}

QJsonObject cMetadataReader::objectOf(const QJsonValue& value)
{
    if (!value.isObject())
        fail(QStringLiteral("this is no object"));
    return value.toObject();
}
