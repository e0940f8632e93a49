#pragma once

#include "config/cDownloader.h"
#include "trust/cTrustClient.h"

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>
#include <QtCore/QUrl>

#include <optional>

class cFindings;

/// Reads a signed site as a client that trusts its first root, and holds the files that are fetched from it against
/// what is signed.
class cSignedSiteCheck
{
public:
    cSignedSiteCheck(const QUrl& site, cFindings& findings) : m_site(site), m_findings(findings) {}

    /// Brings the client up to date. Of a site that is not signed nothing is checked, by this and the others.
    void begin();

    /// A file that has been fetched from @p url.
    void look(const QUrl& url, const QByteArray& bytes);

    /// The files that are signed and have not been looked at by now.
    QList<QUrl> missing() const;

private:
    void addTarget(const cTrustTarget& target);
    void noteExpiry(const cTrustMetadata& document);

    QUrl m_site;
    cFindings& m_findings;
    QTemporaryDir m_folder;
    std::optional<cTrustClient> m_client; // while there is signed metadata that it takes
    QHash<QUrl, cTrustTarget> m_targets;  // descriptions by their copies
    QSet<QUrl> m_seen;
};
