#include "graph/cGraphCommand.h"

#include "core/Files.h"
#include "graph/cGraph.h"
#include "report/cFindings.h"
#include "report/cReport.h"
#include "suite/cSuite.h"
#include "suite/cSuiteReader.h"
#include "terminal/Terminal.h"

#include <CLI/CLI.hpp>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>

CLI::App* cGraphCommand::addTo(CLI::App& parent)
{
    CLI::App* const app = parent.add_subcommand("graph", "Draw the dependencies of a suite or a repository");
    app->add_option("PATH", m_path, "Installation folder, its plugins folder, a repository's folder, or the catalogue")
        ->required();
    app->add_option("-o,--output", m_target, "Write this file; one that ends in .svg is drawn by Graphviz's dot")
        ->type_name("FILE");
    app->footer("Without -o the graph is printed in the language DOT.");
    return app;
}

ExitCode cGraphCommand::run()
{
    const QString catalogue = cSuiteReader::catalogueOf(text(m_path));
    if (catalogue.isEmpty()) {
        Terminal::reason(text(m_path) + QStringLiteral(" has neither features.xml nor repository.xml"));
        return ExitCode::ReadFailed;
    }
    cFindings findings;
    cSuite suite;
    const bool isRead = cSuiteReader(findings).read(catalogue, suite);
    cReport::tell(findings);
    if (!isRead)
        return ExitCode::ReadFailed;
    QByteArray graph = cGraph(suite).dot().toUtf8();
    const QString target = text(m_target);
    if (target.isEmpty())
        return Terminal::answer(QString::fromUtf8(graph).trimmed()), ExitCode::Ok;
    if (target.endsWith(QLatin1String(".svg")) && !makeSvg(QByteArray(graph), &graph))
        return ExitCode::NoGraphviz;
    QString error;
    if (!replaceFile(target, graph, &error))
        return Terminal::reason(error), ExitCode::WriteFailed;
    return ExitCode::Ok;
}

bool cGraphCommand::makeSvg(const QByteArray& dot, QByteArray* svg)
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("dot"));
    if (program.isEmpty()) {
        Terminal::reason(QStringLiteral("Graphviz's program \"dot\" is not on the path: install Graphviz, or write a "
                                        "file that ends in .dot"));
        return false;
    }
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, {QStringLiteral("-Tsvg")});
    process.write(dot);
    process.closeWriteChannel();
    // A large suite takes its time.
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        Terminal::reason(QStringLiteral("%1 has failed: %2").arg(program, process.errorString()));
        return false;
    }
    *svg = process.readAllStandardOutput();
    return true;
}
