#include "Commands.h"
#include "common/cProgram.h"
#include "delta/cDeltaMaker.h"
#include "lint/InputFile.h"
#include "plugins/ManifestRules.h"
#include "report/cFindings.h"
#include "signing/cSigningRun.h"
#include "site/cSitePublisher.h"

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
    QString deltasError() const;

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
    QString m_deltas = QStringLiteral("0");
    QString m_keys;
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
    syntax.add("--deltas", &m_deltas,
               "From how many earlier versions patches are made, for those who have them: 0 to 9, such as 3", "N");
    syntax.add("--replace", &m_wanted.mayReplace,
               "Let a version that is published change (who has it keeps what it has)");
    cSigningRun::addKeysOption(syntax, &m_keys);
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
    m_wanted.deltas = m_deltas.toInt();
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
    cSitePublisher publisher(m_wanted);
    publisher.setKeys(m_keys);
    return publisher.run(m_report);
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
    if (m_wanted.status.isEmpty())
        return QStringLiteral("--status is empty");
    const QString fault = deltasError();
    return fault.isEmpty() ? versionError() : fault;
}

QString cSiteAddCommand::deltasError() const
{
    bool isNumber = false;
    const int count = m_deltas.toInt(&isNumber);
    if (!isNumber || count < 0 || count > cSiteDeltas::Most)
        return QStringLiteral("--deltas takes 0 to %1").arg(cSiteDeltas::Most);
    const QString reason = cDeltaMaker::unavailability();
    return count == 0 || reason.isEmpty() ? QString() : QStringLiteral("--deltas: ") + reason;
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

} // namespace

void addSiteAddCommand(cProgram& program)
{
    program.add(std::make_unique<cSiteAddCommand>());
}
