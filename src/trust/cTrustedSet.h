#pragma once

#include "trust/cTrustMetadata.h"

#include <QtCore/QHash>

/**
 * The metadata that is trusted, and the rules by which a new document joins it or takes an older one's place: the
 * checks of the standard's client workflow, without any transfer and any file. What is refused changes nothing.
 *
 * Documents come in the order of the workflow: root, one by one; timestamp; snapshot; targets; delegated targets.
 */
class cTrustedSet
{
public:
    /// @p now is the time that all expiry of one workflow is held against.
    explicit cTrustedSet(const QDateTime& now);

    /// The root that is trusted to begin with; its own keys must have signed it. Expiry is not looked at.
    [[nodiscard]] bool begin(const QByteArray& root);
    /// The next root: exactly one version up, signed by the old and the new keys.
    [[nodiscard]] bool updateRoot(const QByteArray& root);
    /// Ends the roots: the last one must not have expired.
    [[nodiscard]] bool finishRoots();
    /// @p isSeen for all that follow: the document was trusted before and comes from the store.
    [[nodiscard]] bool updateTimestamp(const QByteArray& timestamp);
    [[nodiscard]] bool updateSnapshot(const QByteArray& snapshot, bool isSeen = false);
    [[nodiscard]] bool updateTargets(const QByteArray& targets);
    /// Of the role @p name, which @p parent ("targets" or a role known by now) delegates to.
    [[nodiscard]] bool updateDelegated(const QByteArray& targets, const QString& name, const QString& parent);

    /// Null when there is none yet.
    const cTrustMetadata* root() const;
    const cTrustMetadata* timestamp() const;
    const cTrustMetadata* snapshot() const;
    /// By role name; "targets" is the top.
    const cTrustMetadata* targets(const QString& role) const;
    const QHash<QString, cTrustMetadata>& allTargets() const { return m_targets; }

    /// Why the last document was refused, in the attack's plain name: "older than what was seen", "expired on ...",
    /// "signed by 1 of 2 keys". Goes on after the document's name.
    const QString& errorString() const { return m_errorString; }

private:
    bool fail(const QString& reason);

    QDateTime m_now;
    std::optional<cTrustMetadata> m_root;
    std::optional<cTrustMetadata> m_timestamp;
    std::optional<cTrustMetadata> m_snapshot;
    QHash<QString, cTrustMetadata> m_targets;
    QString m_errorString;
};
