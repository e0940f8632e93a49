#pragma once

#include "trust/Cryptography.h"

#include <QtCore/QJsonObject>
#include <QtCore/QMap>
#include <QtCore/QStringList>

#include <memory>
#include <optional>

// What metadata says of files and of roles. Values.

/// The hashes of a file: raw, by "sha256" and "sha512"; others are kept, and not checked.
using cTrustHashes = QMap<QString, QByteArray>;

/// A file that metadata vouches for.
struct cTrustTarget
{
    QString path; // with slashes, relative to the base of the targets
    qint64 length = -1;
    cTrustHashes hashes;
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
    cTrustHashes hashes;

    /// As that of a target; without length and hashes nothing is wrong. @p giver is the file that says so.
    [[nodiscard]] QString fault(const QByteArray& bytes, const QString& giver) const;
};

/// Holds a file that comes in pieces against what metadata says of it.
class cTrustCheck
{
public:
    explicit cTrustCheck(const cTrustTarget& target);
    /// @p giver is who says so: "the signed metadata", "timestamp.json".
    cTrustCheck(const std::optional<qint64>& length, const cTrustHashes& hashes, const QString& giver);

    void add(const char* bytes, qint64 size);
    /// Ends it. @return as cTrustTarget::fault().
    [[nodiscard]] QString fault();

private:
    struct Part
    {
        QString algorithm; // as in the metadata
        std::unique_ptr<Cryptography::cDigest> digest;
    };

    std::optional<qint64> m_length;
    cTrustHashes m_hashes;
    QString m_giver;
    qint64 m_taken = 0;
    std::vector<Part> m_parts;
};

/// A role that targets metadata hands paths on to.
struct cTrustDelegation
{
    QString name;
    cTrustRole role;
    bool isTerminating = false;
    QStringList paths;            // patterns, as of the shell; "*", "?" and "[...]" do not match a slash
    QStringList pathHashPrefixes; // hex, of the SHA-256 of the path

    [[nodiscard]] bool covers(const QString& path) const;
};

/// Roles that share all paths among them by the first bits of their SHA-256, and have no entry of their own.
struct cTrustBins
{
    cTrustRole role;
    QString namePrefix;
    int bitLength = 0; // 0 when there are none

    /// The role of @p path: the prefix and its bits, in hex.
    [[nodiscard]] QString nameOf(const QString& path) const;
    [[nodiscard]] bool has(const QString& name) const;

private:
    QString nameOf(quint32 bin) const;
};
