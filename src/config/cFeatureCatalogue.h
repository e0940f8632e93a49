#pragma once

#include "config/cFeatureInstance.h"
#include "config/cNamedIndex.h"

/**
 * The features of one catalogue document in document order, and the catalogue's version. A value: copies share the
 * feature records.
 */
class cFeatureCatalogue
{
public:
    const QList<QSharedPointer<cFeatureInstance>>& features() const { return m_features.list(); }
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

    /// Empties the list; the version stays until a document is read.
    void clear() { m_features.clear(); }

private:
    cNamedIndex<cFeatureInstance> m_features;
    cVersion m_version;
};
