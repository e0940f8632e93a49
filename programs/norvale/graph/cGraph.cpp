#include "graph/cGraph.h"

#include "plugins/cPluginDependency.h"
#include "suite/cSuite.h"
#include "version/Shown.h"

#include <QtCore/QJsonArray>

namespace {

// Arrows of features begin and end at the frames: the nodes that they need are points that nobody sees.
constexpr char Head[] =
    "digraph suite {\n"
    "  rankdir=LR; compound=true; nodesep=0.25; ranksep=0.9; bgcolor=white; pad=0.3;\n"
    "  graph [style=\"rounded,filled\", color=\"#9db2c8\", fillcolor=\"#eef3f8\", labeljust=l,\n"
    "         fontname=\"Helvetica,Arial,sans-serif\", fontsize=14, fontcolor=\"#1f3a57\"];\n"
    "  node [shape=box, style=\"rounded,filled\", color=\"#5b7a99\", fillcolor=white,\n"
    "        fontname=\"Helvetica,Arial,sans-serif\", fontsize=12, margin=\"0.18,0.08\"];\n"
    "  edge [color=\"#44607c\", arrowsize=0.8, fontname=\"Helvetica,Arial,sans-serif\", fontsize=10];\n";
// A label that came first would be that of all frames.
constexpr char Tail[] =
    "  labelloc=b; fontsize=10;\n"
    "  label=\"Each points to what it needs: plugins solid, features dashed. Red: missing, or in a circle.\";\n"
    "}\n";
constexpr char Red[] = "color=\"#c62828\"";

QString framed(const QString& end, int number)
{
    return QStringLiteral(", %1=cluster_%2").arg(end).arg(number);
}

} // namespace

cGraph::cGraph(const cSuite& suite) : m_suite(suite)
{
    for (const QSharedPointer<cFeatureInstance>& feature : m_suite.catalogue().features()) {
        for (const QString& name : feature->dependencies())
            m_featureCycles.add(feature->name(), name);
    }
    for (const QSharedPointer<cFeaturePlugin>& plugin : m_suite.plugins()) {
        for (const QString& name : dependenciesOf(*plugin))
            m_pluginCycles.add(plugin->name(), name);
    }
    m_featureCycles.find();
    m_pluginCycles.find();
}

QStringList cGraph::dependenciesOf(const cFeaturePlugin& plugin) const
{
    QStringList names;
    if (const cManifest* const manifest = m_suite.manifestOf(plugin.id())) {
        for (const QString& text : manifest->dependencies)
            names.append(cPluginDependency(text).name());
    }
    return names;
}

QString cGraph::dot()
{
    m_text = QLatin1String(Head);
    int number = 0;
    for (const QSharedPointer<cFeatureInstance>& feature : m_suite.catalogue().features())
        drawFeature(*feature, number++);
    for (const QSharedPointer<cFeatureInstance>& feature : m_suite.catalogue().features()) {
        drawFeatureArrows(*feature);
        drawShared(*feature);
    }
    for (const QSharedPointer<cFeaturePlugin>& plugin : m_suite.plugins())
        drawPluginArrows(*plugin);
    return m_text + QLatin1String(Tail);
}

void cGraph::drawFeature(const cFeatureInstance& feature, int number)
{
    const QString red =
        m_featureCycles.contains(feature.name()) ? QStringLiteral(" %1;").arg(QLatin1String(Red)) : QString();
    m_text +=
        QStringLiteral(
            "  subgraph cluster_%1 {\n    margin=16; label=%2;%3\n    %4 [shape=point, style=invis, width=0];\n")
            .arg(QString::number(number), quoted({feature.name() + QLatin1Char(' ') + feature.version().toString()}),
                 red, featureNode(feature.name()));
    if (!m_frames.contains(feature.name()))
        m_frames.insert(feature.name(), number);
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins()) {
        if (m_drawn.contains(plugin->name()))
            continue;
        drawPlugin(*plugin);
        m_drawn.insert(plugin->name(), number);
    }
    m_text += QStringLiteral("  }\n");
}

void cGraph::drawPlugin(const cFeaturePlugin& plugin)
{
    const bool isRed = !m_suite.manifestOf(plugin.id()) || m_pluginCycles.contains(plugin.name());
    m_text += QStringLiteral("    %1 [label=%2%3];\n")
                  .arg(pluginNode(plugin.name()), quoted({plugin.name(), plugin.version().toString()}),
                       isRed ? QStringLiteral(", penwidth=2, ") + QLatin1String(Red) : QString());
}

