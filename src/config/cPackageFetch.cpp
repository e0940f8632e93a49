#include "config/cPackageFetch.h"

#include "config/cDropbox.h"
#include "config/cFeatureCatalogue.h"
#include "config/cTrustedSite.h"
#include "core/Files.h"
#include "delta/cRebuild.h"
#include "log/cFrameworkLog.h"
#include "plugins/cFileRecord.h"

#include <QtConcurrent/QtConcurrentRun>

#include <QtCore/QDir>
#include <QtCore/QThreadPool>

#include <algorithm>

namespace {

/// Whether an error of a transfer is one of the network, rather than of what the server has.
bool isOfNetwork(int error)
{
    return error > QNetworkReply::NoError && error < QNetworkReply::ContentAccessDenied &&
           error != QNetworkReply::OperationCanceledError; // it was too long
}

} // namespace

cPackageFetch::cPackageFetch(cFeaturePlugin& plugin, const Means& means) : m_plugin(plugin), m_means(means)
{
    connect(&m_watcher, &QFutureWatcherBase::finished, this, &cPackageFetch::takeRebuilt);
}

cPackageFetch::~cPackageFetch()
{
    if (m_rebuild)
        m_rebuild->cancel();
    m_watcher.waitForFinished();
}

QString cPackageFetch::path() const
{
    return m_means.dropbox.path(m_plugin.id().packageFileName());
}

QString cPackageFetch::patchPath() const
{
    return m_means.dropbox.path(m_plugin.id().deltaFileName(m_delta->from));
}

void cPackageFetch::prepare(const cFileRecord& record, cDownloader& downloader)
{
    const QString name = m_plugin.id().packageFileName();
    for (const cFeatureSource& source : m_plugin.sources()) {
        const QUrl url = source.url();
        m_sources.append({url, m_means.site ? m_means.site->limitOf(url, name, downloader) : m_plugin.sizeLimit()});
    }
    m_isThere = isThereAlready();
    const QString fault = m_isThere ? QString() : repositoryFault();
    if (!fault.isEmpty())
        return fail(fault);
    m_delta = m_isThere ? nullptr : usableDelta(record);
    m_planned = m_delta ? m_delta->size : m_plugin.size();
}

QString cPackageFetch::repositoryFault() const
{
    if (!m_plugin.hashFault().isEmpty())
        return m_plugin.hashFault();
    if (m_plugin.hash().isEmpty())
        return QStringLiteral("the repository gives no hash for it");
    return m_sources.isEmpty() ? QStringLiteral("the repository gives no source for it") : QString();
}

/// What was laid there before a root was pinned counts no more than what others lay there.
bool cPackageFetch::isThereAlready() const
{
    cContentDigest digest(m_means.site != nullptr);
    return m_plugin.hashFault().isEmpty() && !m_plugin.hash().isEmpty() && digest.addFile(path()) &&
           digest.sha1() == m_plugin.hash() && refusal(digest.sha256(), digest.length()).isEmpty();
}

/// Why a package with the right SHA-1 is not what it should be; empty when it is.
QString cPackageFetch::refusal(const QByteArray& sha256, qint64 length) const
{
    return m_means.site ? m_means.site->refusal(sha256, length, m_plugin.id().packageFileName()) : QString();
}

/// The smallest patch that can be used; null when there is none.
const cFeatureDelta* cPackageFetch::usableDelta(const cFileRecord& record) const
{
    const bool isVouchedFor =
        std::any_of(m_sources.begin(), m_sources.end(), [](const cFetch::Source& source) { return source.limit >= 0; });
    if (!isVouchedFor || m_plugin.size() == 0 || cFetch::hasPart(path()))
        return nullptr;
    const cFeatureDelta* smallest = nullptr;
    for (const cFeatureDelta& delta : m_plugin.deltas()) {
        const cPluginId old(m_plugin.name(), delta.from);
        const bool isSmaller = delta.size < (smallest ? smallest->size : m_plugin.size());
        if (isSmaller && record.isAsUnpacked(old, Corvane::pluginDir(old).absolutePath()))
            smallest = &delta;
    }
    return smallest;
}

void cPackageFetch::start()
{
    m_state = Running;
    if (m_isThere) {
        report(m_plugin.size(), m_plugin.size());
        end(Succeeded);
    } else if (m_delta) {
        fetchPatch();
    } else {
        fetchWhole();
    }
}

void cPackageFetch::cancel()
{
    m_isCancelled = true;
    if (m_state == Waiting)
        end(Cancelled);
    if (m_fetch)
        m_means.queue.cancel(*m_fetch);
    if (m_rebuild)
        m_rebuild->cancel();
}

void cPackageFetch::fetch(const cFetch::Order& order, void (cPackageFetch::*next)())
{
    m_fetch = QSharedPointer<cFetch>::create(order);
    connect(m_fetch.data(), &cFetch::progress, this, &cPackageFetch::report);
    connect(m_fetch.data(), &cFetch::done, this, [this, next] {
        m_fetched += m_fetch->bytesFetched();
        m_plugin.setDownloadStatus(m_fetch->error());
        if (m_isCancelled)
            end(Cancelled);
        else
            (this->*next)();
    });
    m_means.queue.add(m_fetch);
}

