#include "site/cRepositoryEdit.h"

#include "config/cRepositoryWriter.h"
#include "site/cNewFile.h"
#include "site/cSiteAddition.h"
#include "site/cSiteState.h"

#include <QtCore/QSet>

#include <algorithm>
#include <limits>

bool cRepositoryEdit::apply(QList<cNewFile>& packages, cNewFile* runtime)
{
    m_features = m_state.catalogue().features();
    m_runtimes = m_state.runtimes();
    QSet<QString> names;
    for (cNewFile& package : packages) {
        if (names.contains(package.name))
            return fail(QStringLiteral("there are two packages of %1").arg(package.name));
        names.insert(package.name);
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
    const cFeaturePlugin plugin(package.name, package.version);
    package.source = QStringLiteral("packages/") + plugin.packageFileName();
    const cFeaturePlugin* const published = publishedPlugin(package.name, package.version);
    if (!published || published->hash() == package.hash)
        return true;
    if (!m_wanted.mayReplace)
        return fail(QStringLiteral("%1 is published with other contents: give the plugin a new version")
                        .arg(plugin.identity()));
    package.source = QStringLiteral("packages/%1/%2")
                         .arg(QString::fromLatin1(package.hash.toHex().left(8)), plugin.packageFileName());
    return true;
}

const cFeaturePlugin* cRepositoryEdit::publishedPlugin(const QString& name, const cVersion& version) const
{
    for (const Feature& feature : m_state.catalogue().features())
        if (const Plugin plugin = feature->findPlugin(name, version))
            return plugin.data();
    return nullptr;
}

bool cRepositoryEdit::editFeature(const QList<cNewFile>& packages)
{
    const Feature old = m_state.catalogue().find(m_wanted.feature);
    const Feature feature = makeFeature(old.data());
    for (const cNewFile& package : packages)
        feature->addPlugin(makePlugin(package));
    return takeFeature(feature);
}

cRepositoryEdit::Feature cRepositoryEdit::makeFeature(const cFeatureInstance* old) const
{
    const auto feature =
        Feature::create(m_wanted.feature, cVersion(m_wanted.featureVersion), true, m_state.entry().update);
    if (old)
        for (auto it = old->displayNames().begin(); it != old->displayNames().end(); ++it)
            feature->setDisplayName(it.key().second, it.value());
    for (auto it = m_wanted.displayNames.begin(); it != m_wanted.displayNames.end(); ++it)
        feature->setDisplayName(it.key(), it.value());
    for (const QString& name : m_wanted.dependencies.value_or(old ? old->dependencies() : QStringList()))
        feature->addDependency(name);
    return feature;
}

cRepositoryEdit::Plugin cRepositoryEdit::makePlugin(const cNewFile& package) const
{
    const auto plugin = Plugin::create(package.name, package.version, quint32(package.bytes.size()));
    plugin->setHash(package.hash);
    const cFeaturePlugin* const published = publishedPlugin(package.name, package.version);
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
            return fail(QStringLiteral("there is no feature %1 that could share plugins").arg(it.key()));
        const auto feature = Feature::create(old->name(), cVersion(it.value()), true, old->repository());
        for (auto name = old->displayNames().begin(); name != old->displayNames().end(); ++name)
            feature->setDisplayName(name.key().second, name.value());
        for (const QString& name : old->dependencies())
            feature->addDependency(name);
        for (const Plugin& plugin : old->plugins()) {
            const auto package = std::find_if(packages.begin(), packages.end(),
                                              [&](const cNewFile& file) { return file.name == plugin->name(); });
            feature->addPlugin(package == packages.end() ? plugin : makePlugin(*package));
        }
        if (!takeFeature(feature))
            return false;
    }
    return true;
}

