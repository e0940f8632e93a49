#pragma once

#include "config/cFetch.h"

#include <QtCore/QThreadPool>

/**
 * Runs fetches side by side, up to a number for each host, in the order in which they were added, over connections that
 * are kept. A request that dies on a connection which the server was closing is repeated once.
 *
 * A fetch that is done makes room for the next one; further ones may be added from its signals. Lives on one thread,
 * whose events the caller serves, as `cTransfer::wait()` does.
 */
class cFetchQueue : public QObject
{
    Q_OBJECT

public:
    /// As many as the network access manager keeps connections to one host.
    static constexpr int MostTransfers = 6;

    /// @param transfersPerHost 1 to MostTransfers
    explicit cFetchQueue(int transfersPerHost = transfersInSettings());
    ~cFetchQueue() override;

    /// What the machine-wide setting "UpdateMgr/TransfersPerHost" says, within 1 and MostTransfers.
    static int transfersInSettings();

    /// Once. Begins when events are served.
    void add(const QSharedPointer<cFetch>& fetch);

    /// Whether no fetch runs or waits.
    bool isIdle() const;
    /// Serves the events of this thread until it is idle, or gone.
    void wait();

    /// Ends @p fetch, or all; what has arrived stays as a part.
    void cancel(cFetch& fetch);
    void cancel();

private:
    void startSoon();
    void startWaiting();

    const int m_transfersPerHost;
    QThreadPool m_threads;
    cFetch::Means m_means;
    QVector<QSharedPointer<cFetch>> m_fetches; // that wait or run, in the order in which they were added
    bool m_willStart = false;
};
