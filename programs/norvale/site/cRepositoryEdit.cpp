#include "site/cRepositoryEdit.h"

#include "config/cCatalogueWriter.h"
#include "site/cSiteState.h"

#include <QtCore/QSet>

#include <algorithm>
#include <limits>

bool cRepositoryEdit::apply(QList<cNewFile>& packages, cNewFile* runtime)
{
    m_features = m_state.catalogue().features();
    m_catalogue = m_state.catalogue();
    QSet<QString> names;
    for (cNewFile& package : packages) {
        if (names.contains(package.id.name()))
            return fail(QStringLiteral("there are two packages of \"%1\"").arg(package.id.name()));
        names.insert(package.id.name());
        if (!placePackage(package))
            return false;
    }
    if (!m_wanted.feature.isEmpty() && (!editFeature(packages) || !editSharedFeatures(packages)))
        return false;
    if (runtime && !editRuntime(*runtime))
        return false;
    return editVersions();
}

// Published bytes never change their place, and what is at a place never changes: whoever has read the old description
// finds what it says.
bool cRepositoryEdit::placePackage(cNewFile& package)
{
    package.source = QStringLiteral("packages/") + package.id.packageFileName();
    const Plugin published = publishedPlugin(package.id);
    if (!published || published->hash() == package.hash)
        return true;
    if (!m_wanted.mayReplace) {
        return fail(QStringLiteral("%1 is published with other contents: give the plugin a new version")
                        .arg(package.id.toString()));
    }
    package.source = QStringLiteral("packages/%1/%2")
                         .arg(QString::fromLatin1(package.hash.toHex().left(8)), package.id.packageFileName());
    return true;
}

cRepositoryEdit::Plugin cRepositoryEdit::publishedPlugin(const cPluginId& id) const
{
    for (const Feature& feature : m_state.catalogue().features()) {
        if (const Plugin plugin = feature->findPlugin(id))
            return plugin;
    }
    return Plugin();
}

bool cRepositoryEdit::editFeature(const QList<cNewFile>& packages)
{
    const Feature feature = makeFeature();
    for (const cNewFile& package : packages)
        feature->addPlugin(makePlugin(package));
    return takeFeature(feature);
}

cRepositoryEdit::Feature cRepositoryEdit::makeFeature() const
{
    const cVersion version(m_wanted.featureVersion);
    const Feature old = m_state.catalogue().find(m_wanted.feature);
    const Feature feature =
        old ? old->copy(version) : Feature::create(m_wanted.feature, version, true, m_state.entry().update);
    feature->setActive(true);
    feature->setRepository(m_state.entry().update);
    for (auto it = m_wanted.displayNames.begin(); it != m_wanted.displayNames.end(); ++it)
        feature->setDisplayName(it.key(), it.value());
    if (m_wanted.dependencies)
        feature->setDependencies(*m_wanted.dependencies);
    return feature;
}

cRepositoryEdit::Plugin cRepositoryEdit::makePlugin(const cNewFile& package) const
{
    const auto plugin = Plugin::create(package.id, quint32(package.bytes.size()));
    plugin->setHash(package.hash);
    const Plugin published = publishedPlugin(package.id);
    if (published && published->hash() == package.hash && !published->sources().isEmpty()) {
        for (const cFeatureSource& source : published->sources())
            plugin->addSource(source);
    } else {
        plugin->addSource({QSharedPointer<cUpdateLocation>(), package.source});
    }
    return plugin;
}

// A suite cannot have two versions of a plugin, so features that share one change together.
bool cRepositoryEdit::editSharedFeatures(const QList<cNewFile>& packages)
{
    for (auto it = m_wanted.shared.begin(); it != m_wanted.shared.end(); ++it) {
        const Feature old = m_state.catalogue().find(it.key());
        if (!old)
            return fail(QStringLiteral("there is no feature \"%1\" that could share plugins").arg(it.key()));
        const Feature feature = old->copy(cVersion(it.value()));
        feature->setActive(true);
        for (const Plugin& plugin : old->plugins()) {
            const auto package = std::find_if(packages.begin(), packages.end(),
                                              [&](const cNewFile& file) { return file.id.name() == plugin->name(); });
            feature->addPlugin(package == packages.end() ? plugin : makePlugin(*package));
        }
        if (!takeFeature(feature))
            return false;
    }
    return true;
}

