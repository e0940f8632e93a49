#pragma once

#include <QtCore/QHash>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QVector>

class cFeatureInstance;
class cFeaturePlugin;

/**
 * Collects the plugins that a set of features publishes: one of each name. Two ordinary features may share a plugin
 * only in one version; a plugin of the development feature takes the place of any other of its name.
 */
class cPublication
{
public:
    /// Adds the plugins of @p feature. False when one of them clashes with a plugin of an earlier feature in another
    /// version; errorString() names both.
    [[nodiscard]] bool add(const cFeatureInstance& feature);

    /// What has been collected, in the order of publication.
    QVector<QSharedPointer<cFeaturePlugin>> plugins() const;

    QString errorString() const { return m_errorString; }

private:
    bool addOrdinary(const QSharedPointer<cFeaturePlugin>& plugin, const cFeatureInstance& feature);
    void addDevelopment(const QSharedPointer<cFeaturePlugin>& plugin, const cFeatureInstance& feature);
    void append(const QSharedPointer<cFeaturePlugin>& plugin, const cFeatureInstance& feature);

    struct Entry
    {
        QSharedPointer<cFeaturePlugin> plugin; // null once a development plugin has taken its place
        QString feature;
    };

    QVector<Entry> m_entries;
    QHash<QString, int> m_placeByName; // place in m_entries; an entry of each name at most is alive
    QString m_errorString;
};
