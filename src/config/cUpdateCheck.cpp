#include "config/cUpdateCheck.h"

#include "config/ReleaseNotes.h"
#include "config/cUpdateMgr.h"
#include "core/Files.h"
#include "core/Settings.h"
#include "log/cFrameworkLog.h"
#include "plugins/ManifestRules.h"
#include "plugins/cPluginMgr.h"
#include "version/FlatMap.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>
#include <limits>
#include <vector>

namespace {

cVersion machineVersion(const char* key)
{
    return cVersion(cMachineSettings().value(QLatin1String(key)).toString());
}

/// A plugin of a feature that is to be updated, with what has been found out while its record was at hand.
struct cOffered
{
    cFeaturePlugin* plugin;
    size_t nameHash;
    quint32 size;
    bool isKnown;
};

/// The plugins of one feature in a list of them: from the first to behind the last.
struct cRange
{
    size_t begin = 0;
    size_t end = 0;
};

/// For a set of places in a list of plugins, which are one when their names are.
struct NameHash
{
    const std::vector<cOffered>* plugins;
    size_t operator()(size_t place) const { return (*plugins)[place].nameHash; }
};

struct SameName
{
    const std::vector<cOffered>* plugins;
    bool operator()(size_t a, size_t b) const
    {
        const cOffered& one = (*plugins)[a];
        const cOffered& other = (*plugins)[b];
        return one.nameHash == other.nameHash && one.plugin->name() == other.plugin->name();
    }
};

} // namespace

cUpdateCheck::cUpdateCheck(const cFeatureCatalogue& installed, const cPluginMgr& plugins)
    : m_installed(installed), m_known(plugins), m_log(cFrameworkLog::configuration()), m_result(notChecked())
{
}

cJsonValue cUpdateCheck::notChecked()
{
    cJsonValue result(ObjectType);
    result["result_code"] = IConfigMgr::NotChecked;
    return result;
}

bool cUpdateCheck::needsUpdate(const cFeatureInstance* installed, const cFeatureInstance& available)
{
    return !installed || installed->version() < available.version() ||
           installed->repository() != available.repository();
}

cJsonValue cUpdateCheck::run(const QStringList& names, cUpdateMgr& updates)
{
    m_currentVersion = machineVersion(SettingsKey::RepositoryVersion);
    m_result["current_version"] = m_currentVersion.toString();
    if (!findNewest(updates))
        m_result["result_code"] = IConfigMgr::NothingNewer;
    else if (isRuntimeTooOld())
        requireRuntime();
    else
        compare(names);
    return m_result;
}

bool cUpdateCheck::findNewest(cUpdateMgr& updates)
{
    const QString name = cMachineSettings().value(QLatin1String(SettingsKey::RepositoryName)).toString();
    if (!updates.findNewest(name, m_available, m_runtime))
        return false;
    m_site = updates.trustedSite();
    m_result["update_to_version"] = m_available.version().toString();
    return true;
}

bool cUpdateCheck::isRuntimeTooOld() const
{
    return machineVersion(SettingsKey::RuntimeVersion) < m_runtime.version();
}

void cUpdateCheck::requireRuntime()
{
    m_result["result_code"] = IConfigMgr::UpdateFound;
    m_result["size"] = 0;
    m_result["requires_new_core"] = true;
}

void cUpdateCheck::compare(const QStringList& names)
{
    m_result["requires_new_core"] = false;
    if (m_available.isEmpty()) {
        m_result["result_code"] = IConfigMgr::NothingNewer;
        return;
    }
    if (!collectFeatures(names)) {
        m_result["result_code"] = IConfigMgr::FeatureMissing;
        return;
    }
    const bool isNewer = !m_features.isEmpty() || m_currentVersion < m_available.version();
    m_result["size"] = bytes(collectPlugins());
    m_result["result_code"] = isNewer ? IConfigMgr::UpdateFound : IConfigMgr::NothingNewer;
    tellNotes();
}

// Most features have none, and then the object is the one that hosts have always had.
void cUpdateCheck::tellNotes()
{
    cJsonValue list(ArrayType);
    for (const QSharedPointer<cFeatureInstance>& feature : qAsConst(m_features)) {
        if (feature->notes().isEmpty())
            continue;
        const QSharedPointer<cFeatureInstance> installed = m_installed.find(feature->name());
        for (const cReleaseNote& note : ReleaseNotes::between(installed.data(), *feature, Corvane::currentLocale())) {
            cJsonValue object(ObjectType);
            object["feature"] = feature->name();
            object["version"] = note.version.toString();
            object["text"] = note.text;
            list.append(object);
        }
    }
    if (list.size() > 0)
        m_result["notes"] = list;
}

