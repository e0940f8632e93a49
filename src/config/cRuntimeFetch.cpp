#include "config/cRuntimeFetch.h"

#include "config/cContentDigest.h"
#include "config/cFeatureCatalogue.h"
#include "config/cFetchQueue.h"
#include "config/cTrustedSite.h"
#include "version/cPluginId.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

namespace {

/// The most bytes of a setup program, whose size no description tells.
constexpr qint64 SizeLimit = qint64(4) * 1024 * 1024 * 1024;

/// Whether a file of this name can lie in the data folder, beside what the library itself keeps there.
bool canLieInDataFolder(const QString& name)
{
    const auto isTaken = [&](Corvane::VelmFolderOrFile own) {
        return name.compare(QFileInfo(Corvane::velmiraFolderOrFile(own)).fileName(), Qt::CaseInsensitive) == 0;
    };
    return isSafePackageName(name) && !isTaken(Corvane::SettingsFile) && !isTaken(Corvane::DropboxFolder);
}

} // namespace

bool cRuntimeFetch::run()
{
    if (!canLieInDataFolder(m_runtime.name()))
        return fail(QStringLiteral("its name cannot be that of a file in the data folder"));
    if (!m_runtime.hashFault().isEmpty())
        return fail(m_runtime.hashFault());
    if (m_runtime.hash().isEmpty())
        return fail(QStringLiteral("the repository gives no hash for it"));
    m_path = QDir(Corvane::velmiraFolderOrFile(Corvane::DataFolder)).absoluteFilePath(m_runtime.name());
    const bool isDone = isThere();
    removeParts(isDone ? QString() : m_path);
    return isDone || fetch();
}

bool cRuntimeFetch::isThere() const
{
    cContentDigest digest(m_means.site != nullptr);
    return digest.addFile(m_path) && digest.sha1() == m_runtime.hash() &&
           refusal(digest.sha256(), digest.length()).isEmpty();
}

QString cRuntimeFetch::refusal(const QByteArray& sha256, qint64 length) const
{
    return m_means.site ? m_means.site->refusal(sha256, length, m_runtime.name()) : QString();
}

bool cRuntimeFetch::fetch()
{
    const QUrl url = m_runtime.source();
    const qint64 limit = m_means.site ? m_means.site->limitOf(url, m_runtime.name(), m_means.downloader) : SizeLimit;
    if (limit < 0)
        return fail(cInstallationTrust::notNamed());
    cFetch::Order order;
    order.path = m_path;
    order.sources = {{url, limit}};
    order.sha1 = m_runtime.hash();
    if (m_means.site)
        order.refusal = [this](const QByteArray& sha256, qint64 length) { return refusal(sha256, length); };
    order.isProgram = true;
    const auto fetch = QSharedPointer<cFetch>::create(order);
    QObject::connect(fetch.data(), &cFetch::progress, &m_runtime, &cRuntimeInfo::onProgress);
    m_means.queue.add(fetch);
    m_means.queue.wait();
    if (fetch->hasSucceeded())
        return true;
    return fail(fetch->hasDiskFault() ? fetch->errorString()
                                      : QStringLiteral("from %1: %2").arg(url.toDisplayString(), fetch->errorString()));
}

/// Those of setup programs that no site offers any more, and what a kill has left beside one that is whole. A part is
/// known by what lies beside it.
void cRuntimeFetch::removeParts(const QString& but) const
{
    const QDir folder = QFileInfo(m_path).dir();
    const QString end = cPartFile::originOf(QString());
    for (const QString& origin : folder.entryList({QLatin1Char('*') + end}, QDir::Files | QDir::Hidden)) {
        const QString path = folder.filePath(origin.chopped(end.size()));
        if (path == but)
            continue;
        for (const QString& rest : cFetch::restsOf(path))
            QFile::remove(rest);
    }
}

bool cRuntimeFetch::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
