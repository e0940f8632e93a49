#include "graph/cGraph.h"

#include "plugins/cPluginDependency.h"
#include "suite/cSuite.h"

QString cGraph::dot()
{
    m_text = QStringLiteral("digraph suite {\n"
                            "  rankdir=LR;\n"
                            "  node [shape=box, style=rounded, fontname=\"sans-serif\"];\n"
                            "  graph [fontname=\"sans-serif\", style=rounded, color=gray];\n");
    int number = 0;
    for (const QSharedPointer<cFeatureInstance>& feature : m_suite.catalogue().features())
        drawFeature(*feature, number++);
    for (const QSharedPointer<cFeatureInstance>& feature : m_suite.catalogue().features())
        drawFeatureArrows(*feature);
    for (const QSharedPointer<cFeaturePlugin>& plugin : m_suite.plugins())
        drawPluginArrows(*plugin);
    return m_text + QStringLiteral("}\n");
}

void cGraph::drawFeature(const cFeatureInstance& feature, int number)
{
    m_text += QStringLiteral("  subgraph cluster_%1 {\n    %2 [shape=plaintext, label=%3];\n")
                  .arg(number)
                  .arg(featureNode(feature.name()),
                       quoted(feature.name() + QLatin1Char('\n') + feature.version().toString()));
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins())
        drawPlugin(*plugin);
    m_text += QStringLiteral("  }\n");
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins())
        m_drawn.insert(plugin->name());
}

// In the first feature that has it; others that share it point there.
void cGraph::drawPlugin(const cFeaturePlugin& plugin)
{
    if (m_drawn.contains(plugin.name()))
        return;
    const QString colour = m_suite.manifestOf(plugin.id()) ? QString() : QStringLiteral(", color=red");
    m_text += QStringLiteral("    %1 [label=%2%3];\n")
                  .arg(pluginNode(plugin.name()),
                       quoted(plugin.name() + QLatin1Char('\n') + plugin.version().toString()), colour);
}

void cGraph::drawFeatureArrows(const cFeatureInstance& feature)
{
    for (const QString& name : feature.dependencies()) {
        if (!m_suite.catalogue().find(name))
            drawMissing(featureNode(name), name);
        m_text += QStringLiteral("  %1 -> %2 [style=dashed];\n").arg(featureNode(feature.name()), featureNode(name));
    }
}

void cGraph::drawPluginArrows(const cFeaturePlugin& plugin)
{
    const cManifest* const manifest = m_suite.manifestOf(plugin.id());
    const QStringList dependencies = manifest ? manifest->dependencies : QStringList();
    for (const QString& text : dependencies) {
        const QString name = cPluginDependency(text).name();
        if (!m_drawn.contains(name))
            drawMissing(pluginNode(name), name);
        m_text += QStringLiteral("  %1 -> %2;\n").arg(pluginNode(plugin.name()), pluginNode(name));
    }
}

void cGraph::drawMissing(const QString& node, const QString& label)
{
    if (m_missing.contains(node))
        return;
    m_missing.insert(node);
    m_text += QStringLiteral("  %1 [label=%2, color=red, style=dashed];\n").arg(node, quoted(label));
}

// A backslash would begin an escape, and every label is from outside.
QString cGraph::quoted(const QString& text)
{
    QString inner = text;
    inner.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    inner.replace(QLatin1Char('"'), QLatin1String("\\\""));
    inner.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    return QLatin1Char('"') + inner + QLatin1Char('"');
}
