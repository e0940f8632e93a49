#include "Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "plugins/ManifestRules.h"
#include "report/cFindings.h"
#include "site/cSiteCheck.h"
#include "site/cSitePublisher.h"

namespace {

/// Publishes a feature or a runtime.
class cSiteAddCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override;
    ExitCode run() override;

private:
    void addFeatureOptions(cSyntax& syntax);
    void addRepositoryOptions(cSyntax& syntax);

    /// What is wrong with the options; empty when they make an addition.
    QString usageError() const;

    cSiteAddition m_wanted;
    QStringList m_displayNames;
    QStringList m_dependencies;
    QStringList m_shared;
    QString m_content;
};

QMap<QString, QString> pairs(const QStringList& words)
{
    QMap<QString, QString> pairs;
    for (const QString& word : words)
        pairs.insert(word.section(QLatin1Char('='), 0, 0), word.section(QLatin1Char('='), 1));
    return pairs;
}

void cSiteAddCommand::describe(cSyntax& syntax)
{
    m_wanted.status = QStringLiteral("release");
    syntax.call("site add", "Publish a feature with its packages, or a runtime");
    syntax.add("SITE", &m_wanted.site, "The site's folder; it is made when it is not there");
    syntax.add("PACKAGE", &m_wanted.packages, "All packages of the feature, as norvale pack makes them");
    addFeatureOptions(syntax);
    addRepositoryOptions(syntax);
    syntax.add("--replace", &m_wanted.mayReplace,
               "Let a version that is published change (who has it keeps what it has)");
    syntax.footer = "Clients meet the old state or the new one, also when the run is cut off; it can be repeated.\n"
                    "Other features and repositories of the site are kept.";
}

void cSiteAddCommand::addFeatureOptions(cSyntax& syntax)
{
    syntax.add("--feature", &m_wanted.feature, "The feature that the packages make up", "NAME");
    syntax.add("--feature-version", &m_wanted.featureVersion, "Its version", "V");
    syntax.add("--display-name", &m_displayNames, "Its name for people, such as en-us=Weather; may repeat",
               "LANG=TEXT");
    syntax.add("--depends", &m_dependencies, "A feature that it needs; may repeat. Empty: none. Default: as before",
               "NAME");
    syntax.add("--shared", &m_shared, "A feature that has some of these plugins too, and gets version V; may repeat",
               "NAME=V");
}

void cSiteAddCommand::addRepositoryOptions(cSyntax& syntax)
{
    syntax.add("--repository", &m_wanted.repository, "Default: the one that the site has, else main", "NAME");
    syntax.add("--repository-version", &m_wanted.repositoryVersion, "Default: one more than before, first 1.0.0", "V");
    syntax.add("--status", &m_wanted.status, "Which installations see it", "S");
    syntax.add("--content", &m_content, "Folder of a new repository in the site; default: its name", "PATH");
    syntax.add("--core-version", &m_wanted.coreVersion, "Oldest installed version that it can be installed over", "V");
    syntax.add("--runtime", &m_wanted.runtime, "The setup program of a runtime", "FILE");
    syntax.add("--runtime-version", &m_wanted.runtimeVersion, "Its version", "V");
}

ExitCode cSiteAddCommand::run()
{
    m_wanted.displayNames = pairs(m_displayNames);
    m_wanted.shared = pairs(m_shared);
    const QString error = usageError();
    if (!error.isEmpty())
        return endWith(ExitCode::Usage, error);
    if (!m_dependencies.isEmpty()) {
        m_dependencies.removeAll(QString());
        m_wanted.dependencies = m_dependencies;
    }
    if (!m_content.isNull())
        m_wanted.content = m_content;
    cSitePublisher publisher(m_wanted);
    const ExitCode code = publisher.run();
    cReport::tell(publisher.findings());
    if (!publisher.errorString().isEmpty())
        Terminal::error(publisher.errorString());
    if (code == ExitCode::Ok)
        Terminal::answer(publisher.summary());
    return code;
}

QString cSiteAddCommand::usageError() const
{
    if (m_wanted.feature.isEmpty() != m_wanted.packages.isEmpty())
        return QStringLiteral("packages and --feature go together");
    if (m_wanted.feature.isEmpty() && m_wanted.runtime.isEmpty())
        return QStringLiteral("there is nothing to publish: name packages and --feature, or a --runtime");
    if (m_wanted.site.contains(QLatin1String("://")))
        return QStringLiteral("a site is changed in its folder, not through a server");
    for (const QString& word : m_displayNames + m_shared) {
        if (word.indexOf(QLatin1Char('=')) <= 0)
            return QStringLiteral("\"%1\" is no NAME=VALUE").arg(word);
    }
    QStringList versions;
    if (!m_wanted.feature.isEmpty())
        versions.append(m_wanted.featureVersion);
    if (!m_wanted.runtime.isEmpty())
        versions.append(m_wanted.runtimeVersion);
    versions += m_wanted.shared.values();
    for (const QString& optional : {m_wanted.repositoryVersion, m_wanted.coreVersion}) {
        if (!optional.isEmpty())
            versions.append(optional);
    }
    for (const QString& version : qAsConst(versions)) {
        if (version.isEmpty())
            return QStringLiteral("--feature needs --feature-version, --runtime --runtime-version");
        const QString reason = ManifestRules::versionReason(version);
        if (!reason.isEmpty())
            return reason;
    }
    return m_wanted.status.isEmpty() ? QStringLiteral("--status is empty") : QString();
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
        syntax.footer = "Every file is fetched once. norvale lint --rules lists the rules.";
    }

    ExitCode run() override
    {
        cFindings findings;
        cSiteCheck check(cSiteFetcher::siteUrl(m_site), findings);
        if (!check.run())
            return endWith(ExitCode::Unreachable, check.errorString());
        Terminal::note(check.summary());
        return m_report.print(findings);
    }

private:
    cReport m_report;
    QString m_site;
};

} // namespace

void addSiteCommands(cProgram& program)
{
    program.addGroup("site", "Publish on an update site, and verify one");
    program.add(std::make_unique<cSiteAddCommand>());
    program.add(std::make_unique<cSiteCheckCommand>());
}
