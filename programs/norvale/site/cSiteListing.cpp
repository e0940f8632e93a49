#include "site/cSiteListing.h"

#include "config/cCatalogueReader.h"
#include "lint/InputFile.h"
#include "site/cSiteState.h"

#include <QtCore/QDir>

#include <algorithm>

ExitCode cSiteListing::run()
{
    const QUrl url = cUpdateLocation(m_site).resolve(QStringLiteral("site.xml"));
    const QString name = cSiteFetcher::nameOf(url);
    QByteArray xml;
    cSiteReader reader;
    if (!m_fetcher.fetch(url, LargestDocument, &xml))
        m_errorString = QStringLiteral("%1 cannot be fetched: %2").arg(name, m_fetcher.errorString());
    else if (!reader.read(xml))
        m_errorString = QStringLiteral("%1, %2").arg(name, reader.errorString());
    else if (m_site.isLocalFile() && !m_retired.read(m_site.toLocalFile()))
        m_errorString = m_retired.errorString();
    if (!m_errorString.isEmpty())
        return ExitCode::Unreachable;
    for (const cSiteEntry& entry : reader.entries())
        readRepository(entry);
    return m_findings.hasErrors() ? ExitCode::Faults : ExitCode::Ok;
}

void cSiteListing::readRepository(const cSiteEntry& entry)
{
    const cUpdateLocation location(cUpdateLocation(m_site).resolve(entry.content));
    const QUrl url = location.resolve(QStringLiteral("repository.xml"));
    const QString name = cSiteFetcher::nameOf(url);
    Repository repository;
    repository.entry = entry;
    QByteArray xml;
    cCatalogueReader reader(repository.catalogue);
    cFeatureCatalogue earlier;
    if (!m_fetcher.fetch(url, LargestDocument, &xml))
        return m_findings.add(Rule::SiteNoRepository, name, m_fetcher.errorString());
    if (!reader.read(xml))
        return m_findings.add(Rule::XmlMalformed, name, reader.errorString());
    if (url.isLocalFile()) {
        const QString path = location.url().toLocalFile() + QStringLiteral("/.earlier.xml");
        const QString reason = cSiteState::readCatalogue(path, earlier);
        if (!reason.isEmpty())
            m_findings.add(Rule::FileUnreadable, path, reason);
    }
    addVersions(repository, earlier);
    m_repositories.append(repository);
}

// What is offered first, then its earlier versions and the retired ones, the newest first.
void cSiteListing::addVersions(Repository& repository, const cFeatureCatalogue& earlier)
{
    const auto isNewer = [](const Version& a, const Version& b) { return b.id.version() < a.id.version(); };
    QList<Version> retired;
    for (const cRetired& entry : m_retired.list()) {
        if (entry.repository != repository.entry.update || entry.status != repository.entry.status)
            continue;
        QStringList plugins;
        for (const cRetired::Plugin& plugin : entry.plugins)
            plugins.append(plugin.id.toString());
        retired.append({QStringLiteral("retired"), entry.feature, plugins, {}, entry});
    }
    for (const QSharedPointer<cFeatureInstance>& feature : repository.catalogue.features()) {
        repository.versions.append(versionOf(feature, "offered"));
        QList<Version> others;
        for (const QSharedPointer<cFeatureInstance>& other : earlier.features()) {
            if (other->name() == feature->name() && other->version() != feature->version())
                others.append(versionOf(other, "earlier"));
        }
        std::copy_if(retired.begin(), retired.end(), std::back_inserter(others),
                     [&](const Version& version) { return version.id.name() == feature->name(); });
        std::stable_sort(others.begin(), others.end(), isNewer);
        repository.versions += others;
    }
}

cSiteListing::Version cSiteListing::versionOf(const QSharedPointer<cFeatureInstance>& feature, const char* state)
{
    QStringList plugins;
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins())
        plugins.append(plugin->id().toString());
    return {QLatin1String(state), cPluginId(feature->name(), feature->version()), plugins, feature, {}};
}

