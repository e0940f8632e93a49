#include "Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "core/Files.h"
#include "plugins/cPluginDependency.h"
#include "report/cFindings.h"
#include "suite/cSuite.h"
#include "suite/cSuiteReader.h"
#include "version/Shown.h"

#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>

namespace {

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

    static QString quoted(const QStringList& lines);
    static QString featureNode(const QString& name) { return quoted({QStringLiteral("feature ") + name}); }
    static QString pluginNode(const QString& name) { return quoted({QStringLiteral("plugin ") + name}); }

    const cSuite& m_suite;
    QString m_text;
    QSet<QString> m_drawn;   // names of plugins that have their box
    QSet<QString> m_missing; // nodes of what is not there
};

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
                  .arg(featureNode(feature.name()), quoted({feature.name(), feature.version().toString()}));
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
                  .arg(pluginNode(plugin.name()), quoted({plugin.name(), plugin.version().toString()}), colour);
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
    m_text += QStringLiteral("  %1 [label=%2, color=red, style=dashed];\n").arg(node, quoted({label}));
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

class cGraphCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("graph", "Draw the dependencies of a suite or a repository");
        syntax.add("PATH", &m_path, "Installation folder, its plugins folder, a repository's folder, or the catalogue");
        syntax.add("-o,--output", &m_target, "Write this file; one that ends in .svg is drawn by Graphviz's dot",
                   "FILE");
        syntax.footer = "Without -o the graph is printed in the language DOT.";
    }

    ExitCode run() override
    {
        const QString catalogue = cSuiteReader::catalogueOf(m_path);
        if (catalogue.isEmpty()) {
            return endWith(ExitCode::ReadFailed,
                           QStringLiteral("%1 has neither features.xml nor repository.xml").arg(m_path));
        }
        cFindings findings;
        cSuite suite;
        const bool isRead = cSuiteReader(findings).read(catalogue, suite);
        cReport::tell(findings);
        return isRead ? write(cGraph(suite).dot()) : ExitCode::ReadFailed;
    }

private:
    ExitCode write(const QString& dot) const
    {
        if (m_target.isEmpty()) {
            Terminal::answer(dot.trimmed().split(QLatin1Char('\n')));
            return ExitCode::Ok;
        }
        QByteArray graph = dot.toUtf8();
        if (m_target.endsWith(QLatin1String(".svg"))) {
            const ExitCode code = makeSvg(QByteArray(graph), &graph);
            if (code != ExitCode::Ok)
                return code;
        }
        QString error;
        return replaceFile(m_target, graph, &error) ? ExitCode::Ok : endWith(ExitCode::WriteFailed, error);
    }

    static ExitCode makeSvg(const QByteArray& dot, QByteArray* svg)
    {
        const QString program = QStandardPaths::findExecutable(QStringLiteral("dot"));
        if (program.isEmpty()) {
            return endWith(ExitCode::NoGraphviz,
                           QStringLiteral("Graphviz's program \"dot\" is not on the path: install "
                                          "Graphviz, or write a file that ends in .dot"));
        }
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(program, {QStringLiteral("-Tsvg")});
        process.write(dot);
        process.closeWriteChannel();
        // A large suite takes its time.
        if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
            return endWith(ExitCode::NoGraphviz,
                           QStringLiteral("%1 has failed: %2").arg(program, process.errorString()));
        }
        *svg = process.readAllStandardOutput();
        return ExitCode::Ok;
    }

    QString m_path;
    QString m_target;
};

} // namespace

void addGraphCommand(cProgram& program)
{
    program.add(std::make_unique<cGraphCommand>());
}
