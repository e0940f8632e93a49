#include "updates/UpdateSites.h"

#include <QtCore/QFileInfo>
#include <QtCore/QSettings>
#include <QtCore/QUrl>
#include <QtCore/QVariantMap>

namespace {

const QString Group = QStringLiteral("UpdateMgr/Locations");
const QString UrlMember = QStringLiteral("url");
const QString PriorityMember = QStringLiteral("priority");

} // namespace

QStringList UpdateSites::list()
{
    QSettings settings;
    settings.beginGroup(Group);
    QStringList sites;
    for (const QString& key : settings.allKeys())
        sites.append(settings.value(key).toMap().value(UrlMember).toUrl().toString(QUrl::FullyEncoded));
    return sites;
}

bool UpdateSites::set(const QList<QUrl>& sites)
{
    QSettings settings;
    settings.beginGroup(Group);
    settings.remove(QString());
    for (int i = 0; i < sites.size(); ++i) {
        // The keys are sorted as texts.
        const QString key = QStringLiteral("%1").arg(i + 1, 4, 10, QLatin1Char('0'));
        settings.setValue(key, QVariantMap{{UrlMember, sites.at(i).toString(QUrl::FullyEncoded)}, {PriorityMember, 0}});
    }
    settings.sync();
    return settings.status() == QSettings::NoError;
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
