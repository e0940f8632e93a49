// The commands that find and mend what is damaged. They work while the suite cannot start.
#include "commands/Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "updates/UpdateSession.h"

#include <Norvale/IInstallMgr.h>

#include <QtCore/QJsonArray>

namespace {

QString nameOf(cFileFinding::Kind kind)
{
    switch (kind) {
    case cFileFinding::Missing:
        return QStringLiteral("missing");
    case cFileFinding::Changed:
        return QStringLiteral("changed");
    case cFileFinding::Foreign:
        return QStringLiteral("foreign");
    case cFileFinding::NoRecord:
        return QStringLiteral("no record");
    case cFileFinding::FolderMissing:
        return QStringLiteral("folder missing");
    }
    return QString();
}

QJsonObject toJson(const cVerifyOutcome& outcome)
{
    const char* const results[] = {"not verified", "sound", "faulty"};
    QJsonArray findings;
    for (const cFileFinding& finding : outcome.findings) {
        findings.append(QJsonObject{{QStringLiteral("kind"), nameOf(finding.kind)},
                                    {QStringLiteral("plugin"), finding.plugin},
                                    {QStringLiteral("file"), finding.file},
                                    {QStringLiteral("text"), finding.text}});
    }
    return {{QStringLiteral("result"), QLatin1String(results[outcome.result])},
            {QStringLiteral("reason"), outcome.reason},
            {QStringLiteral("plugins"), outcome.plugins},
            {QStringLiteral("files"), outcome.files},
            {QStringLiteral("findings"), findings}};
}

QJsonObject toJson(const cRepairOutcome& outcome)
{
    const char* const results[] = {"not repaired", "nothing to do", "complete", "incomplete"};
    QJsonArray unrepaired;
    for (const cRepairOutcome::cUnrepaired& entry : outcome.unrepaired) {
        unrepaired.append(QJsonObject{{QStringLiteral("name"), entry.name}, {QStringLiteral("reason"), entry.reason}});
    }
    return {{QStringLiteral("result"), QLatin1String(results[outcome.result])},
            {QStringLiteral("reason"), outcome.reason},
            {QStringLiteral("repaired"), QJsonArray::fromStringList(outcome.repaired)},
            {QStringLiteral("unrepaired"), unrepaired},
            {QStringLiteral("failed_commands"), QJsonArray::fromStringList(outcome.failedCommands)}};
}

/// Compares what is installed with what was installed.
class cVerifyCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--verify",
                    "Compare every installed file with what was installed and name what is missing, "
                    "changed or foreign; nothing is changed. Works while the suite cannot start, and beside "
                    "a running host.");
        addJsonFlag(syntax, &m_isJson);
        m_log.addTo(syntax);
    }

    ExitCode run() override
    {
        cChangeLock lock;
        const ExitCode code = beginChange(m_log, lock, &cChangeLock::takeForFetching);
        if (code != ExitCode::Ok)
            return code;
        const cInstallReport report(QStringLiteral("Verifying"), true);
        const cVerifyOutcome outcome = IInstallMgr::verify();
        Terminal::status(QString());
        if (m_isJson)
            answerJson(toJson(outcome));
        else
            show(outcome);
        if (outcome.result == cVerifyOutcome::NotVerified)
            return endWith(ExitCode::NotVerified, outcome.reason);
        return outcome.result == cVerifyOutcome::Sound ? ExitCode::Ok : ExitCode::Damaged;
    }

private:
    static Style styleOf(const QString& kind)
    {
        if (kind == nameOf(cFileFinding::Foreign) || kind == nameOf(cFileFinding::NoRecord))
            return Style::Warning;
        return Style::Error;
    }

    static void show(const cVerifyOutcome& outcome)
    {
        if (outcome.result == cVerifyOutcome::NotVerified)
            return;
        cTextTable table({QStringLiteral("found"), QStringLiteral("plugin"), QStringLiteral("file"), QString()});
        table.setStyle(0, styleOf);
        for (const cFileFinding& finding : outcome.findings)
            table.addRow({nameOf(finding.kind), finding.plugin, finding.file, finding.text});
        if (!outcome.findings.isEmpty())
            Terminal::answer(table.lines() << QString());
        const QString end = outcome.result == cVerifyOutcome::Sound
                                ? QStringLiteral("all as installed.")
                                : QStringLiteral("something is damaged. VCore --repair mends it.");
        Terminal::answer(
            QStringLiteral("%1 with %2 compared: %3")
                .arg(Terminal::counted(outcome.plugins, "plugin"), Terminal::counted(outcome.files, "file"), end));
    }

    cLogOption m_log;
    bool m_isJson = false;
};

/// Mends what --verify finds.
class cRepairCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--repair",
                    "Mend what --verify finds: restore the list of what is installed, and fetch the plugins "
                    "at fault from the folder Bootstrap or the update sites. Nothing else is replaced.");
        addJsonFlag(syntax, &m_isJson);
        m_log.addTo(syntax);
    }

    ExitCode run() override
    {
        cChangeLock lock;
        const ExitCode code = beginChange(m_log, lock, &cChangeLock::takeForInstalling);
        if (code != ExitCode::Ok)
            return code;
        const cInstallReport report(QStringLiteral("Repairing"), m_isJson);
        const cProgressBar transfers;
        const cRepairOutcome outcome = IInstallMgr::repair();
        Terminal::status(QString());
        if (m_isJson)
            answerJson(toJson(outcome));
        else
            show(outcome);
        // Why has been told by the log, whose errors are shown.
        if (outcome.result == cRepairOutcome::NotRepaired)
            return ExitCode::NotVerified;
        return outcome.result == cRepairOutcome::Incomplete ? ExitCode::RepairIncomplete : ExitCode::Ok;
    }

private:
    static void show(const cRepairOutcome& outcome)
    {
        const auto listOf = [](const QStringList& names) { return names.join(QStringLiteral(", ")); };
        QStringList left;
        for (const cRepairOutcome::cUnrepaired& entry : outcome.unrepaired)
            left.append(entry.name);
        if (outcome.result == cRepairOutcome::NothingToDo)
            Terminal::answer(QStringLiteral("Nothing is damaged."));
        if (!outcome.repaired.isEmpty())
            Terminal::answer(QStringLiteral("Repaired: %1.").arg(listOf(outcome.repaired)));
        if (!left.isEmpty())
            Terminal::answer(QStringLiteral("Not repaired: %1.").arg(listOf(left)));
    }

    cLogOption m_log;
    bool m_isJson = false;
};

} // namespace

void addVerifyCommands(cProgram& program)
{
    program.add(std::make_unique<cVerifyCommand>());
    program.add(std::make_unique<cRepairCommand>());
}
