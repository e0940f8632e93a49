#include "Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "lint/InputFile.h"
#include "plugins/ManifestRules.h"
#include "report/cFindings.h"
#include "site/cSiteCheck.h"
#include "site/cSiteListing.h"
#include "site/cSitePromotion.h"
#include "site/cSitePublisher.h"
#include "site/cSiteRetirement.h"

#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

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
    QString versionError() const;

    /// @return why a file of notes cannot be read; empty when all have been.
    QString readNotes();

    cSiteAddition m_wanted;
    cReport m_report;
    QStringList m_displayNames;
    QStringList m_notes;
    QStringList m_noteFiles;
    QStringList m_dependencies;
    QStringList m_shared;
    QString m_content;
};

ExitCode runEditor(cSiteEditor&& editor, const cReport& report)
{
    const ExitCode code = editor.run();
    return report.end(code, editor.findings(), editor.errorString(), editor.lines(), editor.json());
}

/// Why there is no site to be changed; empty when there is one.
QString missingSite(const QString& site)
{
    const QString path = site + QStringLiteral("/site.xml");
    return QFileInfo(path).isFile() ? QString() : QStringLiteral("there is no %1").arg(path);
}

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
    m_report.addJsonOption(syntax);
    syntax.footer = "Clients meet the old state or the new one, also when the run is cut off; it can be repeated.\n"
                    "Other features and repositories of the site are kept.";
}

void cSiteAddCommand::addFeatureOptions(cSyntax& syntax)
{
    syntax.add("--feature", &m_wanted.feature, "The feature that the packages make up", "NAME");
    syntax.add("--feature-version", &m_wanted.featureVersion, "Its version", "V");
    syntax.add("--display-name", &m_displayNames, "Its name for people, such as en-us=Weather; may repeat",
               "LANG=TEXT");
    syntax.add("--note", &m_notes, "What the version brings, for people; may repeat", "LANG=TEXT");
    syntax.add("--notes", &m_noteFiles, "The same from a text file in UTF-8, as notes.txt or de-de=notes-de.txt",
               "[LANG=]FILE");
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
        return m_report.fail(ExitCode::Usage, error);
    if (!m_dependencies.isEmpty()) {
        m_dependencies.removeAll(QString());
        m_wanted.dependencies = m_dependencies;
    }
    if (!m_content.isNull())
        m_wanted.content = m_content;
    const QString unread = readNotes();
    if (!unread.isEmpty())
        return m_report.fail(ExitCode::ReadFailed, unread);
    return runEditor(cSitePublisher(m_wanted), m_report);
}

QString cSiteAddCommand::readNotes()
{
    static const QRegularExpression form(QStringLiteral("\\A(?:([A-Za-z]{2,3}(?:-[A-Za-z]+)?)=)?(.*)\\z"),
                                         QRegularExpression::DotMatchesEverythingOption);
    m_wanted.notes = pairs(m_notes);
    for (const QString& word : qAsConst(m_noteFiles)) {
        const QRegularExpressionMatch match = form.match(word);
        const QString language = match.captured(1).isEmpty() ? QStringLiteral("en-us") : match.captured(1);
        QByteArray bytes;
        cFindings findings;
        if (!readInputFile(match.captured(2), LargestDocument, &bytes, findings))
            return QStringLiteral("%1: %2").arg(match.captured(2), findings.list().constFirst().text);
        m_wanted.notes.insert(language, QString::fromUtf8(bytes).trimmed());
    }
    return QString();
}

QString cSiteAddCommand::usageError() const
{
    if (m_wanted.feature.isEmpty() != m_wanted.packages.isEmpty())
        return QStringLiteral("packages and --feature go together");
    if (m_wanted.feature.isEmpty() && m_wanted.runtime.isEmpty())
        return QStringLiteral("there is nothing to publish: name packages and --feature, or a --runtime");
    if (m_wanted.site.contains(QLatin1String("://")))
        return QStringLiteral("a site is changed in its folder, not through a server");
    if (m_wanted.feature.isEmpty() && !(m_notes + m_noteFiles).isEmpty())
        return QStringLiteral("notes are those of a --feature");
    for (const QString& word : m_displayNames + m_shared + m_notes) {
        if (word.indexOf(QLatin1Char('=')) <= 0)
            return QStringLiteral("\"%1\" is no NAME=VALUE").arg(word);
    }
    return m_wanted.status.isEmpty() ? QStringLiteral("--status is empty") : versionError();
}

QString cSiteAddCommand::versionError() const
{
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
    return QString();
}

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
        m_report.addJsonOption(syntax);
        syntax.footer = "Packages are copied before anything names them. Features that only the second status has are\n"
                        "kept, and no version goes back.";
    }

    ExitCode run() override
    {
        if (m_from.isEmpty())
            return m_report.fail(ExitCode::Usage, QStringLiteral("--from says which status has been tried"));
        if (m_from == m_place.status)
            return m_report.fail(ExitCode::Usage, QStringLiteral("--from and --to are the same"));
        const QString missing = missingSite(m_place.site);
        return missing.isEmpty() ? runEditor(cSitePromotion(m_place, m_from, m_features), m_report)
                                 : m_report.fail(ExitCode::ReadFailed, missing);
    }

private:
    cReport m_report;
    cSitePlace m_place;
    QString m_from;
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
        return runEditor(cSiteRetirement(m_place, m_names, days), m_report);
    }

private:
    cReport m_report;
    cSitePlace m_place;
    QStringList m_names;
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
        return m_report.end(code, listing.findings(), listing.errorString(), listing.lines(), listing.json());
    }

private:
    cReport m_report;
    QString m_site;
};

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
            return m_report.fail(ExitCode::Unreachable, check.errorString());
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
    program.add(std::make_unique<cSiteListCommand>());
    program.add(std::make_unique<cSitePromoteCommand>());
    program.add(std::make_unique<cSiteRetireCommand>());
}
