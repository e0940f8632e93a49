#pragma once

#include "config/cFeaturePlugin.h"
#include "config/cNamedIndex.h"

#include <Norvale/cVersion.h>

#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QPair>
#include <QtCore/QStringList>

/**
 * A feature: a named, versioned set of plugins with display names, the features it depends on and the repository that
 * it came from. Name and version are its key and never change.
 */
class cFeatureInstance : public QObject
{
public:
    /// Element name (always "displayname") and language.
    using DisplayKey = QPair<QString, QString>;

    cFeatureInstance(const QString& name, const cVersion& version, bool isActive, const QString& repository);

    QString name() const { return m_name; }
    const cVersion& version() const { return m_version; }
    bool isActive() const { return m_isActive; }
    QString repository() const { return m_repository; }

    /// Names in document order; duplicates are kept.
    const QStringList& dependencies() const { return m_dependencies; }
    void addDependency(const QString& name) { m_dependencies.append(name); }

    const QMap<DisplayKey, QString>& displayNames() const { return m_displayNames; }
    /// A later text of the same language replaces the earlier one.
    void setDisplayName(const QString& language, const QString& text);

    /// In document order.
    const QVector<QSharedPointer<cFeaturePlugin>>& plugins() const { return m_plugins.list(); }
    void addPlugin(const QSharedPointer<cFeaturePlugin>& plugin) { m_plugins.append(plugin); }
    /// The first plugin with this name; null when none.
    QSharedPointer<cFeaturePlugin> findPlugin(const QString& name) const { return m_plugins.find(name); }
    /// The first plugin with this name and version; null when none.
    QSharedPointer<cFeaturePlugin> findPlugin(const QString& name, const cVersion& version) const
    {
        return m_plugins.find(name, version);
    }

private:
    QString m_name;
    cVersion m_version;
    bool m_isActive;
    QStringList m_dependencies;
    QMap<DisplayKey, QString> m_displayNames;
    QString m_repository;
    cNamedIndex<cFeaturePlugin> m_plugins;
};
