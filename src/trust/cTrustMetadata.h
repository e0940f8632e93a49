#pragma once

#include "trust/cTrustKey.h"
#include "trust/cTrustTarget.h"

#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QVector>

#include <optional>

/**
 * A metadata document, read and well-formed, not yet trusted: what cTrustedSet verifies. A value.
 */
class cTrustMetadata
{
public:
    enum Type { Root, Timestamp, Snapshot, Targets };

    struct Signature
    {
        QString keyId;
        QByteArray value;
    };

    /// Reads a document, which must be of @p type. @return nothing when it is malformed, of another type, or of another
    /// major version of the standard; @p error then says why.
    [[nodiscard]] static std::optional<cTrustMetadata> read(Type type, const QByteArray& text, QString* error);

    /// "root", "timestamp", "snapshot", "targets".
    [[nodiscard]] static QString nameOf(Type type);

    Type type() const { return m_type; }
    qint64 version() const { return m_version; }
    const QDateTime& expires() const { return m_expires; }
    const QVector<Signature>& signatures() const { return m_signatures; }
    /// What the signatures are over: the canonical form of "signed".
    const QByteArray& signedBytes() const { return m_signedBytes; }
    /// "signed", with whatever it was read with.
    const QJsonObject& object() const { return m_object; }

    // Of root, and of targets with delegations.
    const QMap<QString, cTrustKey>& keys() const { return m_keys; }
    // Of root: by "root", "timestamp", "snapshot", "targets".
    const QMap<QString, cTrustRole>& roles() const { return m_roles; }
    bool isConsistentSnapshot() const { return m_isConsistentSnapshot; }
    // Of timestamp and snapshot: by file name, such as "targets.json".
    const QMap<QString, cTrustMeta>& meta() const { return m_meta; }
    // Of targets.
    const QHash<QString, cTrustTarget>& targets() const { return m_targets; }
    const QVector<cTrustDelegation>& delegations() const { return m_delegations; }
    const cTrustBins& bins() const { return m_bins; }

    /// The roles that @p path is handed on to, in the order in which they are asked.
    [[nodiscard]] QVector<cTrustDelegation> delegationsOf(const QString& path) const;
    /// Who signs the role @p name, which this delegates to; nothing when it does not.
    [[nodiscard]] std::optional<cTrustRole> delegatedRole(const QString& name) const;

    /// How many of the keys of @p role, each once whatever ids it has, have signed this; @p keys has them by id.
    [[nodiscard]] int signedBy(const cTrustRole& role, const QMap<QString, cTrustKey>& keys) const;

private:
    class cParts;

    Type m_type = Root;
    qint64 m_version = 0;
    QDateTime m_expires;
    QVector<Signature> m_signatures;
    QByteArray m_signedBytes;
    QJsonObject m_object;
    QMap<QString, cTrustKey> m_keys;
    QMap<QString, cTrustRole> m_roles;
    bool m_isConsistentSnapshot = false;
    QMap<QString, cTrustMeta> m_meta;
    QHash<QString, cTrustTarget> m_targets;
    QVector<cTrustDelegation> m_delegations;
    cTrustBins m_bins;
};