// The feature takes the place of its older version, which would hide it otherwise.
bool cRepositoryEdit::takeFeature(const Feature& feature)
{
    const auto place = std::find_if(m_features.begin(), m_features.end(),
                                    [&](const Feature& other) { return other->name() == feature->name(); });
    if (place == m_features.end()) {
        m_features.append(feature);
        return true;
    }
    if (feature->version() < (*place)->version()) {
        return fail(QStringLiteral("the feature \"%1\" is published as %2, which is newer than %3")
                        .arg(feature->name(), (*place)->version().toString(), feature->version().toString()));
    }
    if (feature->version() == (*place)->version() && !m_wanted.mayReplace && textOf(feature) != textOf(*place)) {
        return fail(QStringLiteral(
                        "the feature \"%1\" %2 is published with other contents: who has it would not fetch it again; "
                        "give it a new version")
                        .arg(feature->name(), feature->version().toString()));
    }
    *place = feature;
    return true;
}

QByteArray cRepositoryEdit::textOf(const Feature& feature)
{
    cFeatureCatalogue catalogue;
    catalogue.append(feature);
    return cCatalogueWriter::repository(catalogue);
}

bool cRepositoryEdit::editRuntime(cNewFile& runtime)
{
    const QString version = runtime.id.version().toString();
    runtime.source = QStringLiteral("runtime/%1/%2").arg(version, runtime.id.name());
    for (const cRuntimeEntry& published : m_state.catalogue().runtimes()) {
        if (runtime.id.version() < published.version) {
            return fail(QStringLiteral("the runtime is published as %1, which is newer than %2")
                            .arg(published.version.toString(), version));
        }
        if (published.version != runtime.id.version())
            continue;
        const bool isSame = published.hash == runtime.hash && published.name == runtime.id.name();
        if (!isSame && !m_wanted.mayReplace) {
            return fail(
                QStringLiteral("the runtime %1 is published with other contents: give it a new version").arg(version));
        }
        runtime.source = isSame
                             ? published.source
                             : QStringLiteral("runtime/%1-%2/%3")
                                   .arg(version, QString::fromLatin1(runtime.hash.toHex().left(8)), runtime.id.name());
    }
    // Installations take the newest one only.
    m_catalogue.setRuntimes({{runtime.id.version(), runtime.id.name(), runtime.hash, runtime.source}});
    return true;
}

bool cRepositoryEdit::editVersions()
{
    const cFeatureCatalogue& old = m_state.catalogue();
    const QList<cRuntimeEntry> runtimes = m_catalogue.runtimes();
    m_catalogue.clear();
    m_catalogue.setRuntimes(runtimes);
    for (const Feature& feature : qAsConst(m_features))
        m_catalogue.append(feature);
    m_catalogue.setName(m_state.entry().update);
    if (!m_wanted.coreVersion.isEmpty())
        m_catalogue.setCoreVersion(cVersion(m_wanted.coreVersion));
    const bool isSame = cCatalogueWriter::repository(m_catalogue) == cCatalogueWriter::repository(old);
    if (!editVersion(!isSame))
        return false;
    m_xml = cCatalogueWriter::repository(m_catalogue);
    return true;
}

bool cRepositoryEdit::editVersion(bool isChanged)
{
    const bool isNew = m_state.repositoryXml().isEmpty();
    const cVersion old = m_state.catalogue().version();
    const cVersion asked(m_wanted.repositoryVersion);
    const bool isAsked = !m_wanted.repositoryVersion.isEmpty();
    m_isChanged = isNew || isChanged || (isAsked && asked != old);
    if (isAsked) {
        if (asked < old) {
            return fail(QStringLiteral("the repository is published as %1, which is newer than %2")
                            .arg(old.toString(), asked.toString()));
        }
        m_catalogue.setVersion(asked);
    } else if (isNew) {
        m_catalogue.setVersion(cVersion(QStringLiteral("1.0.0")));
    } else if (isChanged) {
        if (old.build() == std::numeric_limits<qint32>::max())
            return fail(QStringLiteral("no version comes after %1: give one").arg(old.toString()));
        m_catalogue.setVersion(
            cVersion(QStringLiteral("%1.%2.%3").arg(old.major()).arg(old.minor()).arg(old.build() + 1)));
    }
    return true;
}

bool cRepositoryEdit::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
