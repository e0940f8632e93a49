#include "site/cSiteFetcher.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

QUrl cSiteFetcher::siteUrl(const QString& place)
{
    QString text = QDir::fromNativeSeparators(place);
    if (text.endsWith(QLatin1String("/site.xml")))
        text.chop(int(qstrlen("/site.xml")));
    if (text.contains(QLatin1String("://")))
        return QUrl(text);
    return QUrl::fromLocalFile(QFileInfo(text).absoluteFilePath());
}

QString cSiteFetcher::nameOf(const QUrl& url)
{
    return url.isLocalFile() ? url.toLocalFile() : url.toString();
}

bool cSiteFetcher::fetch(const QUrl& url, qint64 limit, QByteArray* bytes)
{
    m_downloader.setSizeLimit(limit);
    if (!m_downloader.download(url))
        return false;
    *bytes = m_downloader.data();
    return true;
}
