#include "common/ExitCode.h"

#include "common/Terminal.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>

namespace {

struct Entry
{
    const char* program;
    ExitCode code;
    const char* meaning;
};

constexpr Entry Entries[] = {
    {"VCore", ExitCode::Ok, "done; for a run: started, served and stopped in order"},
    {"VCore", ExitCode::Usage, "the command line was not understood"},
    {"VCore", ExitCode::InitialiseFailed, "the framework could not be initialised"},
    {"VCore", ExitCode::StartFailed, "the suite could not be started"},
    {"VCore", ExitCode::NoCore, "the feature \"Core\" is not installed"},
    {"VCore", ExitCode::HostRunning, "another host of this installation is running"},
    {"VCore", ExitCode::NoHost, "no host of this installation is running"},
    {"VCore", ExitCode::CallFailed, "the running host answered with an error"},
    {"VCore", ExitCode::Timeout, "the running host did not answer in time"},
    {"VCore", ExitCode::Restart, "the suite asks to be set up anew with the stored setup program"},
    {"VCore", ExitCode::SocketFailed, "the local socket or its lock could not be had"},
    {"VCore", ExitCode::Fatal, "the framework met a fatal condition"},
    {"VCore", ExitCode::HardStop, "ended hard by a second stop signal"},
    {"VCore", ExitCode::FileFailed, "the log or trace file could not be written"},
    {"VCore", ExitCode::ConnectionLost, "the running host closed the connection before it had answered"},
    {"VCore", ExitCode::LoopEnded, "a plugin ended the event loop with another code than 0"},
    {"VCore", ExitCode::NoUpdate, "there is no update"},
    {"VCore", ExitCode::Cancelled, "the check or the update was cancelled; what is installed is as it was"},
    {"VCore", ExitCode::FetchFailed, "a file of the update could not be fetched, or is not what its hash says"},
    {"VCore", ExitCode::CoreTooOld, "what is to be fetched or installed needs a newer core"},
    {"VCore", ExitCode::FeatureMissing, "the update sites lack a feature that is installed, needed or asked for"},
    {"VCore", ExitCode::CheckFailed, "the update check ended without a result"},
    {"VCore", ExitCode::NewCore, "the update is a new core; after --update its setup program is there to be run"},
    {"VCore", ExitCode::InstallIncomplete, "the installation left something out"},
    {"VCore", ExitCode::NothingToInstall, "there is no description of a repository to install from"},
    {"VCore", ExitCode::UninstallIncomplete, "something could not be removed"},
    {"VCore", ExitCode::UpdateRunning, "another process fetches an update for this installation, or installs one"},
    {"VCore", ExitCode::SettingsFailed, "the settings could not be written"},
    {"norvale", ExitCode::Ok, "done; nothing that counts as an error was found"},
    {"norvale", ExitCode::Faults, "the input breaks a rule; nothing was written"},
    {"norvale", ExitCode::Usage, "the command line was not understood"},
    {"norvale", ExitCode::ReadFailed, "a file or folder that was named cannot be read"},
    {"norvale", ExitCode::WriteFailed, "a result could not be written; what was there before stands"},
    {"norvale", ExitCode::Unreachable, "the site's description could not be fetched"},
    {"norvale", ExitCode::NoGraphviz, "Graphviz's program dot is not there, or failed"},
    {"norvale", ExitCode::Busy, "another run of this program is changing the site"},
};

} // namespace

QString exitCodeTable()
{
    QStringList lines;
    for (const Entry& entry : Entries) {
        if (QCoreApplication::applicationName() == QLatin1String(entry.program))
            lines.append(QStringLiteral("  %1  %2").arg(int(entry.code), 2).arg(QLatin1String(entry.meaning)));
    }
    return lines.join(QLatin1Char('\n'));
}

ExitCode endWith(ExitCode code, const QString& reason)
{
    Terminal::reason(reason);
    return code;
}
