// The commands that install and remove on the spot.
#include "commands/Commands.h"
#include "common/HostSettings.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "updates/UpdateSession.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/IInstallMgr.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

namespace {

QJsonObject toJson(const cInstallOutcome& outcome)
{
    const char* const results[] = {"not made",       "nothing to do", "complete", "incomplete",
                                   "no description", "core too old",  "failed"};
    QJsonArray leftOut;
    for (const cInstallOutcome::cLeftOut& feature : outcome.leftOut) {
        leftOut.append(QJsonObject{{QStringLiteral("name"), feature.name},
                                   {QStringLiteral("version"), feature.version.toString()},
                                   {QStringLiteral("reason"), feature.reason}});
    }
    QJsonArray features;
    for (const cFeatureInfo& feature : IConfigMgr::installedFeatures()) {
        features.append(QJsonObject{{QStringLiteral("name"), feature.name},
                                    {QStringLiteral("version"), feature.version.toString()}});
    }
    return {{QStringLiteral("result"), QLatin1String(results[outcome.result])},
            {QStringLiteral("reason"), outcome.reason},
            {QStringLiteral("installed"), QJsonArray::fromStringList(outcome.installed)},
            {QStringLiteral("removed"), QJsonArray::fromStringList(outcome.removed)},
            {QStringLiteral("left_out"), leftOut},
            {QStringLiteral("failed_commands"), QJsonArray::fromStringList(outcome.failedCommands)},
            {QStringLiteral("features"), features}};
}

/// What the commands that install or remove have in common: no host runs meanwhile, and what is done is told.
class cInstallingCommand : public cCommand
{
public:
    ExitCode run() final
    {
        cChangeLock lock;
        const ExitCode code = beginChange(m_log, lock, &cChangeLock::takeForInstalling);
        if (code != ExitCode::Ok)
            return code;
        const cInstallReport report(QStringLiteral("Installing"), m_isJson);
        return work();
    }

protected:
    /// Does it, with the framework initialised.
    virtual ExitCode work() = 0;

    void addOptions(cSyntax& syntax)
    {
        addJsonFlag(syntax, &m_isJson);
        m_log.addTo(syntax);
    }

    bool isJson() const { return m_isJson; }

    /// The exit code of the last installation; says what is installed now. Why it has come to nothing is in the log,
    /// whose errors are shown.
    ExitCode conclude() const
    {
        const cInstallOutcome outcome = IInstallMgr::lastOutcome();
        if (m_isJson)
            answerJson(toJson(outcome));
        if (outcome.result == cInstallOutcome::NoDescription)
            return ExitCode::NothingToInstall;
        if (outcome.result == cInstallOutcome::CoreTooOld)
            return ExitCode::CoreTooOld;
        if (outcome.result == cInstallOutcome::Failed)
            return endWith(ExitCode::InstallIncomplete,
                           QStringLiteral("nothing is installed; the lines above tell why"));
        if (!m_isJson)
            tellInstalled(outcome);
        if (outcome.isSuccess())
            return ExitCode::Ok;
        return endWith(ExitCode::InstallIncomplete, QStringLiteral("something was left out; the lines above tell why"));
    }

private:
    static void tellInstalled(const cInstallOutcome& outcome)
    {
        if (outcome.result == cInstallOutcome::NothingToDo)
            Terminal::answer(outcome.reason.isEmpty() ? QStringLiteral("Nothing of it is newer than what is installed.")
                                                      : outcome.reason + QLatin1Char('.'));
        QStringList features;
        for (const cFeatureInfo& feature : IConfigMgr::installedFeatures())
            features.append(feature.name + QLatin1Char(' ') + feature.version.toString());
        const QString all = features.join(QStringLiteral(", "));
        Terminal::answer(all.isEmpty() ? QStringLiteral("No feature is installed.")
                                       : QStringLiteral("Installed: %1.").arg(all));
    }

    cLogOption m_log;
    bool m_isJson = false;
};

/// Installs what a repository description on the local disk lists, or a package on its own.
class cInstallCommand : public cInstallingCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--install",
                    "Install what the repository description FILE lists, whose packages lie beside it; or the one "
                    "package FILE, NAME-VERSION.zip, for who develops it.",
                    &m_path, "FILE");
        syntax.add("--unsigned", &m_isUnsigned,
                   "Install it although a root of trust is pinned and nobody vouches for it; the log tells so.");
        addOptions(syntax);
    }

