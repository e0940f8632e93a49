#include "signing/cDraft.h"

#include "signing/cKeyFolder.h"
#include "version/Shown.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <algorithm>

namespace {

constexpr char Version[] = "1.0.34"; // of the standard

QByteArray textOf(const QJsonObject& content, const QMap<QString, QByteArray>& signatures)
{
    QJsonArray list;
    for (auto it = signatures.begin(); it != signatures.end(); ++it)
        list.append(QJsonObject{{"keyid", it.key()}, {"sig", QString::fromLatin1(it.value().toHex())}});
    const QJsonObject document{{"signatures", list}, {"signed", content}};
    return QJsonDocument(document).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

int Expiry::defaultDays(cTrustMetadata::Type type)
{
    switch (type) {
    case cTrustMetadata::Root:
        return 365;
    case cTrustMetadata::Timestamp:
        return 7;
    default:
        return 90;
    }
}

int Expiry::daysOf(const cTrustMetadata& root, cTrustMetadata::Type type)
{
    const QJsonValue days = root.object()["roles"][cTrustMetadata::nameOf(type)][QLatin1String(Expiry::DaysMember)];
    return days.toInt() > 0 ? days.toInt() : defaultDays(type);
}

QDateTime Expiry::renewalOf(const cTrustMetadata& document, int days)
{
    constexpr qint64 Day = 24 * 60 * 60;
    return document.expires().addSecs(-std::min(14 * Day, days * Day / 3));
}

QString Expiry::textIn(int days)
{
    return QDateTime::currentDateTimeUtc().addDays(days).toString(QStringLiteral("yyyy-MM-ddTHH:mm:ssZ"));
}

cDraft::cDraft(Type type, qint64 version, QJsonObject content, int days)
{
    content["_type"] = cTrustMetadata::nameOf(type);
    content["spec_version"] = QLatin1String(Version);
    content["version"] = version;
    content["expires"] = Expiry::textIn(days);
    QString error;
    const std::optional<cTrustMetadata> made = cTrustMetadata::read(type, textOf(content, {}), &error);
    if (made)
        m_metadata = *made;
    else
        qFatal("%s", qPrintable(error)); // it is made here, of what has been checked
}

std::optional<cDraft> cDraft::read(Type type, const QByteArray& bytes, QString* error)
{
    const std::optional<cTrustMetadata> metadata = cTrustMetadata::read(type, bytes, error);
    return metadata ? std::make_optional(cDraft(*metadata)) : std::nullopt;
}

QJsonObject cDraft::content() const
{
    QJsonObject content = m_metadata.object();
    for (const char* name : {"_type", "spec_version", "version", "expires"})
        content.remove(QLatin1String(name));
    return content;
}

QMap<QString, QByteArray> cDraft::signatures() const
{
    QMap<QString, QByteArray> signatures;
    for (const cTrustMetadata::Signature& signature : m_metadata.signatures())
        signatures.insert(signature.keyId, signature.value);
    return signatures;
}

bool cDraft::sign(const cKeyFolder& folder, const QStringList& ids, QString* error)
{
    QMap<QString, QByteArray> all = signatures();
    for (const QString& id : ids) {
        const cSigningKey* const key = folder.find(id);
        if (!key || all.contains(id))
            continue;
        const QByteArray signature = key->sign(m_metadata.signedBytes(), error);
        if (signature.isEmpty())
            return false;
        all.insert(id, signature);
    }
    return rebuild(all, error);
}

void cDraft::keepSignaturesOf(const QMap<QString, cTrustKey>& keys)
{
    QMap<QString, QByteArray> kept;
    for (const cTrustMetadata::Signature& signature : m_metadata.signatures()) {
        if (keys.value(signature.keyId).verify(m_metadata.signedBytes(), signature.value))
            kept.insert(signature.keyId, signature.value);
    }
    (void)rebuild(kept, nullptr);
}

bool cDraft::rebuild(const QMap<QString, QByteArray>& signatures, QString* error)
{
    QString reason;
    const std::optional<cTrustMetadata> made =
        cTrustMetadata::read(m_metadata.type(), textOf(m_metadata.object(), signatures), &reason);
    if (made)
        m_metadata = *made;
    else if (error)
        *error = reason;
    return made.has_value();
}

bool cDraft::isSignedFor(const cTrustMetadata& root, QString* told) const
{
    const cTrustRole role = root.roles().value(cTrustMetadata::nameOf(m_metadata.type()));
    const int count = m_metadata.signedBy(role, root.keys());
    if (told)
        *told = QStringLiteral("signed by %1 of %2").arg(count).arg(counted(role.threshold, "key"));
    return count >= role.threshold;
}

QByteArray cDraft::bytes() const
{
    return textOf(m_metadata.object(), signatures());
}
