#include "config/cFetchQueue.h"

#include "config/cConnections.h"
#include "config/cDownloader.h"
#include "core/Settings.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QHash>

#include <algorithm>

namespace {

/// The files that are brought to the disk at a time. When that does not keep up, it stops the transfers.
constexpr int MostFlushes = 8;

/// What must outlive the signal that is being sent.
class cKeeper : public QObject
{
public:
    explicit cKeeper(const QVector<QSharedPointer<cFetch>>& fetches) : m_fetches(fetches) {}

private:
    const QVector<QSharedPointer<cFetch>> m_fetches;
};

QString hostOf(const QUrl& url)
{
    return url.adjusted(QUrl::RemoveUserInfo | QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment).toString();
}

} // namespace

cFetchQueue::cFetchQueue(int transfersPerHost) : m_transfersPerHost(qBound(1, transfersPerHost, MostTransfers))
{
    // They wait for the disk, which does many flushes at a time in hardly more time than one.
    m_threads.setMaxThreadCount(MostFlushes);
    m_means.connections = new cConnections(this);
    m_means.threads = &m_threads;
    m_means.options.leastRate = cDownloader::leastRateInSettings();
}

cFetchQueue::~cFetchQueue()
{
    const QVector<QSharedPointer<cFetch>> fetches = std::exchange(m_fetches, {});
    for (const QSharedPointer<cFetch>& fetch : fetches)
        fetch->cancel();
    // A signal of a fetch may be what has led here, and before it one of a reply, which the connections own.
    if (std::none_of(fetches.begin(), fetches.end(), [](const auto& fetch) { return fetch->isTelling(); }))
        return;
    auto* const keeper = new cKeeper(fetches);
    m_means.connections->setParent(keeper);
    keeper->deleteLater();
}

int cFetchQueue::transfersInSettings()
{
    bool isNumber = false;
    const int number =
        cMachineSettings().value(QLatin1String(SettingsKey::TransfersPerHost), MostTransfers).toInt(&isNumber);
    return isNumber ? qBound(1, number, MostTransfers) : MostTransfers;
}

void cFetchQueue::add(const QSharedPointer<cFetch>& fetch)
{
    m_fetches.append(fetch);
    connect(fetch.data(), &cFetch::done, this, &cFetchQueue::startSoon);
    connect(fetch.data(), &cFetch::paused, this, &cFetchQueue::startSoon);
    fetch->add();
    startSoon();
}

bool cFetchQueue::isIdle() const
{
    return std::none_of(m_fetches.begin(), m_fetches.end(),
                        [](const auto& fetch) { return fetch->state() == cTransfer::Running; });
}

void cFetchQueue::wait()
{
    const QPointer<cFetchQueue> self(this);
    cConnections::waitWhile([&] { return self && !isIdle(); });
}

void cFetchQueue::cancel(cFetch& fetch)
{
    fetch.cancel();
}

void cFetchQueue::cancel()
{
    const QVector<QSharedPointer<cFetch>> fetches = m_fetches;
    for (const QSharedPointer<cFetch>& fetch : fetches)
        fetch->cancel();
}

/// Not at once: the signal of a fetch is what leads here.
void cFetchQueue::startSoon()
{
    if (!std::exchange(m_willStart, true))
        QMetaObject::invokeMethod(this, &cFetchQueue::startWaiting, Qt::QueuedConnection);
}

void cFetchQueue::startWaiting()
{
    m_willStart = false;
    const auto isOver = [](const auto& fetch) { return fetch->state() != cTransfer::Running; };
    m_fetches.erase(std::remove_if(m_fetches.begin(), m_fetches.end(), isOver), m_fetches.end());
    const auto isFlushing = [](const auto& fetch) { return fetch->isIn(cFetch::Flushes); };
    if (std::count_if(m_fetches.begin(), m_fetches.end(), isFlushing) >= MostFlushes)
        return; // the end of one of them leads here again

    QHash<QString, int> busy; // by host
    for (const QSharedPointer<cFetch>& fetch : qAsConst(m_fetches))
        busy[hostOf(fetch->source())] += fetch->isIn(cFetch::Transfers);
    const QVector<QSharedPointer<cFetch>> fetches = m_fetches;
    const QPointer<cFetchQueue> self(this);
    for (const QSharedPointer<cFetch>& fetch : fetches) {
        if (!self)
            return;
        if (fetch->isIn(cFetch::Waits) && busy[hostOf(fetch->source())]++ < m_transfersPerHost)
            fetch->run(m_means);
    }
}
