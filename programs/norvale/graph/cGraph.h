#pragma once

#include "graph/cCycles.h"

#include <QtCore/QJsonObject>
#include <QtCore/QSet>

class cFeatureInstance;
class cFeaturePlugin;
class cSuite;

/// The dependencies of a suite: as a drawing in the language DOT, with a frame for each feature around its plugins, an
/// arrow from each plugin to those that it depends on, and a dashed one between features; and as an object for
/// programs. What is missing and what goes in a circle is red.
class cGraph
{
public:
    /// @p suite must live as long as this object.
    explicit cGraph(const cSuite& suite);

    QString dot();
    QJsonObject json() const;

private:
    void drawFeature(const cFeatureInstance& feature, int number);
    void drawPlugin(const cFeaturePlugin& plugin);
    void drawFeatureArrows(const cFeatureInstance& feature);
    void drawPluginArrows(const cFeaturePlugin& plugin);
    void drawShared(const cFeatureInstance& feature);
    void drawMissing(const QString& node, const QString& label);
    QStringList dependenciesOf(const cFeaturePlugin& plugin) const;

    static QString quoted(const QStringList& lines);
    static QString featureNode(const QString& name) { return quoted({QStringLiteral("feature ") + name}); }
    static QString pluginNode(const QString& name) { return quoted({QStringLiteral("plugin ") + name}); }
    static QJsonArray jsonOf(const cCycles& cycles);

    const cSuite& m_suite;
    cCycles m_featureCycles;
    cCycles m_pluginCycles;
    QString m_text;
    QHash<QString, int> m_frames; // of features, by name
    QHash<QString, int> m_drawn;  // the frame that a plugin has its box in
    QSet<QString> m_missing;      // nodes of what is not there
};
