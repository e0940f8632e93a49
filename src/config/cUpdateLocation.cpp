#include "config/cUpdateLocation.h"

#include "core/Settings.h"
#include "core/cXmlReader.h"
#include "core/cXmlTree.h"
#include "disk/WriteSettings.h"

#include <QtCore/QDir>
#include <QtCore/QVariant>

namespace {

// Members of a location's map in the settings.
const QLatin1String UrlMember("url");
const QLatin1String PriorityMember("priority");

} // namespace

cUpdateLocation::cUpdateLocation(const QUrl& url) : m_url(url) {}

void cUpdateLocation::readFrom(const QVariant& map)
{
    const QVariantMap values = map.toMap();
    m_url = values.value(UrlMember).toUrl();
    m_priority = values.value(PriorityMember).toInt();
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

QList<QSharedPointer<cUpdateLocation>> cUpdateLocation::readAll()
{
    QList<QSharedPointer<cUpdateLocation>> locations;
    cHostSettings settings;
    settings.beginGroup(QLatin1String(SettingsKey::UpdateLocations));
    const QStringList keys = settings.allKeys();
    for (const QString& key : keys) {
        const auto location = QSharedPointer<cUpdateLocation>::create();
        location->readFrom(settings.value(key));
        locations.append(location);
    }
    return locations;
}

bool cUpdateLocation::writeAll(const QList<QUrl>& urls, QString* error)
{
    const QLatin1String group(SettingsKey::UpdateLocations);
    SettingsChanges changes{{group, QVariant()}};
    for (int i = 0; i < urls.size(); ++i) {
        // Keys are sorted as texts.
        const QString key = QStringLiteral("%1/%2").arg(group).arg(i + 1, 4, 10, QLatin1Char('0'));
        changes.insert(key, QVariantMap{{UrlMember, urls.at(i).toString(QUrl::FullyEncoded)}, {PriorityMember, 0}});
    }
    cHostSettings settings;
    return writeSettings(settings, changes, error);
}

bool cSiteEntry::fits(const QString& name, const QString& requiredStatus) const
{
    return config == QLatin1String("release") && status == requiredStatus && platform == QLatin1String("x64") &&
           update == name;
}

bool cSiteReader::read(const QByteArray& xml)
{
    m_entries.clear();
    m_errorString.clear();
    m_foreignRoot.clear();
    cXmlTree tree;
    if (!cXmlReader::read(xml, tree, &m_errorString))
        return false;
    for (cXmlElement element = tree.root().firstChild(u"repository"); !element.isNull();
         element = element.nextSibling(u"repository"))
        m_entries.append({element.attribute(u"config"), element.attribute(u"status"), element.attribute(u"platform"),
                          element.attribute(u"update"), element.attribute(u"content")});
    const cXmlElement root = tree.root();
    if (m_entries.isEmpty() && root.tag() != u"site" && !root.firstChild().isNull())
        m_foreignRoot = QStringLiteral("line %1, column %2: a document of another kind, its root is \"%3\"")
                            .arg(QString::number(root.line()), QString::number(root.column()), root.tag());
    return true;
}
