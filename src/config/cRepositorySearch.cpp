#include "config/cRepositorySearch.h"

#include "config/cCatalogueReader.h"
#include "config/cFeatureCatalogue.h"
#include "config/cTrustedSite.h"
#include "log/cFrameworkLog.h"

#include <QtCore/QDir>

namespace {

const QString SiteFile = QStringLiteral("site.xml");
const QString RepositoryFile = QStringLiteral("repository.xml");

/// Where the description of the entry's repository lies, from the site on.
QString pathOf(const cSiteEntry& entry)
{
    QString path = entry.content + QLatin1Char('/') + RepositoryFile;
    while (path.startsWith(QLatin1Char('/')))
        path.remove(0, 1);
    return QDir::cleanPath(path);
}

} // namespace

cRepositorySearch::cRepositorySearch(const Locations& locations, const QString& name, const QString& status)
    : m_locations(locations)
    , m_name(name)
    , m_status(status)
    , m_log(cFrameworkLog::configuration())
    , m_isVerified(cInstallationTrust().isPinned())
{
    m_downloader.setLeastRate(cDownloader::leastRateInSettings());
    connect(&m_downloader, &cDownloader::progress, this,
            [this](qint64 received, qint64 total) { emit progress(m_fileName, received, total); });
}

bool cRepositorySearch::run(cFeatureCatalogue& catalogue, cRuntimeInfo& runtime)
{
    QList<cCandidate> candidates;
    for (const QSharedPointer<cUpdateLocation>& location : m_locations)
        candidates += candidatesOf(location);
    for (const cCandidate& candidate : qAsConst(candidates))
        takeIfNewer(candidate, catalogue, runtime);
    if (m_isCancelled)
        m_log.warning() << "The search for a newer repository was cancelled" << Qt::endl;
    else if (m_locations.isEmpty())
        m_log.warning() << "There is no update site in the settings" << Qt::endl;
    else if (candidates.isEmpty() && m_failures.isEmpty())
        m_log.warning().noquote() << "No update site has a repository" << wanted() << Qt::endl;
    return !m_isCancelled && !candidates.isEmpty();
}

QString cRepositorySearch::wanted() const
{
    const QString name = m_name.isEmpty() ? QString() : QStringLiteral("\"%1\" ").arg(m_name);
    return name + QStringLiteral("of the status \"%1\"").arg(m_status);
}

QList<cRepositorySearch::cCandidate> cRepositorySearch::candidatesOf(const QSharedPointer<cUpdateLocation>& location)
{
    QList<cCandidate> candidates;
    const QSharedPointer<cTrustedSite> trusted = m_isVerified ? refresh(location) : nullptr;
    const QUrl url = location->resolve(SiteFile);
    if ((m_isVerified && !trusted) || !fetch(url, SiteLimit, trusted.data(), SiteFile))
        return candidates;
    cSiteReader site;
    if (!site.read(m_downloader.data()))
        passOver("No site description:", url, site.errorString());
    else if (!site.foreignRoot().isEmpty())
        passOver("No site description:", url, site.foreignRoot());
    for (const cSiteEntry& entry : site.entries()) {
        if (!entry.fits(m_name, m_status))
            continue;
        const QString path = pathOf(entry);
        if (trusted && path.startsWith(QLatin1String("../"))) {
            passOver("Not trusted:", url, QStringLiteral("the repository \"%1\" leaves the site").arg(entry.content));
            continue;
        }
        const auto repository = QSharedPointer<cUpdateLocation>::create(location->resolve(entry.content));
        candidates.append({repository, path, trusted});
    }
    return candidates;
}

/// The site with its trusted set; null, with the reason logged, when it has none.
QSharedPointer<cTrustedSite> cRepositorySearch::refresh(const QSharedPointer<cUpdateLocation>& location)
{
    const auto site = QSharedPointer<cTrustedSite>::create(location);
    if (m_isCancelled)
        return nullptr;
    m_fileName = QStringLiteral("tuf");
    const bool isTrusted = site->refresh(m_downloader);
    return conclude(isTrusted, "Not trusted:", site->metadata(), site->errorString()) ? site : nullptr;
}

void cRepositorySearch::takeIfNewer(const cCandidate& candidate, cFeatureCatalogue& catalogue, cRuntimeInfo& runtime)
{
    const QUrl url = candidate.location->resolve(RepositoryFile);
    if (!fetch(url, RepositoryLimit, candidate.site.data(), candidate.description))
        return;
    cFeatureCatalogue found;
    cCatalogueReader reader(found, candidate.location);
    if (!reader.read(m_downloader.data()))
        return passOver("No repository description:", url, reader.errorString());
    if (!reader.foreignRoot().isEmpty())
        passOver("No repository description:", url, reader.foreignRoot());
    // Of equal versions the earlier candidate stays.
    if (catalogue.version() < found.version()) {
        runtime.takeNewest(found, *candidate.location);
        catalogue = found;
        m_site = candidate.site;
    }
}

void cRepositorySearch::passOver(const char* what, const QUrl& url, const QString& reason)
{
    noteFailure(url, reason);
    m_log.warning().noquote() << what << url.toDisplayString() + QLatin1Char(':') << reason << Qt::endl;
}

void cRepositorySearch::noteFailure(const QUrl& url, const QString& reason)
{
    m_isComplete = false;
    m_failures.append({url.toDisplayString(), reason});
}

bool cRepositorySearch::fetch(const QUrl& url, qint64 limit, cTrustedSite* site, const QString& path)
{
    if (m_isCancelled)
        return false;
    m_fileName = url.fileName();
    m_downloader.setSizeLimit(limit);
    const bool hasArrived = site ? site->fetch(path, limit, m_downloader) : m_downloader.download(url);
    return conclude(hasArrived, "Not fetched:", url, site ? site->errorString() : m_downloader.errorString());
}

bool cRepositorySearch::conclude(bool hasArrived, const char* what, const QUrl& url, const QString& reason)
{
    if (hasArrived && !m_isCancelled)
        return true;
    noteFailure(url, reason);
    if (!m_isCancelled)
        m_log.warning().noquote() << what << url.toDisplayString() + QLatin1Char(':') << reason << Qt::endl;
    return false;
}

void cRepositorySearch::cancel()
{
    m_isCancelled = true;
    m_downloader.cancel();
}