void cPackageFetch::fetchPatch()
{
    cContentDigest there(false);
    if (there.addFile(patchPath()) && there.sha1() == m_delta->hash)
        return rebuild();
    cFetch::Order order;
    order.path = patchPath();
    order.sources = {{m_delta->source.url(), m_delta->size}};
    order.sha1 = m_delta->hash;
    fetch(order, &cPackageFetch::rebuild);
}

void cPackageFetch::rebuild()
{
    if (m_fetch && m_fetch->hasDiskFault())
        return fail(m_fetch->errorString());
    if (m_fetch && !m_fetch->hasSucceeded())
        return fetchWholeInstead(m_fetch->errorString(), isOfNetwork(m_fetch->error()));
    const QString old = Corvane::pluginDir({m_plugin.name(), m_delta->from}).absolutePath();
    m_rebuild = std::make_unique<cRebuild>(patchPath(), cRebuild::filesIn(old), m_plugin.size());
    m_rebuilt = std::make_unique<cReplacement>(path());
    m_digest = std::make_unique<cContentDigest>(m_means.site != nullptr);
    m_watcher.setFuture(QtConcurrent::run(&m_means.threads, [this] {
        m_diskFault = m_rebuilt->open();
        if (!m_diskFault.isEmpty())
            return false;
        cDigestedWriting package(m_rebuilt->file(), *m_digest);
        const bool isMade = m_rebuild->run(package);
        if (isMade || m_rebuilt->file().error() != QFileDevice::NoError)
            m_diskFault = m_rebuilt->flush();
        return isMade;
    }));
}

void cPackageFetch::takeRebuilt()
{
    const auto rebuild = std::exchange(m_rebuild, nullptr);
    const auto rebuilt = std::exchange(m_rebuilt, nullptr); // removes what is not put in place
    if (m_isCancelled)
        return end(Cancelled);
    if (!m_diskFault.isEmpty())
        return fail(QStringLiteral("%1 cannot be written: %2").arg(path(), m_diskFault));
    QString reason = rebuild->errorString();
    if (m_watcher.result())
        reason = m_digest->sha1() == m_plugin.hash()
                     ? refusal(m_digest->sha256(), m_digest->length())
                     : QStringLiteral("what it makes does not match the package's hash");
    if (!reason.isEmpty())
        return fetchWholeInstead(reason);
    if (!m_means.dropbox.makeWayFor(m_plugin.id().packageFileName(), &reason))
        return fail(reason);
    reason = rebuilt->commit();
    if (!reason.isEmpty())
        return fail(QStringLiteral("%1 cannot be written: %2").arg(path(), reason));
    QFile::remove(patchPath());
    end(Succeeded);
}

/// A patch that the network has cut off is not at fault: its part stays, and if the whole cannot be had either, the
/// next run goes on with it.
void cPackageFetch::fetchWholeInstead(const QString& reason, bool isCutOff)
{
    QString error;
    if (!isCutOff && !replaceFile(cFetch::restsOf(path()).constFirst(), QByteArray(), &error))
        return fail(error);
    cFrameworkLog::configuration().warning().noquote()
        << "Not rebuilt:" << m_plugin.id().toString() << "from version" << m_delta->from.toString() + QLatin1Char(':')
        << reason + QStringLiteral("; it is fetched whole") << Qt::endl;
    for (const QString& file : isCutOff ? QStringList() : cFetch::restsOf(patchPath()) + QStringList(patchPath()))
        QFile::remove(file);
    m_before = m_reached;
    m_planned = m_before + m_plugin.size();
    fetchWhole();
}

void cPackageFetch::fetchWhole()
{
    const QString name = m_plugin.id().packageFileName();
    cFetch::Order order;
    order.name = m_plugin.id().toString();
    order.path = path();
    order.sources = m_sources;
    order.sha1 = m_plugin.hash();
    if (m_means.site)
        order.refusal = [this](const QByteArray& sha256, qint64 length) { return refusal(sha256, length); };
    order.makeWay = [this, name] {
        QString reason;
        (void)m_means.dropbox.makeWayFor(name, &reason);
        return reason;
    };
    fetch(order, &cPackageFetch::takeWhole);
}

void cPackageFetch::takeWhole()
{
    end(m_fetch->hasSucceeded() ? Succeeded : Failed);
}

void cPackageFetch::report(qint64 bytesThere, qint64 bytesTotal)
{
    m_reached = qMax(m_reached, qMin(m_before + bytesThere, m_planned));
    emit progress(bytesThere, bytesTotal);
}

void cPackageFetch::fail(const QString& reason)
{
    m_reason = reason;
    end(Failed);
}

void cPackageFetch::end(State state)
{
    if (isOver())
        return;
    if (state == Succeeded && m_reached < m_planned)
        report(m_planned - m_before, m_planned - m_before);
    m_plugin.setPending(state == Succeeded);
    m_state = state;
    emit done();
}
