#include "ExitCode.h"

#include "terminal/ExitCodes.h"

namespace {

constexpr cExitMeaning<ExitCode> Meanings[] = {
    {ExitCode::Ok, "done; for a run: started, served and stopped in order"},
    {ExitCode::Usage, "the command line was not understood"},
    {ExitCode::InitialiseFailed, "the framework could not be initialised"},
    {ExitCode::StartFailed, "the suite could not be started"},
    {ExitCode::NoCore, "the feature \"Core\" is not installed"},
    {ExitCode::HostRunning, "another host of this installation is running"},
    {ExitCode::NoHost, "no host of this installation is running"},
    {ExitCode::CallFailed, "the running host answered with an error"},
    {ExitCode::Timeout, "the running host did not answer in time"},
    {ExitCode::Restart, "the suite asks to be set up anew with the stored setup program"},
    {ExitCode::SocketFailed, "the local socket or its lock could not be had"},
    {ExitCode::Fatal, "the framework met a fatal condition"},
    {ExitCode::HardStop, "ended hard by a second stop signal"},
    {ExitCode::FileFailed, "the log or trace file could not be written"},
    {ExitCode::ConnectionLost, "the running host closed the connection before it had answered"},
    {ExitCode::LoopEnded, "a plugin ended the event loop with another code than 0"},
    {ExitCode::NoUpdate, "there is no update"},
    {ExitCode::Cancelled, "the check or the update was cancelled; what is installed is as it was"},
    {ExitCode::FetchFailed, "a file of the update could not be fetched, or is not what its hash says"},
    {ExitCode::CoreTooOld, "what is to be fetched or installed needs a newer core"},
    {ExitCode::FeatureMissing, "the update sites lack a feature that is installed, needed or asked for"},
    {ExitCode::CheckFailed, "the update check ended without a result"},
    {ExitCode::NewCore, "the update is a new core; after --update its setup program is there to be run"},
    {ExitCode::InstallIncomplete, "the installation left something out"},
    {ExitCode::NothingToInstall, "there is no description of a repository to install from"},
    {ExitCode::UninstallIncomplete, "something could not be removed"},
    {ExitCode::UpdateRunning, "another process fetches an update for this installation, or installs one"},
    {ExitCode::SettingsFailed, "the settings could not be written"},
};

} // namespace

QString exitCodeTable()
{
    return exitCodeLines(Meanings);
}
