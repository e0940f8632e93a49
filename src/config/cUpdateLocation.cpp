#include "config/cUpdateLocation.h"

#include <QtCore/QDir>
#include <QtCore/QVariant>

cUpdateLocation::cUpdateLocation(const QUrl& url) : m_url(url) {}

void cUpdateLocation::readFrom(const QVariant& map)
{
    const QVariantMap values = map.toMap();
    m_url = values.value(QStringLiteral("url")).toUrl();
    m_priority = values.value(QStringLiteral("priority")).toInt();
}

QUrl cUpdateLocation::resolve(const QString& relativePath) const
{
    QString path = m_url.path(QUrl::FullyDecoded);
    // Two slashes in front are the name of a network share to the cleaning on Windows; only in a file URL they are one.
    const bool isShare = m_url.isLocalFile() && path.startsWith(QLatin1String("//"));
    path += QLatin1Char('/') + relativePath;
    while (!isShare && path.startsWith(QLatin1String("//")))
        path.remove(0, 1);
    QUrl url = m_url;
    url.setPath(QDir::cleanPath(path), QUrl::DecodedMode);
    return url;
}
