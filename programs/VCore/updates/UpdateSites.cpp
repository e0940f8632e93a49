#include "updates/UpdateSites.h"

#include <Norvale/IConfigMgr.h>

#include <QtCore/QFileInfo>
#include <QtCore/QUrl>

QStringList UpdateSites::list()
{
    QStringList sites;
    for (const QUrl& site : IConfigMgr::updateLocations())
        sites.append(site.toString(QUrl::FullyEncoded));
    return sites;
}

bool UpdateSites::set(const QList<QUrl>& sites)
{
    return IConfigMgr::setUpdateLocations(sites);
}

QUrl UpdateSites::urlOf(const QString& text)
{
    const QFileInfo folder(text);
    if (folder.isDir())
        return QUrl::fromLocalFile(folder.canonicalFilePath());
    const QUrl url(text, QUrl::StrictMode);
    const bool isRemote =
        (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https")) && !url.host().isEmpty();
    return url.isValid() && (isRemote || !url.toLocalFile().isEmpty()) ? url : QUrl();
}
