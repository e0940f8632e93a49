#include "site/cRepositoryEdit.h"

#include "config/ReleaseNotes.h"
#include "config/cCatalogueWriter.h"
#include "site/cRetiredList.h"
#include "site/cSiteState.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace {

cFeatureCatalogue catalogueOf(const cFeatureCatalogue::Features& features)
{
    cFeatureCatalogue catalogue;
    for (const cRepositoryEdit::Feature& feature : features)
        catalogue.append(feature);
    return catalogue;
}

/// One build more; nothing when there is none.
std::optional<cVersion> nextVersion(const cVersion& version)
{
    if (version.build() == std::numeric_limits<qint32>::max())
        return std::nullopt;
    return cVersion(QStringLiteral("%1.%2.%3").arg(version.major()).arg(version.minor()).arg(version.build() + 1));
}

} // namespace

void cRepositoryEdit::begin()
{
    m_catalogue = m_state.catalogue();
    m_features = m_catalogue.features();
    m_earlier = m_state.earlier().features();
}

// Published bytes never change their place, and what is at a place never changes: whoever has read the old description
// finds what it says.
bool cRepositoryEdit::placePackage(cNewFile& package)
{
    package.source = packagePlace(package.id);
    const Plugin published = publishedPlugin(package.id);
    if (published && published->hash() == package.hash)
        package.deltas = published->deltas();
    const cRetired::Plugin* const retired = m_retired.findPlugin(m_state.entry(), package.id);
    const bool isOther = published ? published->hash() != package.hash : retired && retired->hash != package.hash;
    if (!isOther)
        return true;
    if (!m_mayReplace) {
        return fail(QStringLiteral("%1 is published with other contents: give the plugin a new version")
                        .arg(package.id.toString()));
    }
    package.source = QStringLiteral("packages/%1/%2")
                         .arg(QString::fromLatin1(package.hash.toHex().left(8)), package.id.packageFileName());
    return true;
}

cRepositoryEdit::Plugin cRepositoryEdit::publishedPlugin(const cPluginId& id) const
{
    for (const cFeatureCatalogue* const catalogue : {&m_state.catalogue(), &m_state.earlier()}) {
        for (const Feature& feature : catalogue->features()) {
            if (const Plugin plugin = feature->findPlugin(id))
                return plugin;
        }
    }
    return Plugin();
}

cRepositoryEdit::Plugin cRepositoryEdit::makePlugin(const cNewFile& package) const
{
    const auto plugin = Plugin::create(package.id, quint32(package.size));
    plugin->setHash(package.hash);
    const Plugin published = publishedPlugin(package.id);
    if (published && published->hash() == package.hash && !published->sources().isEmpty()) {
        for (const cFeatureSource& source : published->sources())
            plugin->addSource(source);
    } else {
        plugin->addSource({QSharedPointer<cUpdateLocation>(), package.source});
    }
    for (const cFeatureDelta& delta : package.deltas)
        plugin->addDelta(delta);
    return plugin;
}

cRepositoryEdit::Plugin cRepositoryEdit::plainPlugin(const cFeaturePlugin& plugin)
{
    const auto plain = Plugin::create(plugin.id(), plugin.size());
    plain->setHash(plugin.hash());
    for (const cFeatureSource& source : plugin.sources())
        plain->addSource(source);
    return plain;
}

int cRepositoryEdit::placeOf(const QString& name) const
{
    const auto place = std::find_if(m_features.begin(), m_features.end(),
                                    [&](const Feature& feature) { return feature->name() == name; });
    return place == m_features.end() ? -1 : int(place - m_features.begin());
}

cRepositoryEdit::Feature cRepositoryEdit::find(const QString& name) const
{
    const int place = placeOf(name);
    return place < 0 ? Feature() : m_features.at(place);
}

cFeatureCatalogue::Features cRepositoryEdit::earlierOf(const QString& name) const
{
    cFeatureCatalogue::Features earlier;
    std::copy_if(m_earlier.begin(), m_earlier.end(), std::back_inserter(earlier),
                 [&](const Feature& feature) { return feature->name() == name; });
    return earlier;
}

bool cRepositoryEdit::takeFeature(const Feature& feature)
{
    if (!m_mayReplace && !isAboveRetired(*feature))
        return false;
    const int place = placeOf(feature->name());
    if (place < 0) {
        m_features.append(feature);
        return true;
    }
    const Feature old = m_features.at(place);
    if (feature->version() < old->version()) {
        return fail(QStringLiteral("the feature \"%1\" is published as %2, which is newer than %3")
                        .arg(feature->name(), old->version().toString(), feature->version().toString()));
    }
    if (feature->version() == old->version() && !m_mayReplace && textOf(feature) != textOf(old)) {
        return fail(QStringLiteral(
                        "the feature \"%1\" %2 is published with other contents: who has it would not fetch it again; "
                        "give it a new version")
                        .arg(feature->name(), feature->version().toString()));
    }
    if (old->version() < feature->version())
        keepAsEarlier(old);
    m_features[place] = feature;
    return true;
}

