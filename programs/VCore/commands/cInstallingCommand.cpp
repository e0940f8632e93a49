#include "commands/cInstallingCommand.h"

#include "commands/CommandOptions.h"
#include "terminal/Terminal.h"
#include "updates/cChangeLock.h"
#include "updates/cInstallReport.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/cVersion.h>

#include <QtXml/QDomDocument>

QStringList cInstallingCommand::understands() const
{
    return {QLatin1String(CommandOptions::Log)};
}

ExitCode cInstallingCommand::run(const QCommandLineParser& line)
{
    if (!CommandOptions::openLog(line, TerminalLog::showReasons))
        return ExitCode::FileFailed;
    cChangeLock lock;
    const ExitCode locked = lock.takeForInstalling();
    if (locked != ExitCode::Ok)
        return locked;
    if (!CommandOptions::initialise())
        return ExitCode::InitialiseFailed;
    const cInstallReport report;
    return work(line);
}

ExitCode cInstallingCommand::examine(const QString& path)
{
    QDomDocument document;
    if (!Corvane::FileReadDom(path, document, false)) {
        Terminal::reason(QStringLiteral("%1 is no description of a repository").arg(path));
        return ExitCode::NothingToInstall;
    }
    const cVersion needed(document.documentElement().attribute(QStringLiteral("core_version")));
    if (needed <= cVersion(Corvane::currentVersion()))
        return ExitCode::Ok;
    Terminal::reason(QStringLiteral("%1 needs the core %2, the installed version is %3")
                         .arg(path, needed.toString(), Corvane::currentVersion()));
    return ExitCode::CoreTooOld;
}

ExitCode cInstallingCommand::conclude(bool isComplete)
{
    QStringList features;
    for (const cFeatureInfo& feature : IConfigMgr::installedFeatures())
        features.append(QStringLiteral("%1 %2").arg(Terminal::printable(feature.name), feature.version.toString()));
    Terminal::answer(features.isEmpty() ? QStringLiteral("No feature is installed.")
                                        : QStringLiteral("Installed are %1.").arg(features.join(QStringLiteral(", "))));
    if (isComplete)
        return ExitCode::Ok;
    Terminal::reason(QStringLiteral("something was left out; the lines above tell why"));
    return ExitCode::InstallIncomplete;
}