// In the place of the older version, which would hide it otherwise.
bool cRepositoryEdit::takeFeature(const Feature& feature)
{
    const auto place = std::find_if(m_features.begin(), m_features.end(),
                                    [&](const Feature& other) { return other->name() == feature->name(); });
    if (place == m_features.end()) {
        m_features.append(feature);
        return true;
    }
    if (feature->version() < (*place)->version())
        return fail(QStringLiteral("feature %1 is published as %2, which is newer than %3")
                        .arg(feature->name(), (*place)->version().toString(), feature->version().toString()));
    if (feature->version() == (*place)->version() && !m_wanted.mayReplace && textOf(feature) != textOf(*place))
        return fail(
            QStringLiteral("feature %1 %2 is published with other contents: who has it would not fetch it again; "
                           "give it a new version")
                .arg(feature->name(), feature->version().toString()));
    *place = feature;
    return true;
}

QByteArray cRepositoryEdit::textOf(const Feature& feature)
{
    cFeatureCatalogue catalogue;
    catalogue.append(feature);
    return cRepositoryWriter::write(catalogue);
}

bool cRepositoryEdit::editRuntime(cNewFile& runtime)
{
    runtime.source = QStringLiteral("runtime/%1/%2").arg(runtime.version.toString(), runtime.name);
    for (const cRuntimeEntry& published : qAsConst(m_runtimes)) {
        const bool isOther = published.hash != runtime.hash || published.name != runtime.name;
        if (runtime.version < published.version)
            return fail(QStringLiteral("the runtime is published as %1, which is newer than %2")
                            .arg(published.version.toString(), runtime.version.toString()));
        if (published.version == runtime.version && isOther && !m_wanted.mayReplace)
            return fail(QStringLiteral("the runtime %1 is published with other contents: give it a new version")
                            .arg(runtime.version.toString()));
        if (published.version == runtime.version && isOther)
            runtime.source =
                QStringLiteral("runtime/%1-%2/%3")
                    .arg(runtime.version.toString(), QString::fromLatin1(runtime.hash.toHex().left(8)), runtime.name);
        if (published.version == runtime.version && !isOther)
            runtime.source = published.source;
    }
    // The newest is all that anybody takes.
    m_runtimes = {{runtime.version, runtime.name, runtime.hash, runtime.source}};
    return true;
}

bool cRepositoryEdit::editVersions()
{
    const cFeatureCatalogue& old = m_state.catalogue();
    m_catalogue = cFeatureCatalogue();
    m_catalogue.setName(m_state.entry().update);
    m_catalogue.setVersion(old.version());
    if (!m_wanted.coreVersion.isEmpty())
        m_catalogue.setCoreVersion(cVersion(m_wanted.coreVersion));
    else if (old.hasCoreVersion())
        m_catalogue.setCoreVersion(old.coreVersion());
    for (const Feature& feature : qAsConst(m_features))
        m_catalogue.append(feature);
    const bool isNew = m_state.repositoryXml().isEmpty();
    const cVersion asked(m_wanted.repositoryVersion);
    const bool isSame =
        cRepositoryWriter::write(m_catalogue, m_runtimes) == cRepositoryWriter::write(old, m_state.runtimes());
    m_isChanged = isNew || !isSame || (!m_wanted.repositoryVersion.isEmpty() && asked != old.version());
    if (!m_wanted.repositoryVersion.isEmpty()) {
        if (asked < old.version())
            return fail(QStringLiteral("the repository is published as %1, which is newer than %2")
                            .arg(old.version().toString(), asked.toString()));
        m_catalogue.setVersion(asked);
    } else if (isNew) {
        m_catalogue.setVersion(cVersion(QStringLiteral("1.0.0")));
    } else if (!isSame) {
        if (old.version().build() == std::numeric_limits<qint32>::max())
            return fail(QStringLiteral("no version comes after %1: give one").arg(old.version().toString()));
        m_catalogue.setVersion(cVersion(QStringLiteral("%1.%2.%3")
                                            .arg(old.version().major())
                                            .arg(old.version().minor())
                                            .arg(old.version().build() + 1)));
    }
    m_xml = cRepositoryWriter::write(m_catalogue, m_runtimes);
    return true;
}

bool cRepositoryEdit::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
