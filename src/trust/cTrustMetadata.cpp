#include "trust/cTrustMetadata.h"

#include "trust/CanonicalJson.h"
#include "trust/cMetadataReader.h"
#include "version/Numbers.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

#include <algorithm>
#include <limits>

namespace {

constexpr qint64 MaxNumber = std::numeric_limits<qint64>::max();
const char* const TopRoles[] = {"root", "timestamp", "snapshot", "targets"};

// Field by field: a text of a local time would have gaps where clocks are put forward.
QDateTime readTime(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("\\A\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ\\z"));
    if (!form.match(text).hasMatch())
        return QDateTime();
    const QDate date = QDate::fromString(text.left(10), QStringLiteral("yyyy-MM-dd"));
    const QTime time = QTime::fromString(text.mid(11, 8), QStringLiteral("hh:mm:ss"));
    return date.isValid() && time.isValid() ? QDateTime(date, time, Qt::UTC) : QDateTime();
}

bool hasDuplicates(const QStringList& texts)
{
    return QSet<QString>(texts.begin(), texts.end()).size() < texts.size();
}

bool isTopRole(const QString& name)
{
    return std::any_of(std::begin(TopRoles), std::end(TopRoles),
                       [&](const char* top) { return name == QLatin1String(top); });
}

} // namespace

/// Reads the parts of a document into it.
class cTrustMetadata::cParts
{
public:
    explicit cParts(cTrustMetadata& metadata) : m_metadata(metadata) {}

    void readAll(const QJsonObject& document);
    const QString& fault() const { return m_reader.fault(); }

private:
    void readSignatures(const QJsonObject& document);
    void readHead(const QJsonObject& content);
    void readRoot(const QJsonObject& content);
    void readMeta(const QJsonObject& content);
    void readTargets(const QJsonObject& content);
    void readDelegations(const QJsonObject& content);
    void readDelegation(const QJsonObject& object);
    void readBins(const QJsonObject& object);
    void readKeys(const QJsonObject& object);
    cTrustRole role(const QJsonObject& object);

    cTrustMetadata& m_metadata;
    cMetadataReader m_reader;
};

void cTrustMetadata::cParts::readAll(const QJsonObject& document)
{
    readSignatures(document);
    const QJsonObject content = m_reader.object(document, "signed", cMetadataReader::MaxKeys);
    if (m_reader.hasFailed())
        return;
    m_metadata.m_object = content;
    const std::optional<QByteArray> canonical = CanonicalJson::write(content);
    if (!canonical)
        m_reader.fail(QStringLiteral("\"signed\" has a number that is not whole"));
    m_metadata.m_signedBytes = canonical.value_or(QByteArray());
    const cMetadataReader::cPlace place(m_reader, QStringLiteral("signed"));
    readHead(content);
    if (m_reader.hasFailed())
        return;
    if (m_metadata.m_type == Root)
        readRoot(content);
    else if (m_metadata.m_type == Targets)
        readTargets(content);
    else
        readMeta(content);
}

void cTrustMetadata::cParts::readSignatures(const QJsonObject& document)
{
    QStringList ids;
    const QJsonArray signatures = m_reader.array(document, "signatures", cMetadataReader::MaxKeys);
    const cMetadataReader::cPlace place(m_reader, QStringLiteral("signatures"));
    for (const QJsonValue& value : signatures) {
        const QJsonObject object = m_reader.objectOf(value);
        const QString hex = m_reader.text(object, "sig"); // empty where somebody has yet to sign
        ids.append(m_reader.text(object, "keyid"));
        m_metadata.m_signatures.append({ids.last(), hexBytes(hex)});
    }
    if (hasDuplicates(ids))
        m_reader.fail(QStringLiteral("a key has signed twice"));
}

void cTrustMetadata::cParts::readHead(const QJsonObject& content)
{
    static const QRegularExpression versionForm(QStringLiteral("\\A(\\d{1,9})\\.\\d{1,9}(\\.\\d{1,9})?\\z"));
    const QString wanted = nameOf(m_metadata.m_type);
    const QString type = m_reader.text(content, "_type");
    if (type != wanted)
        m_reader.fail(QStringLiteral("its type is \"%1\" instead of \"%2\"").arg(type, wanted));
    const QString standard = m_reader.text(content, "spec_version");
    const QRegularExpressionMatch match = versionForm.match(standard);
    if (!match.hasMatch())
        m_reader.fail(QStringLiteral("\"spec_version\" is \"%1\", which is no version").arg(standard));
    else if (match.captured(1).toInt() != 1)
        m_reader.fail(QStringLiteral("it is of version %1 of the standard, and 1 is known here").arg(standard));
    m_metadata.m_version = m_reader.number(content, "version", 1, MaxNumber);
    const QString expires = m_reader.text(content, "expires");
    m_metadata.m_expires = readTime(expires);
    if (!m_metadata.m_expires.isValid())
        m_reader.fail(QStringLiteral("\"expires\" is \"%1\", and no time as 2030-12-31T23:59:59Z").arg(expires));
}

