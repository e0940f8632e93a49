#include "lint/cLintCommand.h"

#include "lint/cLinter.h"
#include "report/cFindings.h"
#include "report/cReport.h"
#include "terminal/Terminal.h"

#include <CLI/CLI.hpp>
#include <QtCore/QFileInfo>

CLI::App* cLintCommand::addTo(CLI::App& parent)
{
    CLI::App* const app =
        parent.add_subcommand("lint", "Hold manifests, catalogues, packages and folders against the rules");
    app->add_option("PATH", m_paths, "Manifest.xml, features.xml, repository.xml, site.xml, a package, or a folder");
    app->add_flag("--json", m_isJson, "Print one JSON object for programs");
    app->add_flag("--strict", m_isStrict, "Warnings count as errors");
    app->add_flag("--quiet", m_isQuiet, "Say nothing where nothing is found");
    app->add_option("--plugin", m_plugin, "Documents are manifests of the plugin NAME-VERSION with the library NAME");
    app->add_option("--function", m_function, "Such manifests name this entry function");
    app->add_flag("--rules", m_wantsRules, "List all rules and do nothing else");
    app->footer(
        "Prints FILE:LINE:COLUMN: error: TEXT [RULE] for each finding; an entry of a package is PACKAGE!ENTRY.");
    return app;
}

ExitCode cLintCommand::run()
{
    if (m_wantsRules)
        return Terminal::answer(Rules::table()), ExitCode::Ok;
    if (m_paths.empty())
        return Terminal::reason(QStringLiteral("lint: name what is to be looked at")), ExitCode::Usage;
    cFindings findings;
    cLinter linter(findings);
    if (const cPluginId plugin = cPluginId::parse(text(m_plugin)); !plugin.isNull())
        linter.setBuiltPlugin({plugin, text(m_function)});
    else if (!m_plugin.empty() || !m_function.empty())
        return Terminal::reason(QStringLiteral("lint: --plugin is to be NAME-VERSION")), ExitCode::Usage;
    for (const QString& path : texts(m_paths)) {
        if (!QFileInfo::exists(path))
            return Terminal::reason(path + QStringLiteral(": there is no such file")), ExitCode::ReadFailed;
        if (!linter.check(path))
            return Terminal::reason(path + QStringLiteral(" is none of the documents that are known")),
                   ExitCode::ReadFailed;
    }
    if (linter.fileCount() == 0 && findings.list().isEmpty())
        return Terminal::reason(QStringLiteral("there is nothing to look at")), ExitCode::ReadFailed;
    if (m_isQuiet && findings.list().isEmpty())
        return ExitCode::Ok;
    return cReport(m_isJson ? cReport::Form::Json : cReport::Form::Lines, m_isStrict).print(findings);
}
