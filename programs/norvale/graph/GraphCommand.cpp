#include "Commands.h"
#include "common/cProgram.h"
#include "core/Files.h"
#include "graph/cGraph.h"
#include "report/cFindings.h"
#include "suite/cSuite.h"
#include "suite/cSuiteReader.h"

#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>

namespace {

class cGraphCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("graph", "Draw the dependencies of a suite or a repository");
        syntax.add("PATH", &m_path, "Installation folder, its plugins folder, a repository's folder, or the catalogue");
        syntax.add("-o,--output", &m_target, "Write this file; one that ends in .svg or .png is drawn by Graphviz",
                   "FILE");
        m_report.addJsonOption(syntax);
        syntax.footer =
            "Without -o the graph is printed in the language DOT. What is missing or goes in a circle is red.";
    }

    ExitCode run() override
    {
        const QString catalogue = cSuiteReader::catalogueOf(m_path);
        if (catalogue.isEmpty()) {
            return m_report.fail(ExitCode::ReadFailed,
                                 QStringLiteral("%1 has neither features.xml nor repository.xml").arg(m_path));
        }
        cFindings findings;
        cSuite suite;
        if (!cSuiteReader(findings).read(catalogue, suite))
            return m_report.end(ExitCode::ReadFailed, findings, QString(), {}, {});
        cGraph graph(suite);
        const QString dot = graph.dot();
        QString error;
        const ExitCode code = m_target.isEmpty() ? ExitCode::Ok : write(dot.toUtf8(), &error);
        cStyledLines lines;
        for (const QString& line : m_target.isEmpty() ? dot.trimmed().split(QLatin1Char('\n')) : QStringList())
            lines.append(line);
        return m_report.end(code, findings, error, lines, graph.json());
    }

private:
    ExitCode write(const QByteArray& dot, QString* error) const
    {
        QByteArray graph = dot;
        const QString form = QFileInfo(m_target).suffix().toLower();
        if (form == QLatin1String("svg") || form == QLatin1String("png")) {
            *error = draw(dot, form, &graph);
            if (!error->isEmpty())
                return ExitCode::NoGraphviz;
        }
        return replaceFile(m_target, graph, error) ? ExitCode::Ok : ExitCode::WriteFailed;
    }

    /// @return why it failed; empty when it did not.
    static QString draw(const QByteArray& dot, const QString& form, QByteArray* picture)
    {
        const QString program = QStandardPaths::findExecutable(QStringLiteral("dot"));
        if (program.isEmpty()) {
            return QStringLiteral("Graphviz's program \"dot\" is not on the path: install "
                                  "Graphviz, or write a file that ends in .dot");
        }
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(program, {QStringLiteral("-T") + form,
                                QStringLiteral("-Gdpi=%1").arg(form == QLatin1String("png") ? 120 : 72)});
        process.write(dot);
        process.closeWriteChannel();
        // A large suite takes its time.
        if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit)
            return QStringLiteral("%1 has failed: %2").arg(program, process.errorString());
        if (process.exitCode() != 0)
            return QStringLiteral("%1 has failed with code %2").arg(program).arg(process.exitCode());
        *picture = process.readAllStandardOutput();
        return QString();
    }

    cReport m_report;
    QString m_path;
    QString m_target;
};

} // namespace

void addGraphCommand(cProgram& program)
{
    program.add(std::make_unique<cGraphCommand>());
}
