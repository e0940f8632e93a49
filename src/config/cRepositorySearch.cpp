#include "config/cRepositorySearch.h"

#include "config/cCatalogueReader.h"
#include "config/cFeatureCatalogue.h"
#include "log/cFrameworkLog.h"

cRepositorySearch::cRepositorySearch(const Locations& locations, const QString& name, const QString& status)
    : m_locations(locations), m_name(name), m_status(status), m_log(cFrameworkLog::configuration())
{
    m_downloader.setLeastRate(cDownloader::leastRateInSettings());
    connect(&m_downloader, &cDownloader::progress, this,
            [this](qint64 received, qint64 total) { emit progress(m_fileName, received, total); });
}

bool cRepositorySearch::run(cFeatureCatalogue& catalogue, cRuntimeInfo& runtime)
{
    Locations candidates;
    for (const QSharedPointer<cUpdateLocation>& location : m_locations)
        candidates += candidatesOf(*location);
    for (const QSharedPointer<cUpdateLocation>& candidate : qAsConst(candidates))
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

cRepositorySearch::Locations cRepositorySearch::candidatesOf(const cUpdateLocation& location)
{
    Locations candidates;
    const QUrl url = location.resolve(QStringLiteral("site.xml"));
    if (!fetch(url, SiteLimit))
        return candidates;
    cSiteReader site;
    if (!site.read(m_downloader.data()))
        passOver("No site description:", url, site.errorString());
    else if (!site.foreignRoot().isEmpty())
        passOver("No site description:", url, site.foreignRoot());
    for (const cSiteEntry& entry : site.entries()) {
        if (entry.fits(m_name, m_status))
            candidates.append(QSharedPointer<cUpdateLocation>::create(location.resolve(entry.content)));
    }
    return candidates;
}

void cRepositorySearch::takeIfNewer(const QSharedPointer<cUpdateLocation>& candidate, cFeatureCatalogue& catalogue,
                                    cRuntimeInfo& runtime)
{
    const QUrl url = candidate->resolve(QStringLiteral("repository.xml"));
    if (!fetch(url, RepositoryLimit))
        return;
    cFeatureCatalogue found;
    cCatalogueReader reader(found, candidate);
    if (!reader.read(m_downloader.data()))
        return passOver("No repository description:", url, reader.errorString());
    if (!reader.foreignRoot().isEmpty())
        passOver("No repository description:", url, reader.foreignRoot());
    // Of equal versions the earlier candidate stays.
    if (catalogue.version() < found.version()) {
        runtime.takeNewest(found, *candidate);
        catalogue = found;
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

bool cRepositorySearch::fetch(const QUrl& url, qint64 limit)
{
    if (m_isCancelled)
        return false;
    m_fileName = url.fileName();
    m_downloader.setSizeLimit(limit);
    const bool hasArrived = m_downloader.download(url);
    if (!hasArrived || m_isCancelled)
        noteFailure(url, m_downloader.errorString());
    if (!hasArrived && !m_isCancelled)
        m_log.warning().noquote() << "Not fetched:" << url.toDisplayString() + QLatin1Char(':')
                                  << m_downloader.errorString() << Qt::endl;
    return hasArrived && !m_isCancelled;
}

void cRepositorySearch::cancel()
{
    m_isCancelled = true;
    m_downloader.cancel();
}