void cGraph::drawFeatureArrows(const cFeatureInstance& feature)
{
    for (const QString& name : feature.dependencies()) {
        QString form = QStringLiteral("style=dashed, color=\"#7f97b0\"");
        if (!m_frames.contains(name))
            drawMissing(featureNode(name), name);
        else if (name != feature.name())
            form += framed(QStringLiteral("lhead"), m_frames.value(name)) +
                    framed(QStringLiteral("ltail"), m_frames.value(feature.name()));
        if (m_featureCycles.contains(feature.name(), name) || !m_frames.contains(name))
            form += QStringLiteral(", penwidth=2, ") + QLatin1String(Red);
        m_text += QStringLiteral("  %1 -> %2 [%3];\n").arg(featureNode(feature.name()), featureNode(name), form);
    }
}

// A plugin has its box in the first feature that has it.
void cGraph::drawShared(const cFeatureInstance& feature)
{
    const int frame = m_frames.value(feature.name());
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins()) {
        if (m_drawn.value(plugin->name()) == frame)
            continue;
        m_text +=
            QStringLiteral("  %1 -> %2 [style=dotted, label=\"shares\"%3];\n")
                .arg(featureNode(feature.name()), pluginNode(plugin->name()), framed(QStringLiteral("ltail"), frame));
    }
}

void cGraph::drawPluginArrows(const cFeaturePlugin& plugin)
{
    for (const QString& name : dependenciesOf(plugin)) {
        if (!m_drawn.contains(name))
            drawMissing(pluginNode(name), name);
        const bool isRed = m_pluginCycles.contains(plugin.name(), name) || !m_drawn.contains(name);
        m_text += QStringLiteral("  %1 -> %2%3;\n")
                      .arg(pluginNode(plugin.name()), pluginNode(name),
                           isRed ? QStringLiteral(" [penwidth=2, %1]").arg(QLatin1String(Red)) : QString());
    }
}

void cGraph::drawMissing(const QString& node, const QString& label)
{
    if (m_missing.contains(node))
        return;
    m_missing.insert(node);
    m_text += QStringLiteral("  %1 [label=%2, %3, fontcolor=\"#c62828\", style=\"rounded,dashed\"];\n")
                  .arg(node, quoted({label, QStringLiteral("is missing")}), QLatin1String(Red));
}

// A backslash would begin an escape, and every label is from outside.
QString cGraph::quoted(const QStringList& lines)
{
    QStringList inner;
    for (const QString& line : lines)
        inner.append(shown(line)
                         .replace(QLatin1Char('\\'), QLatin1String("\\\\"))
                         .replace(QLatin1Char('"'), QLatin1String("\\\"")));
    return QLatin1Char('"') + inner.join(QLatin1String("\\n")) + QLatin1Char('"');
}

QJsonObject cGraph::json() const
{
    QJsonArray features;
    for (const QSharedPointer<cFeatureInstance>& feature : m_suite.catalogue().features()) {
        QStringList plugins;
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins())
            plugins.append(plugin->id().toString());
        features.append(QJsonObject{{"name", feature->name()},
                                    {"version", feature->version().toString()},
                                    {"dependencies", QJsonArray::fromStringList(feature->dependencies())},
                                    {"plugins", QJsonArray::fromStringList(plugins)}});
    }
    QJsonArray plugins;
    for (const QSharedPointer<cFeaturePlugin>& plugin : m_suite.plugins()) {
        const cManifest* const manifest = m_suite.manifestOf(plugin->id());
        plugins.append(
            QJsonObject{{"name", plugin->name()},
                        {"version", plugin->version().toString()},
                        {"has_manifest", manifest != nullptr},
                        {"dependencies", QJsonArray::fromStringList(dependenciesOf(*plugin))},
                        {"services", QJsonArray::fromStringList(manifest ? manifest->services : QStringList())}});
    }
    return {{"features", features},
            {"plugins", plugins},
            {"feature_cycles", jsonOf(m_featureCycles)},
            {"plugin_cycles", jsonOf(m_pluginCycles)}};
}

QJsonArray cGraph::jsonOf(const cCycles& cycles)
{
    QJsonArray list;
    for (const QStringList& cycle : cycles.list())
        list.append(QJsonArray::fromStringList(cycle));
    return list;
}
