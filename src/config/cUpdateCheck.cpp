#include "config/cUpdateCheck.h"

#include "config/ReleaseNotes.h"
#include "config/cUpdateMgr.h"
#include "core/Files.h"
#include "core/Settings.h"
#include "log/cFrameworkLog.h"
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

/// A JSON integer ends at 32 bits without a sign.
cJsonValue integer(qint64 number)
{
    if (number <= std::numeric_limits<int>::max())
        return int(number);
    return uint(qMin<qint64>(number, std::numeric_limits<uint>::max()));
}

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
    collectPlugins();
    m_result["size"] = sizeOf(m_plugins);
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
    };
    std::vector<Feature> waiting; // the next one is the last
    const auto add = [&](QStringView name) {
        const int place = m_available.placeOf(name);
        if (place < 0 ? !others.insert(name).second : isAdded[size_t(place)])
            return;
        if (place >= 0)
            isAdded[size_t(place)] = true;
        waiting.push_back({name, place});
    };
    for (const QString& name : names)
        add(name);
    for (const QSharedPointer<cFeatureInstance>& feature : m_installed.features())
        add(feature->name());
    std::reverse(waiting.begin(), waiting.end());
    while (!waiting.empty()) {
        const auto [name, place] = waiting.back();
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
        const int before = m_installed.placeOf(name);
        if (needsUpdate(before < 0 ? nullptr : m_installed.features().at(before).data(), *offered.at(place)))
            m_features.append(offered.at(place));
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

void cUpdateCheck::collectPlugins()
{
    int count = 0;
    for (const QSharedPointer<cFeatureInstance>& feature : qAsConst(m_features))
        count += feature->plugins().size();
    FlatSet<QStringView> names;
    names.max_load_factor(DenseLoad);
    names.reserve(size_t(count));
    for (const QSharedPointer<cFeatureInstance>& feature : qAsConst(m_features)) {
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins()) {
            if (names.insert(plugin->name()).second)
                (m_known.isKnown(plugin->id()) ? m_knownPlugins : m_plugins).append(plugin.data());
        }
    }
}

cJsonValue cUpdateCheck::sizeOf(const Plugins& plugins)
{
    qint64 size = 0;
    for (const cFeaturePlugin* plugin : plugins)
        size += plugin->size();
    return integer(size);
}

cUpdateCheck::Plugins cUpdateCheck::pluginsToFetch() const
{
    Plugins plugins = m_plugins;
    for (cFeaturePlugin* const plugin : m_knownPlugins) {
        if (!QFile::exists(Corvane::pluginDir(plugin->id()).absoluteFilePath(QStringLiteral("Manifest.xml"))))
            plugins.append(plugin);
    }
    return plugins;
}