bool cUpdateCheck::collectFeatures(const QStringList& names)
{
    const Features& offered = m_available.features();
    std::vector<bool> isAdded(size_t(offered.size())); // by place
    FlatSet<QStringView> others;                       // that have been added, and are not offered
    struct Feature
    {
        QStringView name; // which the lists hold
        int place;        // in the new repository; -1 when it lacks it
        int before;       // among the installed ones; -1 when that is not known yet
    };
    std::vector<Feature> waiting; // the next one is the last
    const auto add = [&](QStringView name, int before = -1) {
        const int place = m_available.placeOf(name);
        if (place < 0 ? !others.insert(name).second : isAdded[size_t(place)])
            return;
        if (place >= 0)
            isAdded[size_t(place)] = true;
        waiting.push_back({name, place, before});
    };
    for (const QString& name : names)
        add(name);
    const Features& installed = m_installed.features();
    for (int i = 0; i < installed.size(); ++i)
        add(installed.at(i)->name(), i);
    std::reverse(waiting.begin(), waiting.end());
    while (!waiting.empty()) {
        const auto [name, place, known] = waiting.back();
        waiting.pop_back();
        // Each goes directly behind the current entry, so that the last of them is visited next.
        if (place >= 0) {
            for (const QString& dependency : offered.at(place)->dependencies())
                add(dependency);
        }
        // The development feature is taken as it lies on the disk, whatever a repository says.
        if (cFeatureInstance::isDevelopment(name))
            continue;
        if (place < 0)
            return logMissing(name);
        const int before = known < 0 ? m_installed.placeOf(name) : known;
        if (!needsUpdate(before < 0 ? nullptr : installed.at(before).data(), *offered.at(place)))
            continue;
        m_features.append(offered.at(place));
        m_places.push_back(place);
    }
    return true;
}

bool cUpdateCheck::logMissing(QStringView feature)
{
    const QString text = QStringLiteral("No update: the newest repository \"%1\" %2 lacks the feature \"%3\"");
    m_log.warning().noquote() << text.arg(m_available.name(), m_available.version().toString(), feature.toString())
                              << Qt::endl;
    return false;
}

// The records of a large repository are more than the processor's caches hold. They are read in the order in which they
// lie in memory, and each once; which name comes first is then decided by what has been taken out of them.
qint64 cUpdateCheck::collectPlugins()
{
    std::vector<int> inMemory(m_places);
    std::sort(inMemory.begin(), inMemory.end());
    std::vector<cOffered> offered;
    std::vector<cRange> ofFeature(size_t(m_available.features().size())); // by its place
    for (const int place : inMemory) {
        cRange& range = ofFeature[size_t(place)];
        range.begin = offered.size();
        for (const QSharedPointer<cFeaturePlugin>& plugin : m_available.features().at(place)->plugins()) {
            const size_t hash = plugin->nameHash();
            const bool isKnown = m_known.isKnown(plugin->id(), cSeededHash::ofId(hash, plugin->version()));
            offered.push_back({plugin.data(), hash, plugin->size(), isKnown});
        }
        range.end = offered.size();
    }
    tsl::robin_set<size_t, NameHash, SameName> names(0, {&offered}, {&offered});
    names.max_load_factor(DenseLoad);
    names.reserve(offered.size());
    qint64 size = 0;
    for (const int place : m_places) {
        const cRange range = ofFeature[size_t(place)];
        for (size_t i = range.begin; i < range.end; ++i) {
            if (!names.insert(i).second)
                continue;
            (offered[i].isKnown ? m_knownPlugins : m_plugins).append(offered[i].plugin);
            size += offered[i].isKnown ? 0 : offered[i].size;
        }
    }
    return size;
}

// A JSON integer ends at 32 bits without a sign.
cJsonValue cUpdateCheck::bytes(qint64 number)
{
    if (number <= std::numeric_limits<int>::max())
        return int(number);
    return uint(qMin<qint64>(number, std::numeric_limits<uint>::max()));
}

cJsonValue cUpdateCheck::sizeOf(const Plugins& plugins)
{
    qint64 size = 0;
    for (const cFeaturePlugin* plugin : plugins)
        size += plugin->size();
    return bytes(size);
}

cUpdateCheck::Plugins cUpdateCheck::pluginsToFetch() const
{
    Plugins plugins = m_plugins;
    for (cFeaturePlugin* const plugin : m_knownPlugins) {
        if (!QFile::exists(Corvane::pluginDir(plugin->id()).absoluteFilePath(ManifestRules::FileName)))
            plugins.append(plugin);
    }
    return plugins;
}
