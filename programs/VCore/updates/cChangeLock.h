#pragma once

#include "ExitCode.h"
#include "wire/cHostLock.h"

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
