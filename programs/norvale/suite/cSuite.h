#pragma once

#include "config/cFeatureCatalogue.h"
#include "lint/InputFile.h"
#include "plugins/cManifest.h"

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

class cFindings;

/// What a suite, or a repository, is made of: the features of its catalogue, and the manifests and libraries of their
/// plugins as far as they could be read.
class cSuite
{
public:
    const cFeatureCatalogue& catalogue() const { return m_catalogue; }
    cFeatureCatalogue& catalogue() { return m_catalogue; }

    void add(const cPluginId& plugin, const cManifest& manifest, const cQtMajors& qtMajors);

    /// Null when there is none.
    const cManifest* manifestOf(const cPluginId& plugin) const;

    /// The plugins that the catalogue publishes, one of each name, in the order of publication.
    QVector<QSharedPointer<cFeaturePlugin>> plugins() const;

    /// Holds the plugins against each other by the rules of the start: what they depend on is there, not in a circle,
    /// a service belongs to one, and all are built with one Qt. @p file is what findings name. A plugin without a
    /// manifest declares nothing.
    void check(const QString& file, cFindings& findings) const;

    /// What a repository must hold beside that: an installation may have any feature with those that it depends on, and
    /// the feature "Core", but no other.
    void checkReach(const QString& file, cFindings& findings) const;

private:
    void checkQt(const QString& file, cFindings& findings) const;
    /// Names, as the manifest gives them without their numbers.
    QStringList dependenciesOf(const cPluginId& plugin) const;
    /// The names of the plugins of all features that @p feature depends on, directly or not.
    QSet<QString> pluginsBehind(const cFeatureInstance& feature) const;

    cFeatureCatalogue m_catalogue;
    QHash<cPluginId, cManifest> m_manifests;
    QHash<cPluginId, cQtMajors> m_qtMajors;
};
