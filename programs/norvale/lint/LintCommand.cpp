#include "Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "lint/cLinter.h"
#include "report/cFindings.h"

#include <QtCore/QFileInfo>

namespace {

class cLintCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("lint", "Hold manifests, catalogues, packages and folders against the rules");
        syntax.add("PATH", &m_paths, "Manifest.xml, features.xml, repository.xml, site.xml, a package, or a folder");
        m_report.addOptions(syntax);
        syntax.add("--quiet", &m_isQuiet, "Say nothing where nothing is found");
        syntax.add("--plugin", &m_plugin, "Documents are manifests of this plugin with the library NAME",
                   "NAME-VERSION");
        syntax.add("--function", &m_function, "Such manifests name this entry function", "NAME");
        syntax.add("--rules", &m_wantsRules, "List all rules and do nothing else");
        syntax.footer = "Prints FILE:LINE:COLUMN: error: TEXT [RULE] for each finding; an entry of a package is "
                        "PACKAGE!ENTRY.";
    }

    ExitCode run() override
    {
        if (m_wantsRules) {
            Terminal::answer(Rules::table());
            return ExitCode::Ok;
        }
        if (m_paths.isEmpty())
            return m_report.fail(ExitCode::Usage, QStringLiteral("lint: name what is to be looked at"));
        cFindings findings;
        cLinter linter(findings);
        if (const cPluginId plugin = cPluginId::parse(m_plugin); !plugin.isNull())
            linter.setBuiltPlugin({plugin, m_function});
        else if (!m_plugin.isEmpty() || !m_function.isEmpty())
            return m_report.fail(ExitCode::Usage, QStringLiteral("lint: --plugin is to be NAME-VERSION"));
        for (const QString& path : qAsConst(m_paths)) {
            if (!QFileInfo::exists(path))
                return m_report.fail(ExitCode::ReadFailed, QStringLiteral("%1: there is no such file").arg(path));
            if (!linter.check(path)) {
                return m_report.fail(ExitCode::ReadFailed,
                                     QStringLiteral("%1 is none of the documents that are known").arg(path));
            }
        }
        if (linter.fileCount() == 0 && findings.list().isEmpty())
            return m_report.fail(ExitCode::ReadFailed, QStringLiteral("there is nothing to look at"));
        if (m_isQuiet && findings.list().isEmpty())
            return ExitCode::Ok;
        if (m_isQuiet)
            return m_report.print(findings);
        QStringList hints;
        for (const QString& site : linter.sites())
            hints.append(
                QStringLiteral("hashes and sizes of packages are verified by: norvale site check %1").arg(site));
        return m_report.print(findings, hints);
    }

private:
    cReport m_report;
    QStringList m_paths;
    QString m_plugin;
    QString m_function;
    bool m_isQuiet = false;
    bool m_wantsRules = false;
};

} // namespace

void addLintCommand(cProgram& program)
{
    program.add(std::make_unique<cLintCommand>());
}
