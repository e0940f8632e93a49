#include "updates/cChangeLock.h"

#include "commands/CommandOptions.h"
#include "terminal/Terminal.h"

namespace {

ExitCode take(cHostLock* lock, const QString& path, ExitCode whenHeld, const QString& whoHolds)
{
    const cHostLock::Outcome outcome = lock->take(path);
    if (outcome == cHostLock::Taken)
        return ExitCode::Ok;
    const bool isHeld = outcome == cHostLock::Held;
    Terminal::reason(isHeld ? whoHolds + lock->errorString() : lock->errorString());
    return isHeld ? whenHeld : ExitCode::SocketFailed;
}

} // namespace

ExitCode cChangeLock::takeForFetching()
{
    const cHostAddress address = CommandOptions::address();
    if (!address.isValid()) {
        Terminal::reason(address.errorString());
        return ExitCode::SocketFailed;
    }
    return take(&m_update, address.updateLockPath(), ExitCode::UpdateRunning,
                QStringLiteral("another process fetches or installs: "));
}

ExitCode cChangeLock::takeForInstalling()
{
    const ExitCode code = takeForFetching();
    if (code != ExitCode::Ok)
        return code;
    return take(&m_host, CommandOptions::address().lockPath(), ExitCode::HostRunning,
                QStringLiteral("a host of this installation is running: "));
}