cStyledLines cSiteListing::lines() const
{
    cTextTable table({QStringLiteral("repository"), QStringLiteral("status"), QStringLiteral("version"),
                      QStringLiteral("feature"), QStringLiteral("version"), QStringLiteral("state"),
                      QStringLiteral("plugins")});
    table.setStyle(5,
                   [](const QString& state) { return state == QLatin1String("offered") ? Style::Good : Style::Plain; });
    for (const Repository& repository : m_repositories) {
        const QStringList place{repository.entry.update, repository.entry.status,
                                repository.catalogue.version().toString()};
        for (const Version& version : repository.versions) {
            table.addRow(place + QStringList{version.id.name(), version.id.version().toString(), stateText(version),
                                             pluginsText(version)});
        }
        for (const cRuntimeEntry& runtime : repository.catalogue.runtimes()) {
            table.addRow(place + QStringList{runtime.name, runtime.version.toString(), QStringLiteral("runtime")});
        }
        if (repository.versions.isEmpty() && repository.catalogue.runtimes().isEmpty())
            table.addRow(place);
    }
    return table.lines();
}

QString cSiteListing::pluginsText(const Version& version)
{
    QStringList texts = version.plugins;
    for (int i = 0; version.feature && i < texts.size(); ++i) {
        QStringList from;
        for (const cFeatureDelta& delta : version.feature->plugins().at(i)->deltas())
            from.append(delta.from.toString());
        if (!from.isEmpty())
            texts[i] += QStringLiteral(" (%1 from %2)")
                            .arg(from.size() == 1 ? QStringLiteral("patch") : QStringLiteral("patches"),
                                 from.join(QLatin1String(", ")));
    }
    return texts.join(QLatin1String(", "));
}

QString cSiteListing::stateText(const Version& version)
{
    const bool hasFiles = std::any_of(version.retired.plugins.begin(), version.retired.plugins.end(),
                                      [](const cRetired::Plugin& plugin) { return !plugin.file.isEmpty(); });
    if (!version.feature && hasFiles)
        return QStringLiteral("retired, kept until %1").arg(version.retired.until.date().toString(Qt::ISODate));
    return version.state;
}

QJsonObject cSiteListing::json() const
{
    QJsonArray list;
    for (const Repository& repository : m_repositories)
        list.append(json(repository));
    return {{"repositories", list}};
}

QJsonObject cSiteListing::json(const Repository& repository)
{
    QJsonArray versions;
    for (const Version& version : repository.versions)
        versions.append(json(version));
    QJsonArray runtimes;
    for (const cRuntimeEntry& runtime : repository.catalogue.runtimes())
        runtimes.append(QJsonObject{{"name", runtime.name}, {"version", runtime.version.toString()}});
    QJsonObject object{{"name", repository.entry.update},
                       {"status", repository.entry.status},
                       {"content", repository.entry.content},
                       {"version", repository.catalogue.version().toString()},
                       {"features", versions},
                       {"runtimes", runtimes}};
    if (repository.catalogue.hasCoreVersion())
        object["core_version"] = repository.catalogue.coreVersion().toString();
    return object;
}

QJsonObject cSiteListing::json(const Version& version)
{
    QJsonObject object{{"name", version.id.name()},
                       {"version", version.id.version().toString()},
                       {"state", version.state},
                       {"plugins", QJsonArray::fromStringList(version.plugins)}};
    if (!version.feature) {
        object["retired_on"] = version.retired.on.toString(Qt::ISODate);
        object["kept_until"] = version.retired.until.toString(Qt::ISODate);
        return object;
    }
    QJsonObject names;
    for (const cFeatureInstance::DisplayName& name : version.feature->displayNames())
        names[name.language] = name.text;
    QJsonArray notes;
    for (const cFeatureInstance::Note& note : version.feature->notes()) {
        notes.append(
            QJsonObject{{"version", note.version.toString()}, {"lang", note.language}, {"text", note.text.trimmed()}});
    }
    QJsonArray deltas;
    for (const QSharedPointer<cFeaturePlugin>& plugin : version.feature->plugins()) {
        for (const cFeatureDelta& delta : plugin->deltas()) {
            deltas.append(QJsonObject{
                {"plugin", plugin->id().toString()}, {"from", delta.from.toString()}, {"size", qint64(delta.size)}});
        }
    }
    object["deltas"] = deltas;
    object["display_names"] = names;
    object["dependencies"] = QJsonArray::fromStringList(version.feature->dependencies());
    object["notes"] = notes;
    return object;
}