void cTrustMetadata::cParts::readRoot(const QJsonObject& content)
{
    readKeys(content);
    // Not every writer gives it: without it file names have no versions.
    if (cMetadataReader::has(content, "consistent_snapshot"))
        m_metadata.m_isConsistentSnapshot = m_reader.flag(content, "consistent_snapshot");
    const QJsonObject roles = m_reader.object(content, "roles", cMetadataReader::MaxKeys);
    const cMetadataReader::cPlace place(m_reader, QStringLiteral("roles"));
    for (const char* name : TopRoles) {
        const QJsonObject object = m_reader.object(roles, name, cMetadataReader::MaxKeys);
        const cMetadataReader::cPlace inner(m_reader, QLatin1String(name));
        m_metadata.m_roles.insert(QLatin1String(name), role(object));
    }
}

void cTrustMetadata::cParts::readMeta(const QJsonObject& content)
{
    const QJsonObject meta = m_reader.object(content, "meta", cMetadataReader::MaxRoles);
    const cMetadataReader::cPlace place(m_reader, QStringLiteral("meta"));
    for (auto it = meta.begin(); it != meta.end() && !m_reader.hasFailed(); ++it) {
        const cMetadataReader::cPlace inner(m_reader, QStringLiteral("\"%1\"").arg(it.key()));
        const QJsonObject object = m_reader.objectOf(it.value());
        cTrustMeta file;
        file.version = m_reader.number(object, "version", 1, MaxNumber);
        if (cMetadataReader::has(object, "length"))
            file.length = m_reader.number(object, "length", 0, MaxNumber);
        if (cMetadataReader::has(object, "hashes"))
            file.hashes = m_reader.hashes(object);
        m_metadata.m_meta.insert(it.key(), file);
    }
    if (m_metadata.m_type == Timestamp && !meta.contains(QLatin1String("snapshot.json")))
        m_reader.fail(QStringLiteral("\"snapshot.json\" is missing"));
}

void cTrustMetadata::cParts::readTargets(const QJsonObject& content)
{
    const QJsonObject targets = m_reader.object(content, "targets", cMetadataReader::MaxFiles);
    m_metadata.m_targets.reserve(targets.size());
    for (auto it = targets.begin(); it != targets.end() && !m_reader.hasFailed(); ++it) {
        const cMetadataReader::cPlace place(m_reader, QStringLiteral("target \"%1\"").arg(it.key()));
        const QJsonObject object = m_reader.objectOf(it.value());
        const qint64 length = m_reader.number(object, "length", 0, MaxNumber);
        m_metadata.m_targets.insert(
            it.key(), {it.key(), length, m_reader.hashes(object), object.value(QLatin1String("custom")).toObject()});
    }
    if (!m_reader.hasFailed() && cMetadataReader::has(content, "delegations"))
        readDelegations(m_reader.object(content, "delegations", cMetadataReader::MaxKeys));
}

void cTrustMetadata::cParts::readDelegations(const QJsonObject& content)
{
    const cMetadataReader::cPlace place(m_reader, QStringLiteral("delegations"));
    readKeys(content);
    const bool hasBins = cMetadataReader::has(content, "succinct_roles");
    if (hasBins == cMetadataReader::has(content, "roles"))
        m_reader.fail(QStringLiteral("one of \"roles\" and \"succinct_roles\" is to be there"));
    else if (hasBins)
        readBins(m_reader.object(content, "succinct_roles", cMetadataReader::MaxKeys));
    if (hasBins || m_reader.hasFailed())
        return;
    QStringList names;
    const QJsonArray roles = m_reader.array(content, "roles", cMetadataReader::MaxRoles);
    for (const QJsonValue& value : roles) {
        readDelegation(m_reader.objectOf(value));
        if (m_reader.hasFailed())
            return;
        names.append(m_metadata.m_delegations.last().name);
    }
    if (hasDuplicates(names))
        m_reader.fail(QStringLiteral("a role is there twice"));
}

