#pragma once

#include "trust/cTrustMetadata.h"

#include <QtCore/QHash>

/**
 * The metadata that is trusted, and the rules by which a new document joins it or takes an older one's place: the
 * checks of the standard's client workflow, without any transfer and any file. What is refused changes nothing.
 *
 * Documents come in the order of the workflow: root, one by one; timestamp; snapshot; targets; delegated targets. One
 * that @a isSeen was trusted before, and comes from the store: its keys count, and neither its expiry nor what others
 * say of its version, length and hashes. What is new is held against it; timestamp and snapshot must be new, or be
 * given once more as such, before new documents that they name can follow.
 */
class cTrustedSet
{
public:
    /// @p now is the time that all expiry of one workflow is held against.
    explicit cTrustedSet(const QDateTime& now) : m_now(now) {}

    /// The root that is trusted to begin with; its own keys must have signed it. Expiry is not looked at.
    [[nodiscard]] bool begin(const QByteArray& root);
    /// Has expiry held against @p now from here on.
    void setTime(const QDateTime& now) { m_now = now; }
    /// The next root: exactly one version up, signed by the old and the new keys.
    [[nodiscard]] bool updateRoot(const QByteArray& root);
    /// Ends the roots: the last one must not have expired.
    [[nodiscard]] bool finishRoots();
    /// One of the version that is trusted by now is not taken; that is no failure.
    [[nodiscard]] bool updateTimestamp(const QByteArray& timestamp, bool isSeen = false);
    [[nodiscard]] bool updateSnapshot(const QByteArray& snapshot, bool isSeen = false);
    [[nodiscard]] bool updateTargets(const QByteArray& targets, bool isSeen = false);
    /// Of the role @p name, which @p parent ("targets" or a role known by now) delegates to.
    [[nodiscard]] bool updateDelegated(const QByteArray& targets, const QString& name, const QString& parent,
                                       bool isSeen = false);

    /// Null when there is none yet.
    const cTrustMetadata* root() const { return m_root ? &*m_root : nullptr; }
    const cTrustMetadata* timestamp() const { return m_timestamp ? &*m_timestamp : nullptr; }
    const cTrustMetadata* snapshot() const { return m_snapshot ? &*m_snapshot : nullptr; }
    /// By role name; "targets" is the top.
    const cTrustMetadata* targets(const QString& role) const;
    const QHash<QString, cTrustMetadata>& allTargets() const { return m_targets; }

    /// Whether the document of the role @p name was taken as one that @p parent delegates to.
    [[nodiscard]] bool isDelegated(const QString& name, const QString& parent) const
    {
        return m_parents.value(name).contains(parent);
    }
    /// Whether it has all four roles, each in the version that the one before names, and nothing in it has expired.
    [[nodiscard]] bool isWhole() const;
    /// Whether a root since begin() has taken a key from timestamp or snapshot: what they said before may be a thief's.
    bool isRotated() const { return m_isRotated; }

    /// Why the last document was refused, in the attack's plain name: "older than what was seen", "expired on ...",
    /// "signed by 1 of 2 keys". Goes on after the document's name.
    const QString& errorString() const { return m_errorString; }

private:
    bool fail(const QString& reason);
    bool read(cTrustMetadata::Type type, const QByteArray& text, std::optional<cTrustMetadata>& document);
    bool isSigned(const cTrustMetadata& document, const cTrustRole& role, const cTrustMetadata& giver);
    bool isCurrent(const cTrustMetadata& document, qint64 seen);
    bool hasVersion(const cTrustMetadata& document, qint64 version, const cTrustMetadata* seen, const QString& giver);
    bool isNewer(const cTrustMetadata& timestamp);
    bool keepsAll(const cTrustMetadata& snapshot);
    void take(const cTrustMetadata& document, const QString& name, const QString& parent);
    std::optional<cTrustRole> roleOf(const QString& name, const QString& parent) const;
    const cTrustMetadata* parentOf(const QString& parent) const;

    QDateTime m_now;
    std::optional<cTrustMetadata> m_root;
    std::optional<cTrustMetadata> m_timestamp;
    std::optional<cTrustMetadata> m_snapshot;
    QHash<QString, cTrustMetadata> m_targets;
    QHash<QString, QStringList> m_parents; // who delegates to a role in m_targets, by its name
    qint64 m_firstRoot = 0;                // the version of the one that it began with
    bool m_isRotated = false;
    bool m_isTimestampNew = false;
    bool m_isSnapshotNew = false;
    QString m_errorString;
};
