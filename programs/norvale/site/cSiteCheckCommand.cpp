#include "site/cSiteCheckCommand.h"

#include "report/cFindings.h"
#include "report/cReport.h"
#include "site/cSiteCheck.h"
#include "terminal/Terminal.h"

#include <CLI/CLI.hpp>

CLI::App* cSiteCheckCommand::addTo(CLI::App& parent)
{
    CLI::App* const app =
        parent.add_subcommand("check", "Verify every repository, package, hash and manifest of a site");
    app->add_option("SITE", m_site, "The site's folder, or its URL")->required();
    app->add_flag("--json", m_isJson, "Print one JSON object for programs");
    app->add_flag("--strict", m_isStrict, "Warnings count as errors");
    app->footer("Every file is fetched once. norvale lint --rules lists the rules.");
    return app;
}

ExitCode cSiteCheckCommand::run()
{
    cFindings findings;
    cSiteCheck check(cSiteFetcher::siteUrl(text(m_site)), findings);
    if (!check.run())
        return Terminal::reason(check.errorString()), ExitCode::Unreachable;
    Terminal::reason(check.summary());
    return cReport(m_isJson ? cReport::Form::Json : cReport::Form::Lines, m_isStrict).print(findings);
}
