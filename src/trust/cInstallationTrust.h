#pragma once

#include "trust/cTrustClient.h"

#include <memory>

/**
 * What this installation trusts. Where a root of trust is pinned, its text stands in the machine-wide settings, and the
 * trusted set grows from it in the folder "Trust" of the installation; then only what that set vouches for is fetched
 * and installed. Where none is, nothing is verified.
 *
 * An object knows the settings as they were when it was made. Main thread.
 */
class cInstallationTrust
{
public:
    cInstallationTrust();

    bool isPinned() const { return m_isPinned; }

    /// Takes what the store has into the set; a store that is gone, or has grown from another root, is begun anew from
    /// the pinned one. @return false when nothing can be verified, although a root is pinned: errorString() says why.
    [[nodiscard]] bool open();

    /// Brings the set up to date from @p source. @return false when something is refused or cannot be had; the set is
    /// then what the store has. From a successful open() on, as all that follows.
    [[nodiscard]] bool refresh(ITrustSource& source);

    cTrustClient& client() { return *m_client; }

    /// Why a file is refused that has no limit, cTrustClient::limitOf().
    [[nodiscard]] static QString notNamed() { return QStringLiteral("no trusted metadata names it"); }

    /// Why the file named @p fileName with this digest and length is not vouched for, as a sentence for people that
    /// goes on after its name; empty when it is. Its path counts only for its name, as it may come from anywhere.
    [[nodiscard]] QString refusal(const QByteArray& sha256, qint64 length, const QString& fileName) const;

    const QString& errorString() const { return m_errorString; }

    /// The pinned root; empty when none is.
    const QByteArray& pinnedRoot() const { return m_pinned; }

    /// Makes @p root the pinned one, in place of any other. Of the same root the store stays, with what has been seen.
    /// @return false when it is no root that its own keys have signed, there is no cryptography, or the settings cannot
    /// be written: nothing has changed then, and @p error says why.
    [[nodiscard]] static bool pin(const QByteArray& root, QString* error);

    /// Pins nothing any more, and forgets the trusted set.
    [[nodiscard]] static bool unpin(QString* error);

private:
    bool begin();
    bool fail(const QString& reason);

    bool m_isPinned;
    QByteArray m_pinned;
    std::shared_ptr<cTrustClient> m_client;
    QString m_errorString;
};
