#include "site/cSiteState.h"

#include "config/cCatalogueReader.h"
#include "config/cCatalogueWriter.h"
#include "lint/InputFile.h"
#include "report/cFindings.h"
#include "version/cPluginId.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSet>

#include <algorithm>

bool cSiteState::read(const cSiteAddition& wanted)
{
    m_folder = QDir(wanted.site).absolutePath();
    return readSite() && pickRepository(wanted) && pickContent(wanted) && readRepository();
}

QString cSiteState::sitePath() const
{
    return m_folder + QStringLiteral("/site.xml");
}

QString cSiteState::repositoryFolder() const
{
    return QDir::cleanPath(m_folder + QLatin1Char('/') + m_entry.content);
}

QString cSiteState::repositoryPath() const
{
    return repositoryFolder() + QStringLiteral("/repository.xml");
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

bool cSiteState::pickRepository(const cSiteAddition& wanted)
{
    m_entry.config = QStringLiteral("release");
    m_entry.platform = QStringLiteral("x64");
    m_entry.status = wanted.status;
    m_entry.update = wanted.repository;
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

bool cSiteState::pickContent(const cSiteAddition& wanted)
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
    const QString asked = QDir::cleanPath(wanted.content.value_or(m_entry.content));
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
    if (!QFileInfo::exists(repositoryPath()))
        return true;
    cFindings findings;
    if (!readInputFile(repositoryPath(), LargestDocument, &m_repositoryXml, findings))
        return fail(QStringLiteral("%1 cannot be read: %2").arg(repositoryPath(), findings.list().constFirst().text));
    cCatalogueReader reader(m_catalogue);
    if (!reader.read(m_repositoryXml))
        return fail(QStringLiteral("%1, %2").arg(repositoryPath(), reader.errorString()));
    return true;
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
