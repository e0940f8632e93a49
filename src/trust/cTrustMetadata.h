#pragma once

#include "trust/cTrustKey.h"

#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QJsonObject>
#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <optional>

/// A file that metadata vouches for. A value.
struct cTrustTarget
{
    QString path; // with slashes, relative to the base of the targets; empty for a metadata file
    qint64 length = -1;
    QMap<QString, QByteArray> hashes; // raw, by "sha256" and "sha512"; others are kept, and not checked
    QJsonObject custom;

    /// Whether @p bytes are the file: length, and each hash that is known, of which there must be one.
    /// @return why not, as a sentence that goes on after the file's name; empty when they are.
    [[nodiscard]] QString fault(const QByteArray& bytes) const;
};

/// Who signs a role.
struct cTrustRole
{
    QStringList keyIds;
    int threshold = 1;
};

/// A file of metadata, as timestamp and snapshot name it.
struct cTrustMeta
{
    qint64 version = 0;
    std::optional<qint64> length;
    QMap<QString, QByteArray> hashes;
};

/// A role that targets metadata hands paths on to.
struct cTrustDelegation
{
    QString name;
    cTrustRole role;
    bool isTerminating = false;
    QStringList paths;            // patterns, as of the shell; "*" and "?" do not match a slash
    QStringList pathHashPrefixes; // hex, of the SHA-256 of the path

    [[nodiscard]] bool covers(const QString& path) const;
};

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

    /// How many of the keys of @p role, each once, have signed this; @p keys has them by id.
    [[nodiscard]] int signedBy(const cTrustRole& role, const QMap<QString, cTrustKey>& keys) const;

private:
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
};
