#include "Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "report/cFindings.h"
#include "signing/cSigningRun.h"
#include "site/cSiteCheck.h"
#include "site/cSiteListing.h"
#include "site/cSitePromotion.h"
#include "site/cSiteRetirement.h"

#include <QtCore/QFileInfo>

namespace {

/// Why there is no site to be changed; empty when there is one.
QString missingSite(const QString& site)
{
    const QString path = site + QStringLiteral("/site.xml");
    return QFileInfo(path).isFile() ? QString() : QStringLiteral("there is no %1").arg(path);
}

/// Verifies all that a site offers.
class cSiteCheckCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("site check", "Verify every repository, package, hash and manifest of a site");
        syntax.add("SITE", &m_site, "The site's folder, or its URL");
        m_report.addOptions(syntax);
        syntax.footer =
            "Every file is fetched once; of a signed site also what the metadata vouches for, as a client that\n"
            "trusts tuf/1.root.json. norvale lint --rules lists the rules.";
    }

    ExitCode run() override
    {
        cFindings findings;
        cSiteCheck check(cSiteFetcher::siteUrl(m_site), findings);
        if (!check.run())
            return m_report.fail(ExitCode::Unreachable, check.errorString());
        Terminal::note(check.summary());
        return m_report.print(findings);
    }

private:
    cReport m_report;
    QString m_site;
};

/// Makes what one status offers what another one offers.
class cSitePromoteCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        m_place.status = QStringLiteral("release");
        syntax.call("site promote", "Offer under one status what another one offers");
        syntax.add("SITE", &m_place.site, "The site's folder");
        syntax.add("FEATURE", &m_features, "The features that are promoted; default: all, and the runtime");
        syntax.add("--from", &m_from, "The status that has been tried", "S");
        syntax.add("--to", &m_place.status, "The status that is to offer the same", "S");
        syntax.add("--repository", &m_place.repository, "Default: the one that the site has", "NAME");
        cSigningRun::addKeysOption(syntax, &m_keys);
        m_report.addJsonOption(syntax);
        syntax.footer = "Packages are copied before anything names them. Features that only the second status has are\n"
                        "kept, and no version goes back.";
    }

    ExitCode run() override
    {
        if (m_from.isEmpty())
            return m_report.fail(ExitCode::Usage, QStringLiteral("--from says which status has been tried"));
        if (m_place.status.isEmpty())
            return m_report.fail(ExitCode::Usage, QStringLiteral("--to is empty"));
        if (m_from == m_place.status)
            return m_report.fail(ExitCode::Usage, QStringLiteral("--from and --to are the same"));
        const QString missing = missingSite(m_place.site);
        if (!missing.isEmpty())
            return m_report.fail(ExitCode::ReadFailed, missing);
        cSitePromotion promotion(m_place, m_from, m_features);
        promotion.setKeys(m_keys);
        return promotion.run(m_report);
    }

private:
    cReport m_report;
    cSitePlace m_place;
    QString m_from;
    QString m_keys;
    QStringList m_features;
};

/// Withdraws versions of features.
class cSiteRetireCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        m_place.status = QStringLiteral("release");
        syntax.call("site retire", "Withdraw a version of a feature, or a feature");
        syntax.add("SITE", &m_place.site, "The site's folder");
        syntax.add("NAME-VERSION", &m_names,
                   "A version; when it is the one that is offered, the one before is offered "
                   "again. NAME alone: the feature, whose plugins go everywhere");
        syntax.add("--keep", &m_days, "How many days its packages stay", "DAYS");
        syntax.add("--expired", &m_isExpired, "Only remove the packages whose time is over");
        syntax.add("--repository", &m_place.repository, "Default: the one that the site has", "NAME");
        syntax.add("--status", &m_place.status, "The status that it is withdrawn from", "S");
        cSigningRun::addKeysOption(syntax, &m_keys);
        m_report.addJsonOption(syntax);
        syntax.footer =
            "Who has a version keeps it until a newer one is published. What the site names is never removed.";
    }

    ExitCode run() override
    {
        constexpr int Longest = 36500;
        bool isNumber = false;
        const int days = m_days.toInt(&isNumber);
        if (!isNumber || days < 0 || days > Longest)
            return m_report.fail(ExitCode::Usage, QStringLiteral("--keep takes 0 to %1 days").arg(Longest));
        if (m_names.isEmpty() != m_isExpired)
            return m_report.fail(ExitCode::Usage, QStringLiteral("say what is to be retired, or --expired"));
        const QString missing = missingSite(m_place.site);
        if (!missing.isEmpty())
            return m_report.fail(ExitCode::ReadFailed, missing);
        if (m_isExpired)
            m_place = cSiteState::anyPlace(m_place.site).value_or(m_place);
        cSiteRetirement retirement(m_place, m_names, days);
        retirement.setKeys(m_keys);
        return retirement.run(m_report);
    }

private:
    cReport m_report;
    cSitePlace m_place;
    QStringList m_names;
    QString m_keys;
    QString m_days = QStringLiteral("30");
    bool m_isExpired = false;
};

/// Shows what a site offers.
class cSiteListCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("site list", "Show what a site offers, and what it offered before");
        syntax.add("SITE", &m_site, "The site's folder, or its URL, which shows what is offered");
        m_report.addJsonOption(syntax);
    }

    ExitCode run() override
    {
        cSiteListing listing(cSiteFetcher::siteUrl(m_site));
        const ExitCode code = listing.run();
        // Of a site with one faulty repository the others are shown.
        m_report.end(code == ExitCode::Faults ? ExitCode::Ok : code, listing.findings(), listing.errorString(),
                     listing.lines(), listing.json());
        return code;
    }

private:
    cReport m_report;
    QString m_site;
};

} // namespace

void addSiteCommands(cProgram& program)
{
    program.addGroup("site", "Publish on an update site, and verify one");
    addSiteAddCommand(program);
    program.add(std::make_unique<cSiteCheckCommand>());
    program.add(std::make_unique<cSiteListCommand>());
    program.add(std::make_unique<cSitePromoteCommand>());
    program.add(std::make_unique<cSiteRetireCommand>());
}
