#pragma once

#include "common/ExitCode.h"
#include "common/System.h"
#include "common/cStyledLine.h"
#include "updates/Progress.h"
#include "wire/cHostAddress.h"

#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

#include <functional>

class cJsonValue;

/**
 * Keeps two processes from changing one installation at a time. What is fetched waits beside the installation, so that
 * goes on beside a running host; what is installed is not changed under it.
 */
class cChangeLock
{
public:
    /// For fetching: refused while another process fetches or installs. Says why.
    [[nodiscard]] ExitCode takeForFetching();

    /// For installing and removing: refused while a host runs, too; and none starts while the lock is held.
    [[nodiscard]] ExitCode takeForInstalling();

private:
    cHostLock m_host;
    cHostLock m_update;
};

/// Installs what an update has fetched, and finishes what a killed run left unfinished, as before every start; what is
/// done is told, unless @p isQuiet. The caller holds a cChangeLock. @return false when not all could be installed,
/// which has been said: also then a whole set of plugins is installed, so the suite starts.
bool installWaiting(bool isQuiet = false);

/// One check or update of this process: it shows the progress, and a stop signal cancels it. The framework must have
/// been initialised.
class cUpdateSession
{
public:
    cUpdateSession();

    /// IConfigMgr::checkForUpdates(); a cancelled one has the result code 1, too.
    QJsonObject check();

    /// IConfigMgr::doUpdateOn(), with the path of the setup program when that has been fetched.
    QJsonObject update(const QStringList& features);

private:
    QJsonObject run(const std::function<cJsonValue()>& work);

    cProgressBar m_progress;
    cStopSignals m_stopSignals;
    bool m_isCancelled = false;
};

/// What the object that a check or an update answers with means, for people and as exit code.
namespace UpdateReport {

/// The exit code. Ok is "there is an update" of a check, "it is ready for the next start" of an update.
ExitCode codeOf(const QJsonObject& result);

/// A table of the versions and the size, as far as they are known.
cStyledLines table(const QJsonObject& result);

/// What the update brings, as the repository tells it; empty when it tells nothing.
cStyledLines notes(const QJsonObject& result);

/// What a check has found.
QString checked(const QJsonObject& result);

/// What an update has done, and what is to be done next.
QStringList updated(const QJsonObject& result);

/// That no root of trust is pinned, and what that means.
QString nothingPinned();

/// Whether an earlier update has fetched something that the next start installs.
bool isWaiting();

/// Tells of what an earlier update has fetched and the next start installs; says nothing when nothing waits.
void tellWaiting();

} // namespace UpdateReport
