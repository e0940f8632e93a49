#pragma once

#include "config/cFeatureInstance.h"
#include "config/cNamedIndex.h"

/**
 * The features of one catalogue document in document order, and what its root says. A value: copies share the feature
 * records.
 */
class cFeatureCatalogue
{
public:
    const QVector<QSharedPointer<cFeatureInstance>>& features() const { return m_features.list(); }
    bool isEmpty() const { return m_features.list().isEmpty(); }
    void append(const QSharedPointer<cFeatureInstance>& feature) { m_features.append(feature); }

    /// The first feature with this name in list order; null when none. Names are case-sensitive.
    QSharedPointer<cFeatureInstance> find(const QString& name) const { return m_features.find(name); }
    /// The first feature with this name and all three version components equal; null when none.
    QSharedPointer<cFeatureInstance> find(const QString& name, const cVersion& version) const
    {
        return m_features.find(name, version);
    }

    const cVersion& version() const { return m_version; }
    void setVersion(const cVersion& version) { m_version = version; }

    /// The repository's name as the root gives it; features may name others.
    QString name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }

    /// The oldest installed version that the repository can be installed over; 0.0.0, which is never newer than what
    /// is installed, when the root names none.
    bool hasCoreVersion() const { return m_hasCoreVersion; }
    const cVersion& coreVersion() const { return m_coreVersion; }
    void setCoreVersion(const cVersion& version)
    {
        m_coreVersion = version;
        m_hasCoreVersion = true;
    }
    void clearCoreVersion()
    {
        m_coreVersion = cVersion();
        m_hasCoreVersion = false;
    }

    /// Empties the list; what the root said stays until a document is read.
    void clear() { m_features.clear(); }

private:
    cNamedIndex<cFeatureInstance> m_features;
    cVersion m_version;
    QString m_name;
    cVersion m_coreVersion;
    bool m_hasCoreVersion = false;
};
