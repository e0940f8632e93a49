#include "site/cSiteState.h"

#include "config/cCatalogueReader.h"
#include "config/cCatalogueWriter.h"
#include "lint/InputFile.h"
#include "report/cFindings.h"
#include "version/cPluginId.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSet>
#include <QtCore/QUrl>

#include <algorithm>

bool cSiteState::read(const cSitePlace& place)
{
    m_folder = QDir(place.site).absolutePath();
    return readSite() && pickRepository(place) && pickContent(place) && readRepository();
}

std::optional<cSitePlace> cSiteState::anyPlace(const QString& site)
{
    cSiteState state;
    state.m_folder = QDir(site).absolutePath();
    if (!state.readSite() || state.m_entries.isEmpty())
        return std::nullopt;
    const cSiteEntry& first = state.m_entries.constFirst();
    return cSitePlace{site, first.update, first.status};
}

QString cSiteState::sitePath() const
{
    return m_folder + QStringLiteral("/site.xml");
}

QString cSiteState::repositoryFolder(const cSiteEntry& entry) const
{
    return QDir::cleanPath(m_folder + QLatin1Char('/') + entry.content);
}

QString cSiteState::earlierPath(const cSiteEntry& entry) const
{
    return repositoryFolder(entry) + QStringLiteral("/.earlier.xml");
}

bool cSiteState::readSite()
{
    if (!QFileInfo::exists(sitePath()))
        return true;
    cFindings findings;
    QByteArray xml;
    if (!readInputFile(sitePath(), LargestDocument, &xml, findings))
        return fail(QStringLiteral("%1 cannot be read: %2").arg(sitePath(), findings.list().constFirst().text));
    cSiteReader reader;
    if (!reader.read(xml))
        return fail(QStringLiteral("%1, %2").arg(sitePath(), reader.errorString()));
    m_entries = reader.entries();
    return true;
}

bool cSiteState::pickRepository(const cSitePlace& place)
{
    m_entry.config = QStringLiteral("release");
    m_entry.platform = QStringLiteral("x64");
    m_entry.status = place.status;
    m_entry.update = place.repository;
    if (!m_entry.update.isEmpty())
        return true;
    QSet<QString> names;
    for (const cSiteEntry& entry : qAsConst(m_entries))
        names.insert(entry.update);
    if (names.size() > 1)
        return fail(QStringLiteral("the site has more than one repository: say which with --repository"));
    m_entry.update = names.isEmpty() ? QStringLiteral("main") : *names.begin();
    return true;
}

bool cSiteState::pickContent(const cSitePlace& place)
{
    const auto known = std::find_if(m_entries.begin(), m_entries.end(), [&](const cSiteEntry& entry) {
        return entry.fits(m_entry.update, m_entry.status);
    });
    m_hasEntry = known != m_entries.end();
    if (m_hasEntry) {
        m_entry.content = known->content;
    } else {
        m_entry.content = m_entry.status == QLatin1String("release")
                              ? m_entry.update
                              : m_entry.update + QLatin1Char('-') + m_entry.status;
    }
    const QString asked = QDir::cleanPath(place.content.value_or(m_entry.content));
    if (m_hasEntry && asked != QDir::cleanPath(m_entry.content)) {
        return fail(QStringLiteral("the repository \"%1\" (%2) lies in \"%3\"")
                        .arg(m_entry.update, m_entry.status, m_entry.content));
    }
    if (!m_hasEntry)
        m_entry.content = asked == QLatin1String(".") ? QString() : asked;
    const QStringList parts = m_entry.content.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (m_entry.content.startsWith(QLatin1Char('/')) || !std::all_of(parts.begin(), parts.end(), isSafeFileName)) {
        return fail(
            QStringLiteral("\"%1\" cannot be a folder of the site: give another with --content").arg(m_entry.content));
    }
    return true;
}

bool cSiteState::readRepository()
{
    m_catalogue = m_earlier = cFeatureCatalogue();
    m_repositoryXml.clear();
    QString reason = readCatalogue(repositoryPath(), m_catalogue, &m_repositoryXml);
    if (reason.isEmpty())
        reason = readCatalogue(earlierPath(), m_earlier);
    return reason.isEmpty() || fail(reason);
}

QString cSiteState::readCatalogue(const QString& path, cFeatureCatalogue& catalogue, QByteArray* xml)
{
    if (!QFileInfo::exists(path))
        return QString();
    cFindings findings;
    QByteArray bytes;
    if (!readInputFile(path, LargestDocument, &bytes, findings))
        return QStringLiteral("%1 cannot be read: %2").arg(path, findings.list().constFirst().text);
    cCatalogueReader reader(catalogue);
    if (!reader.read(bytes))
        return QStringLiteral("%1, %2").arg(path, reader.errorString());
    if (xml)
        *xml = bytes;
    return QString();
}

bool cSiteState::isRemote(const cFeaturePlugin& plugin)
{
    return !plugin.sources().isEmpty() &&
           std::all_of(plugin.sources().begin(), plugin.sources().end(),
                       [](const cFeatureSource& source) { return !QUrl(source.source).isRelative(); });
}

QString cSiteState::localPackage(const cFeaturePlugin& plugin) const
{
    for (const cFeatureSource& source : plugin.sources()) {
        const QString path = QDir::cleanPath(repositoryFolder() + QLatin1Char('/') + source.source);
        if (QUrl(source.source).isRelative() && QFileInfo(path).isFile())
            return path;
    }
    return QString();
}

QByteArray cSiteState::siteXml() const
{
    QList<cSiteEntry> entries = m_entries;
    if (!m_hasEntry)
        entries.append(m_entry);
    return cCatalogueWriter::site(entries);
}

bool cSiteState::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
