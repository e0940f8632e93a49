#include "install/cInstallPlan.h"

#include "config/cUpdateCheck.h"

#include <algorithm>

namespace {

/// Its plugins take the place of any others of their names.
bool isDevelopment(const cFeatureInstance& feature)
{
    return feature.name() == QLatin1String("VelmDev");
}

} // namespace

cInstallPlan::cInstallPlan(const cFeatureCatalogue& installed, const QSet<QString>& present,
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
        m_features.append({feature, QString(), false});
    }
}

void cInstallPlan::leaveOut(int index, const QString& fault, bool isWorthRetrying)
{
    m_features[index].fault = fault;
    m_features[index].isWorthRetrying = isWorthRetrying;
}

bool cInstallPlan::isComplete() const
{
    return std::all_of(m_features.begin(), m_features.end(), [](const Feature& f) { return f.fault.isEmpty(); });
}

bool cInstallPlan::hasTaken() const
{
    return std::any_of(m_features.begin(), m_features.end(), [](const Feature& f) { return f.fault.isEmpty(); });
}

bool cInstallPlan::isTaken(const QString& name) const
{
    const int place = m_placeByName.value(name, -1);
    return place >= 0 && m_features.at(place).fault.isEmpty();
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
    const bool isRetried =
        std::any_of(m_features.begin(), m_features.end(), [](const Feature& f) { return f.isWorthRetrying; });
    for (int i = 0; i < m_features.size(); ++i) {
        const cFeatureInstance& feature = *m_features.at(i).record;
        if (!m_features.at(i).fault.isEmpty())
            continue;
        QString fault = missingDependency(feature);
        if (fault.isEmpty())
            fault = clash(feature, versions);
        if (fault.isEmpty()) {
            enter(feature, versions);
            continue;
        }
        leaveOut(i, fault, isRetried);
        hasLeftOut = true;
    }
    return hasLeftOut;
}

QString cInstallPlan::missingDependency(const cFeatureInstance& feature) const
{
    for (const QString& name : feature.dependencies()) {
        if (m_placeByName.contains(name) && !isTaken(name) && !m_installed.find(name))
            return QStringLiteral("it depends on %1, which is left out").arg(name);
    }
    return QString();
}

QString cInstallPlan::clash(const cFeatureInstance& feature, const QHash<QString, cVersion>& versions)
{
    if (isDevelopment(feature))
        return QString();
    for (const Plugin& plugin : feature.plugins()) {
        if (feature.findPlugin(plugin->name())->version() != plugin->version())
            return QStringLiteral("it has the plugin %1 in two versions").arg(plugin->name());
        const auto known = versions.constFind(plugin->name());
        if (known != versions.constEnd() && *known != plugin->version())
            return QStringLiteral("it has the plugin %1, which another feature has in version %2")
                .arg(plugin->identity(), known->toString());
    }
    return QString();
}

void cInstallPlan::enter(const cFeatureInstance& feature, QHash<QString, cVersion>& versions)
{
    if (isDevelopment(feature))
        return;
    for (const Plugin& plugin : feature.plugins())
        versions.insert(plugin->name(), plugin->version());
}

QVector<QSharedPointer<cFeatureInstance>> cInstallPlan::result() const
{
    QVector<QSharedPointer<cFeatureInstance>> result;
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
        if (feature.fault.isEmpty() && !placed.contains(feature.record->name()))
            result.append(feature.record);
    }
    return result;
}

QVector<cInstallPlan::Plugin> cInstallPlan::added() const
{
    QVector<Plugin> added;
    QSet<QString> seen = m_present;
    for (const Feature& feature : m_features) {
        for (const Plugin& plugin : feature.record->plugins()) {
            const QString identity = plugin->identity();
            if (!feature.fault.isEmpty() || seen.contains(identity))
                continue;
            seen.insert(identity);
            added.append(plugin);
        }
    }
    return added;
}

QVector<cInstallPlan::Plugin> cInstallPlan::removed() const
{
    QSet<QString> kept;
    for (const QSharedPointer<cFeatureInstance>& feature : result()) {
        for (const Plugin& plugin : feature->plugins())
            kept.insert(plugin->identity());
    }
    QVector<Plugin> removed;
    for (const QSharedPointer<cFeatureInstance>& feature : m_installed.features()) {
        for (const Plugin& plugin : feature->plugins()) {
            if (kept.contains(plugin->identity()))
                continue;
            kept.insert(plugin->identity());
            removed.append(plugin);
        }
    }
    return removed;
}

QStringList cInstallPlan::touched() const
{
    QStringList touched;
    const auto append = [&](const cFeatureInstance& feature) {
        for (const Plugin& plugin : feature.plugins())
            touched.append(plugin->identity());
    };
    for (const Feature& feature : m_features)
        append(*feature.record);
    for (const QSharedPointer<cFeatureInstance>& feature : m_installed.features()) {
        if (m_placeByName.contains(feature->name()))
            append(*feature);
    }
    return touched;
}
