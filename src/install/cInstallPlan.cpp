#include "install/cInstallPlan.h"

#include "config/cUpdateCheck.h"

#include <algorithm>

namespace {

QVector<cPluginId> without(const QVector<cPluginId>& plugins, const QSet<cPluginId>& others)
{
    QVector<cPluginId> rest;
    for (const cPluginId& id : plugins) {
        if (!others.contains(id))
            rest.append(id);
    }
    return rest;
}

} // namespace

QVector<cPluginId> pluginsOf(const cFeatureCatalogue::Features& features)
{
    QVector<cPluginId> plugins;
    QSet<cPluginId> seen;
    for (const QSharedPointer<cFeatureInstance>& feature : features) {
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins()) {
            const cPluginId& id = plugin->id();
            if (seen.contains(id))
                continue;
            seen.insert(id);
            plugins.append(id);
        }
    }
    return plugins;
}

cInstallPlan::cInstallPlan(const cFeatureCatalogue& installed, const QSet<cPluginId>& present,
                           const cFeatureCatalogue& offered)
    : m_installed(installed), m_present(present)
{
    QSet<QString> seen;
    for (const QSharedPointer<cFeatureInstance>& feature : offered.features()) {
        if (seen.contains(feature->name()))
            continue;
        seen.insert(feature->name());
        if (!cUpdateCheck::needsUpdate(installed.find(feature->name()).data(), *feature))
            continue;
        m_placeByName.insert(feature->name(), m_features.size());
        m_features.append({feature, Reason()});
    }
}

bool cInstallPlan::isComplete() const
{
    return std::none_of(m_features.begin(), m_features.end(), [](const Feature& f) { return f.isLeftOut(); });
}

bool cInstallPlan::hasTaken() const
{
    return std::any_of(m_features.begin(), m_features.end(), [](const Feature& f) { return !f.isLeftOut(); });
}

bool cInstallPlan::hasRetried() const
{
    return std::any_of(m_features.begin(), m_features.end(), [](const Feature& f) { return f.reason.isWorthRetrying; });
}

bool cInstallPlan::isTaken(const QString& name) const
{
    const int place = m_placeByName.value(name, -1);
    return place >= 0 && !m_features.at(place).isLeftOut();
}

// What is left out brings its old version back, which may clash with what was taken; so it is gone over again.
void cInstallPlan::settle()
{
    while (settleOnce()) {
    }
}

bool cInstallPlan::settleOnce()
{
    bool hasLeftOut = false;
    QHash<QString, cVersion> versions;
    for (const QSharedPointer<cFeatureInstance>& feature : m_installed.features()) {
        if (!isTaken(feature->name()))
            enter(*feature, versions);
    }
    for (int i = 0; i < m_features.size(); ++i) {
        const cFeatureInstance& feature = *m_features.at(i).record;
        if (m_features.at(i).isLeftOut())
            continue;
        QString reason = unmetDependency(feature);
        if (reason.isEmpty())
            reason = clash(feature, versions);
        if (reason.isEmpty()) {
            enter(feature, versions);
            continue;
        }
        leaveOut(i, reason);
        hasLeftOut = true;
    }
    return hasLeftOut;
}

// What a new version needs of another feature is in that one's new version, so the old one will not do.
QString cInstallPlan::unmetDependency(const cFeatureInstance& feature) const
{
    for (const QString& name : feature.dependencies()) {
        if (m_placeByName.contains(name) && !isTaken(name))
            return QStringLiteral("it depends on the feature \"%1\", which is left out").arg(name);
        if (!m_placeByName.contains(name) && !m_installed.find(name))
            return QStringLiteral("it depends on the feature \"%1\", which is neither offered nor installed").arg(name);
    }
    return isLackingCore(feature) ? QStringLiteral("nothing starts without the feature \"Core\", which is left out")
                                  : QString();
}

/// Every feature depends on "Core", which need not be said.
bool cInstallPlan::isLackingCore(const cFeatureInstance& feature) const
{
    const QString core = QStringLiteral("Core");
    return feature.name() != core && m_placeByName.contains(core) && !isTaken(core) && !m_installed.find(core);
}

QString cInstallPlan::clash(const cFeatureInstance& feature, const QHash<QString, cVersion>& versions)
{
    if (feature.isDevelopment())
        return QString();
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins()) {
        if (feature.findPlugin(plugin->name())->version() != plugin->version())
            return QStringLiteral("it has the plugin \"%1\" in two versions").arg(plugin->name());
        const auto known = versions.constFind(plugin->name());
        if (known != versions.constEnd() && *known != plugin->version())
            return QStringLiteral("it has the plugin %1, which another feature has in version %2")
                .arg(plugin->id().toString(), known->toString());
    }
    return QString();
}

void cInstallPlan::enter(const cFeatureInstance& feature, QHash<QString, cVersion>& versions)
{
    if (feature.isDevelopment())
        return;
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins())
        versions.insert(plugin->name(), plugin->version());
}

cFeatureCatalogue::Features cInstallPlan::result() const
{
    cFeatureCatalogue::Features result;
    QSet<QString> placed;
    for (const QSharedPointer<cFeatureInstance>& feature : m_installed.features()) {
        if (!isTaken(feature->name())) {
            result.append(feature);
        } else if (!placed.contains(feature->name())) {
            placed.insert(feature->name());
            result.append(m_features.at(m_placeByName.value(feature->name())).record);
        }
    }
    for (const Feature& feature : m_features) {
        if (!feature.isLeftOut() && !placed.contains(feature.record->name()))
            result.append(feature.record);
    }
    return result;
}

QVector<cPluginId> cInstallPlan::added() const
{
    cFeatureCatalogue::Features taken;
    for (const Feature& feature : m_features) {
        if (!feature.isLeftOut())
            taken.append(feature.record);
    }
    return without(pluginsOf(taken), m_present);
}

QVector<cPluginId> cInstallPlan::removed() const
{
    const QVector<cPluginId> kept = pluginsOf(result());
    return without(pluginsOf(m_installed.features()), QSet<cPluginId>(kept.begin(), kept.end()));
}

QVector<cPluginId> cInstallPlan::touched() const
{
    cFeatureCatalogue::Features features;
    for (const Feature& feature : m_features)
        features.append(feature.record);
    for (const QSharedPointer<cFeatureInstance>& feature : m_installed.features()) {
        if (m_placeByName.contains(feature->name()))
            features.append(feature);
    }
    return pluginsOf(features);
}
