#pragma once

#include "trust/ITrustSource.h"
#include "trust/cTrustStore.h"
#include "trust/cTrustedSet.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <functional>
#include <optional>

/**
 * The client's workflow: brings the trusted set of a store up to date from a source, and finds targets in it. What has
 * been verified is kept at once, in the order of the workflow; what is refused changes nothing. After a failure the
 * store has what was trusted before, or a newer part of it that was verified whole.
 */
class cTrustClient
{
public:
    /// The most roots that one refresh follows, and roles that one search visits.
    static constexpr int MaxRoots = 256;
    static constexpr int MaxDelegations = 32;
    /// The most bytes of a document whose length no other document gives.
    static constexpr qint64 RootLimit = 512 * 1024;
    static constexpr qint64 TimestampLimit = 16 * 1024;
    static constexpr qint64 SnapshotLimit = 2 * 1024 * 1024;
    static constexpr qint64 TargetsLimit = 64 * 1024 * 1024;

    explicit cTrustClient(const QString& folder, const QDateTime& now = QDateTime::currentDateTimeUtc());

    /// Makes @p root what the store trusts, and forgets all else in it. @return false when it is none, or not signed by
    /// its own keys; the store is then as it was.
    [[nodiscard]] bool trust(const QByteArray& root);

    /// Takes what the store has into the set without fetching anything and without regard to expiry: what was verified
    /// when it came. @return false when it has no root; what else does not verify is passed over.
    [[nodiscard]] bool load();

    /// Whether the set is, by its root and its timestamp, still what the store has: others may have written there.
    [[nodiscard]] bool isAsStored() const;

    /// Has expiry held against @p now from here on.
    void setTime(const QDateTime& now);

    /// Fetches what is new, through all four roles. Where the set is as stored and whole, and the source has no newer
    /// root and the same timestamp, nothing else is read again. @return false when something is refused or not fetched;
    /// the set has then the part that was verified, and load() takes the rest as it was.
    [[nodiscard]] bool refresh(ITrustSource& source);

    /// The target @p path, from "targets" and what it delegates to, depth first in the order given; roles that are not
    /// there yet are fetched. @return nothing when no role vouches for it, or a role on the way cannot be had:
    /// errorString() says which.
    [[nodiscard]] std::optional<cTrustTarget> find(const QString& path, ITrustSource& source);

    /// A target of these @p bytes by their SHA-256 and length, in the roles that are here by now, named @p fileName
    /// ("Foo-1.02.003.zip") at any place; nothing is fetched.
    [[nodiscard]] std::optional<cTrustTarget> findContent(const QByteArray& sha256, qint64 length,
                                                          const QString& fileName) const;

    /// The most bytes of a target named so, at any place, in the roles that are here by now; -1 when there is none.
    [[nodiscard]] qint64 limitOf(const QString& fileName) const { return m_limits.value(fileName, -1); }

    const cTrustedSet& set() const { return m_set; }

    /// What was refused and why: "timestamp.json is refused: version 3 is older than what was seen, 5".
    const QString& errorString() const { return m_errorString; }
    /// Whether the source could not be reached or does not have the file, so that nothing was refused.
    bool isUnreachable() const { return m_isUnreachable; }

private:
    using Has = std::function<bool(const QString& role, const QString& parent)>;

    void beginAnew();
    void noteStored();
    QString nextRoot() const;
    bool refuse(const QString& name, const QString& reason);
    bool loadRoot();
    void loadDelegated(bool isSeen);
    bool fetch(ITrustSource& source, const QString& name, qint64 limit, QByteArray& bytes);
    bool fetch(ITrustSource& source, const QString& role, const cTrustMeta& meta, qint64 limit, QByteArray& bytes);
    bool save(const QString& role, const QByteArray& bytes);
    bool refreshRoot(ITrustSource& source);
    bool refreshTimestamp(ITrustSource& source);
    bool refreshSnapshot(ITrustSource& source);
    bool bring(const QString& role, const QString& parent, ITrustSource& source);
    void index(const QString& role);
    std::optional<cTrustTarget> walk(const QString& path, const Has& has) const;
    QString nameOf(const QString& role, const cTrustMeta& meta) const;

    cTrustStore m_store;
    QDateTime m_now;
    cTrustedSet m_set;
    QMultiHash<QByteArray, QString> m_paths; // of the targets in the set, by their SHA-256
    QHash<QString, qint64> m_limits;         // the greatest length of those of one file name
    QByteArray m_storedRoot;                 // as the store had it when the set was read from it, or brought up to date
    QByteArray m_storedTimestamp;
    QString m_errorString;
    bool m_isUnreachable = false;
    bool m_isAbsent = false; // the source does not have what was asked for last
};
