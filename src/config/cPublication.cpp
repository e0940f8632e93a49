#include "config/cPublication.h"

#include "config/cFeatureCatalogue.h"

bool cPublication::add(const cFeatureInstance& feature)
{
    // Which repository a feature came from makes no difference here, whatever repository the host's settings name:
    // installed features are published as they are, never reset.
    const bool isDevelopment = feature.isDevelopment();
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins()) {
        plugin->setDevelopment(isDevelopment);
        if (isDevelopment)
            addDevelopment(plugin, feature);
        else if (!addOrdinary(plugin, feature))
            return false;
    }
    return true;
}

QVector<QSharedPointer<cFeaturePlugin>> cPublication::plugins() const
{
    QVector<QSharedPointer<cFeaturePlugin>> plugins;
    plugins.reserve(m_placeByName.size());
    for (const Entry& entry : m_entries) {
        if (entry.plugin)
            plugins.append(entry.plugin);
    }
    return plugins;
}

bool cPublication::addOrdinary(const QSharedPointer<cFeaturePlugin>& plugin, const cFeatureInstance& feature)
{
    const auto place = m_placeByName.constFind(plugin->name());
    if (place == m_placeByName.constEnd()) {
        append(plugin, feature);
        return true;
    }
    const Entry& match = m_entries.at(*place);
    if (match.plugin->isDevelopment() || match.plugin->version() == plugin->version())
        return true;
    m_errorString =
        QStringLiteral("plugin \"%1\" is installed in two versions: %2 by feature \"%3\", %4 by feature \"%5\"")
            .arg(plugin->name(), match.plugin->version().toString(), match.feature, plugin->version().toString(),
                 feature.name());
    return false;
}

void cPublication::addDevelopment(const QSharedPointer<cFeaturePlugin>& plugin, const cFeatureInstance& feature)
{
    const auto place = m_placeByName.constFind(plugin->name());
    if (place != m_placeByName.constEnd())
        m_entries[*place].plugin.reset();
    append(plugin, feature);
}

void cPublication::append(const QSharedPointer<cFeaturePlugin>& plugin, const cFeatureInstance& feature)
{
    m_placeByName.insert(plugin->name(), m_entries.size());
    m_entries.append({plugin, feature.name()});
}