// Who has a retired version would not fetch what is not above it.
bool cRepositoryEdit::isAboveRetired(const cFeatureInstance& feature)
{
    const Feature old = find(feature.name());
    const cVersion newest = m_retired.newest(m_state.entry(), feature.name());
    if (newest == cVersion() || newest < feature.version() || (old && old->version() == feature.version()))
        return true;
    const cPluginId retired(feature.name(), newest);
    return fail(QStringLiteral("%1 was retired on %2, and who has it fetches newer versions only: %3 is to be above it")
                    .arg(retired.toString(), m_retired.find(m_state.entry(), retired)->on.date().toString(Qt::ISODate),
                         feature.version().toString()));
}

void cRepositoryEdit::withdraw(const Feature& instead)
{
    m_features[placeOf(instead->name())] = instead;
}

void cRepositoryEdit::keepAsEarlier(const Feature& feature)
{
    dropEarlier(feature->name(), feature->version());
    m_earlier.append(feature);
    m_isEarlierChanged = true;
}

void cRepositoryEdit::dropEarlier(const QString& feature, const cVersion& version)
{
    const auto end = std::remove_if(m_earlier.begin(), m_earlier.end(), [&](const Feature& earlier) {
        return earlier->name() == feature && earlier->version() == version;
    });
    m_isEarlierChanged = m_isEarlierChanged || end != m_earlier.end();
    m_earlier.erase(end, m_earlier.end());
}

std::optional<cVersion> cRepositoryEdit::versionAbove(const cFeatureInstance& feature) const
{
    return nextVersion(qMax(feature.version(), m_retired.newest(m_state.entry(), feature.name())));
}

QByteArray cRepositoryEdit::earlierXml() const
{
    cFeatureCatalogue catalogue = catalogueOf(m_earlier);
    catalogue.setName(m_state.entry().update);
    return cCatalogueWriter::repository(catalogue);
}

// What an installation gets. Notes are for people, and may be mended; patches are only another way to the same package.
QByteArray cRepositoryEdit::textOf(const Feature& feature)
{
    const Feature plain = feature->copy(feature->version());
    plain->setNotes({});
    for (const Plugin& plugin : feature->plugins())
        plain->addPlugin(plainPlugin(*plugin));
    return cCatalogueWriter::repository(catalogueOf({plain}));
}

QVector<cFeatureInstance::Note> cRepositoryEdit::mergedNotes(const QVector<cFeatureInstance::Note>& newer,
                                                             const QVector<cFeatureInstance::Note>& older)
{
    using Note = cFeatureInstance::Note;
    QVector<Note> notes = newer;
    for (const Note& note : older) {
        const bool isKnown = std::any_of(newer.begin(), newer.end(), [&](const Note& other) {
            return other.version == note.version && other.language == note.language;
        });
        if (!isKnown)
            notes.append(note);
    }
    std::stable_sort(notes.begin(), notes.end(), [](const Note& a, const Note& b) { return b.version < a.version; });
    int versions = 0;
    for (int i = 0; i < notes.size(); ++i) {
        if (i == 0 || notes.at(i - 1).version != notes.at(i).version)
            ++versions;
        if (versions > ReleaseNotes::KeptVersions) {
            notes.resize(i);
            break;
        }
    }
    return notes;
}

bool cRepositoryEdit::takeRuntime(cNewFile& runtime)
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
        if (!isSame && !m_mayReplace) {
            return fail(
                QStringLiteral("the runtime %1 is published with other contents: give it a new version").arg(version));
        }
        runtime.source = isSame
                             ? published.source
                             : QStringLiteral("runtime/%1-%2/%3")
                                   .arg(version, QString::fromLatin1(runtime.hash.toHex().left(8)), runtime.id.name());
    }
    m_catalogue.setRuntimes({{runtime.id.version(), runtime.id.name(), runtime.hash, runtime.source}});
    return true;
}

bool cRepositoryEdit::finish(const QString& asked, const QString& coreVersion)
{
    const QList<cRuntimeEntry> runtimes = m_catalogue.runtimes();
    m_catalogue.clear();
    m_catalogue.setRuntimes(runtimes);
    for (const Feature& feature : qAsConst(m_features))
        m_catalogue.append(feature);
    m_catalogue.setName(m_state.entry().update);
    if (!coreVersion.isEmpty())
        m_catalogue.setCoreVersion(cVersion(coreVersion));
    const bool isSame = cCatalogueWriter::repository(m_catalogue) == cCatalogueWriter::repository(m_state.catalogue());
    if (!editVersion(!isSame, asked))
        return false;
    m_xml = cCatalogueWriter::repository(m_catalogue);
    return true;
}

bool cRepositoryEdit::editVersion(bool isChanged, const QString& askedText)
{
    const bool isNew = m_state.repositoryXml().isEmpty();
    const cVersion old = m_state.catalogue().version();
    const cVersion asked(askedText);
    const bool isAsked = !askedText.isEmpty();
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
        const std::optional<cVersion> next = nextVersion(old);
        if (!next)
            return fail(QStringLiteral("no version comes after %1: give one").arg(old.toString()));
        m_catalogue.setVersion(*next);
    }
    return true;
}

bool cRepositoryEdit::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