void cTrustMetadata::cParts::readDelegation(const QJsonObject& object)
{
    cTrustDelegation delegation;
    delegation.name = m_reader.text(object, "name");
    const cMetadataReader::cPlace place(m_reader, QStringLiteral("role \"%1\"").arg(delegation.name));
    if (isTopRole(delegation.name))
        m_reader.fail(QStringLiteral("nobody can delegate to that"));
    delegation.role = role(object);
    delegation.isTerminating = m_reader.flag(object, "terminating");
    const bool hasPaths = cMetadataReader::has(object, "paths");
    if (hasPaths == cMetadataReader::has(object, "path_hash_prefixes"))
        m_reader.fail(QStringLiteral("one of \"paths\" and \"path_hash_prefixes\" is to be there"));
    else if (hasPaths)
        delegation.paths = m_reader.texts(object, "paths", cMetadataReader::MaxRoles);
    else
        delegation.pathHashPrefixes = m_reader.texts(object, "path_hash_prefixes", cMetadataReader::MaxRoles);
    m_metadata.m_delegations.append(delegation);
}

void cTrustMetadata::cParts::readBins(const QJsonObject& object)
{
    const cMetadataReader::cPlace place(m_reader, QStringLiteral("succinct_roles"));
    m_metadata.m_bins.role = role(object);
    m_metadata.m_bins.namePrefix = m_reader.text(object, "name_prefix");
    m_metadata.m_bins.bitLength = int(m_reader.number(object, "bit_length", 1, 32));
}

void cTrustMetadata::cParts::readKeys(const QJsonObject& object)
{
    const QJsonObject keys = m_reader.object(object, "keys", cMetadataReader::MaxKeys);
    for (auto it = keys.begin(); it != keys.end() && !m_reader.hasFailed(); ++it) {
        const cMetadataReader::cPlace place(m_reader, QStringLiteral("keys"));
        QString error;
        const std::optional<cTrustKey> key = cTrustKey::read(it.key(), m_reader.objectOf(it.value()), &error);
        if (key)
            m_metadata.m_keys.insert(it.key(), *key);
        else
            m_reader.fail(error);
    }
}

cTrustRole cTrustMetadata::cParts::role(const QJsonObject& object)
{
    cTrustRole role;
    role.keyIds = m_reader.texts(object, "keyids", cMetadataReader::MaxKeys);
    role.threshold = int(m_reader.number(object, "threshold", 1, std::numeric_limits<int>::max()));
    if (hasDuplicates(role.keyIds))
        m_reader.fail(QStringLiteral("a key is there twice"));
    return role;
}

std::optional<cTrustMetadata> cTrustMetadata::read(Type type, const QByteArray& text, QString* error)
{
    const std::optional<QJsonObject> document = CanonicalJson::read(text, error);
    if (!document)
        return std::nullopt;
    cTrustMetadata metadata;
    metadata.m_type = type;
    cParts parts(metadata);
    parts.readAll(*document);
    if (parts.fault().isEmpty())
        return metadata;
    *error = parts.fault();
    return std::nullopt;
}

QString cTrustMetadata::nameOf(Type type)
{
    return QLatin1String(TopRoles[type]);
}

QVector<cTrustDelegation> cTrustMetadata::delegationsOf(const QString& path) const
{
    QVector<cTrustDelegation> covering;
    std::copy_if(m_delegations.begin(), m_delegations.end(), std::back_inserter(covering),
                 [&](const cTrustDelegation& delegation) { return delegation.covers(path); });
    if (m_bins.bitLength > 0) // each path is one bin's, and nobody else's
        covering.append({m_bins.nameOf(path), m_bins.role, true, {}, {}});
    return covering;
}

std::optional<cTrustRole> cTrustMetadata::delegatedRole(const QString& name) const
{
    const auto found = std::find_if(m_delegations.begin(), m_delegations.end(),
                                    [&](const cTrustDelegation& delegation) { return delegation.name == name; });
    if (found != m_delegations.end())
        return found->role;
    return m_bins.has(name) ? std::make_optional(m_bins.role) : std::nullopt;
}

int cTrustMetadata::signedBy(const cTrustRole& role, const QMap<QString, cTrustKey>& keys) const
{
    QSet<QByteArray> signers;
    for (const Signature& signature : m_signatures) {
        const auto key = keys.constFind(signature.keyId);
        if (key == keys.constEnd() || !role.keyIds.contains(signature.keyId) || signature.value.isEmpty())
            continue;
        if (!signers.contains(key->material()) && key->verify(m_signedBytes, signature.value))
            signers.insert(key->material());
    }
    return signers.size();
}
