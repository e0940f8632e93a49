#pragma once

#include "config/cUpdateLocation.h"
#include "trust/cInstallationTrust.h"

class cDownloader;

/**
 * An update site whose files count only where the installation's trusted set vouches for them. The set is brought up to
 * date from the site's folder "tuf" first; then files are asked for by their paths below the site.
 *
 * The downloaders are the callers' to cancel. Calls serve events while they wait.
 */
class cTrustedSite
{
public:
    /// @p location is the site, in which site.xml lies.
    explicit cTrustedSite(const QSharedPointer<cUpdateLocation>& location);

    /// The folder of the site's metadata.
    QUrl metadata() const;

    /// Brings the trusted set up to date. @return false when something is refused or cannot be had: nothing on the site
    /// counts then.
    [[nodiscard]] bool refresh(cDownloader& downloader);

    /// Fetches the description @p path, of which the trusted set must know and which has at most @p limit bytes, into
    /// @p downloader. It changes in place, so the copy is asked for first that has its hash before its name.
    [[nodiscard]] bool fetch(const QString& path, qint64 limit, cDownloader& downloader);

    /// The most bytes that the file named @p fileName may have, which lies at @p url; -1 when nobody vouches for one.
    [[nodiscard]] qint64 limitOf(const QUrl& url, const QString& fileName, cDownloader& downloader);

    /// As cInstallationTrust::refusal(), of what limitOf() has been asked for.
    [[nodiscard]] QString refusal(const QByteArray& sha256, qint64 length, const QString& fileName) const
    {
        return m_trust.refusal(sha256, length, fileName);
    }

    /// Why the last of the calls above was false, for people.
    const QString& errorString() const { return m_errorString; }

private:
    bool fail(const QString& reason);

    QSharedPointer<cUpdateLocation> m_location;
    cInstallationTrust m_trust;
    QString m_errorString;
};
