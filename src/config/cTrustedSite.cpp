#include "config/cTrustedSite.h"

#include "config/cTrustDownload.h"

namespace {

/// The name under which a description is published beside its own, so that one state of a site can be read while the
/// next one is written; empty when the metadata give no hash for it.
QString copyOf(const QString& path, const cTrustHashes& hashes)
{
    const QByteArray hash = hashes.value(QStringLiteral("sha256"), hashes.value(QStringLiteral("sha512")));
    const int name = path.lastIndexOf(QLatin1Char('/')) + 1;
    return hash.isEmpty() ? QString()
                          : path.left(name) + QString::fromLatin1(hash.toHex()) + QLatin1Char('.') + path.mid(name);
}

QString withSlash(const QString& path)
{
    return path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
}

} // namespace

cTrustedSite::cTrustedSite(const QSharedPointer<cUpdateLocation>& location) : m_location(location) {}

QUrl cTrustedSite::metadata() const
{
    QUrl url = m_location->resolve(QStringLiteral("tuf"));
    url.setPath(withSlash(url.path(QUrl::FullyDecoded)), QUrl::DecodedMode);
    return url;
}

bool cTrustedSite::refresh(cDownloader& downloader)
{
    if (!m_trust.open())
        return fail(m_trust.errorString());
    cTrustDownload source(metadata(), downloader);
    return m_trust.refresh(source) || fail(m_trust.errorString());
}

bool cTrustedSite::fetch(const QString& path, qint64 limit, cDownloader& downloader)
{
    cTrustClient& client = m_trust.client();
    cTrustDownload source(metadata(), downloader);
    const std::optional<cTrustTarget> target = client.find(path, source);
    if (!target)
        return fail(client.errorString());
    if (target->length > limit)
        return fail(QStringLiteral("%1 is refused: it has more bytes than are accepted").arg(path));
    downloader.setSizeLimit(qMax<qint64>(target->length, 1)); // 0 would be no limit
    const QString name = client.set().root()->isConsistentSnapshot() ? copyOf(path, target->hashes) : QString();
    const QUrl copy = m_location->resolve(name);
    bool hasArrived = !name.isEmpty() && downloader.download(copy);
    if (!hasArrived && (name.isEmpty() || cTrustDownload::isAbsent(copy, downloader.error())))
        hasArrived = downloader.download(m_location->resolve(path));
    if (!hasArrived)
        return fail(downloader.errorString());
    const QString fault = target->fault(downloader.data());
    return fault.isEmpty() || fail(QStringLiteral("%1 is refused: %2").arg(path, fault));
}

qint64 cTrustedSite::limitOf(const QUrl& url, const QString& fileName, cDownloader& downloader)
{
    // Roles that the site has handed the file's path on to are fetched, and with that stored for the install.
    const QUrl site = m_location->resolve(QString());
    const QString folder = withSlash(site.path(QUrl::FullyDecoded));
    const QString path = url.path(QUrl::FullyDecoded);
    if (url.adjusted(QUrl::RemovePath) == site.adjusted(QUrl::RemovePath) && path.startsWith(folder)) {
        cTrustDownload source(metadata(), downloader);
        (void)m_trust.client().find(path.mid(folder.size()), source);
    }
    const qint64 limit = m_trust.client().limitOf(fileName);
    return limit == 0 ? 1 : limit; // no limit is what a downloader takes 0 for
}

bool cTrustedSite::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
