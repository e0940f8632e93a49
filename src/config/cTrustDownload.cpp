#include "config/cTrustDownload.h"

#include <QtCore/QFileInfo>

namespace {

// What stands in a URL as one part, whatever it holds.
QString encoded(const QString& part)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(part));
}

QUrl joined(const QUrl& base, const QString& path)
{
    QUrl url = base;
    QString folder = base.path(QUrl::FullyEncoded);
    if (!folder.endsWith(QLatin1Char('/')))
        folder += QLatin1Char('/');
    url.setPath(folder + path, QUrl::StrictMode);
    return url;
}

} // namespace

cTrustDownload::cTrustDownload(const QUrl& base, cDownloader& downloader) : m_base(base), m_downloader(downloader) {}

QUrl cTrustDownload::urlOf(const QUrl& base, const QString& name)
{
    QStringList parts = name.split(QLatin1Char('/'));
    for (QString& part : parts)
        part = encoded(part);
    return joined(base, parts.join(QLatin1Char('/')));
}

// A server that does not let its folders be listed says "forbidden" of what it does not have.
bool cTrustDownload::isAbsent(const QUrl& url, int error)
{
    if (url.isLocalFile())
        return !QFileInfo::exists(url.toLocalFile());
    return error == QNetworkReply::ContentNotFoundError || error == QNetworkReply::ContentAccessDenied ||
           error == QNetworkReply::ContentGoneError;
}

QUrl cTrustDownload::prepare(const QString& name, qint64 limit)
{
    // A role's name is no path. In a folder its file is named as in the store, which a path of a URL would decode.
    const QString file = encoded(name);
    m_downloader.setSizeLimit(qMax<qint64>(limit, 1)); // none at all would be any number
    return joined(m_base, m_base.isLocalFile() ? encoded(file) : file);
}

void cTrustDownload::expect(const QString& name, qint64 limit)
{
    m_downloader.expect(prepare(name, limit));
}

ITrustSource::Answer cTrustDownload::fetch(const QString& name, qint64 limit, QByteArray& bytes, QString& reason)
{
    const QUrl url = prepare(name, limit);
    const bool hasArrived = m_downloader.download(url);
    if (hasArrived || !isAbsent(url, m_downloader.error()))
        m_downloader.expect(QUrl()); // what comes at the same time may be older than this
    if (hasArrived) {
        bytes = m_downloader.data();
        return Arrived;
    }
    reason = m_downloader.errorString();
    const int error = m_downloader.error();
    if (m_downloader.isCancelled())
        return Failed;
    if (error == QNetworkReply::OperationCanceledError)
        return TooLong;
    return isAbsent(url, error) ? NotThere : Failed;
}