protected:
    ExitCode work() override
    {
        const QString path = QFileInfo(m_path).absoluteFilePath();
        if (m_isUnsigned)
            IInstallMgr::installUnsigned(path);
        else if (path.endsWith(QLatin1String(".zip"), Qt::CaseInsensitive))
            IInstallMgr::installPackage(path);
        else
            IInstallMgr::installFromLocation(path, false);
        const ExitCode code = conclude();
        if (code == ExitCode::InstallIncomplete && !m_isUnsigned && IConfigMgr::trustState().isPinned)
            Terminal::note(QStringLiteral("a root of trust is pinned; what is your own and unsigned is installed with "
                                          "--unsigned all the same"));
        return code;
    }

private:
    QString m_path;
    bool m_isUnsigned = false;
};

/// Installs what the Bootstrap folder of the installation holds.
class cBootstrapCommand : public cInstallingCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--bootstrap", "Install what the folder Bootstrap of the installation holds.");
        addOptions(syntax);
    }

protected:
    ExitCode work() override
    {
        IInstallMgr::installBootstrap();
        return conclude();
    }
};

/// Removes everything that is installed.
class cUninstallCommand : public cInstallingCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--uninstall", "Remove every plugin, without asking.");
        addOptions(syntax);
    }

protected:
    ExitCode work() override
    {
        const bool isDone = IInstallMgr::uninstallPlugins();
        const QString folder = Corvane::velmiraFolderOrFile(Corvane::CoreFolder);
        if (isJson()) {
            answerJson({{QStringLiteral("result"), isDone ? QStringLiteral("complete") : QStringLiteral("incomplete")},
                        {QStringLiteral("folder"), folder},
                        {QStringLiteral("waiting"), UpdateReport::isWaiting()}});
        }
        if (!isDone) {
            return endWith(ExitCode::UninstallIncomplete,
                           QStringLiteral("not everything could be removed; the lines above tell why"));
        }
        if (!isJson()) {
            Terminal::answer(QStringLiteral("Nothing is installed any more in %1.").arg(folder));
            UpdateReport::tellWaiting();
        }
        return ExitCode::Ok;
    }
};

/// Shows or sets the folder that the hosts of this machine take for the installation.
class cInstallDirCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--install-dir",
                    "Show where the suite is installed. With a FOLDER make it that one, for all of this "
                    "machine.");
        addJsonFlag(syntax, &m_isJson);
        syntax.add("[FOLDER]", &m_words, "");
        syntax.mostWords = 1;
    }

    ExitCode run() override { return m_words.isEmpty() ? show() : set(m_words.first()); }

private:
    ExitCode show() const
    {
        const QString folder = MachineSettings::installDir();
        if (m_isJson) {
            answerJson(
                {{QStringLiteral("folder"), folder}, {QStringLiteral("setting"), MachineSettings::installDirPlace()}});
        } else if (folder.isEmpty()) {
            Terminal::answer(QStringLiteral("No installation folder is set (%1): the current folder is taken, %2.")
                                 .arg(MachineSettings::installDirPlace(), QDir::currentPath()));
        } else {
            Terminal::answer(
                QStringLiteral("The installation folder is %1 (%2).").arg(folder, MachineSettings::installDirPlace()));
            const QString fault = MachineSettings::installDirFault(folder);
            if (!fault.isEmpty())
                Terminal::warning(fault);
        }
        return ExitCode::Ok;
    }

    ExitCode set(const QString& given) const
    {
        const QString folder = QDir::cleanPath(QFileInfo(given).absoluteFilePath());
        const QString fault = MachineSettings::installDirFault(folder);
        if (!fault.isEmpty())
            return endWith(ExitCode::Usage, fault);
        QString error;
        if (!MachineSettings::setInstallDir(folder, &error))
            return endWith(ExitCode::SettingsFailed, error);
        return show();
    }

    QStringList m_words;
    bool m_isJson = false;
};

} // namespace

void addInstallCommands(cProgram& program)
{
    program.add(std::make_unique<cInstallCommand>());
    program.add(std::make_unique<cBootstrapCommand>());
    program.add(std::make_unique<cUninstallCommand>());
    program.add(std::make_unique<cInstallDirCommand>());
}
