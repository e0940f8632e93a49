#pragma once

#include <QtCore/QSet>
#include <QtCore/QString>

class cFeatureInstance;
class cFeaturePlugin;
class cSuite;

/// Draws a suite as a graph in the language DOT: a box for each feature with its plugins, an arrow from each plugin to
/// those that it depends on, a dashed one between features. What is missing is red.
class cGraph
{
public:
    explicit cGraph(const cSuite& suite) : m_suite(suite) {}

    QString dot();

private:
    void drawFeature(const cFeatureInstance& feature, int number);
    void drawPlugin(const cFeaturePlugin& plugin);
    void drawFeatureArrows(const cFeatureInstance& feature);
    void drawPluginArrows(const cFeaturePlugin& plugin);
    void drawMissing(const QString& node, const QString& label);

    static QString quoted(const QString& text);
    static QString featureNode(const QString& name) { return quoted(QStringLiteral("feature ") + name); }
    static QString pluginNode(const QString& name) { return quoted(QStringLiteral("plugin ") + name); }

    const cSuite& m_suite;
    QString m_text;
    QSet<QString> m_drawn;   // names of plugins that have their box
    QSet<QString> m_missing; // nodes of what is not there
};
