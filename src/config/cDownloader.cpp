#include "config/cDownloader.h"

#include "config/cConnections.h"
#include "core/Settings.h"

#include <Norvale/cLog.h>

#include "log/cFrameworkLog.h"

cDownloader::cDownloader(QObject* parent)
    : QObject(parent)
    , m_connections(new cConnections(this))
    , m_transfer(QSharedPointer<cTransfer>::create(*m_connections, QUrl(), m_options))
{
    connect(m_connections, &QNetworkAccessManager::finished, this, &cDownloader::replyFinished);
}

cDownloader::~cDownloader()
{
    if (!m_isBusy)
        return;
    m_transfer->cancel();
    // A signal of the reply, which the manager owns, may be what has led here.
    m_connections->setParent(nullptr);
    m_connections->deleteLater();
}

bool cDownloader::run(const QUrl& url, std::optional<QIODevice*> device)
{
    if (m_isBusy) {
        cFrameworkLog::configuration().warning()
            << "Not fetched while another transfer waits:" << url.toDisplayString() << Qt::endl;
        return false;
    }
    m_isBusy = true;
    m_isCancelled = false;
    const auto transfer = QSharedPointer<cTransfer>::create(*m_connections, url, m_options, device);
    m_transfer = transfer;
    connect(transfer.data(), &cTransfer::progress, this, &cDownloader::onProgress);
    const QPointer<cDownloader> self(this);
    transfer->start();
    cTransfer::wait({transfer});
    if (self)
        m_isBusy = false;
    if (device && transfer->hasSucceeded() && !url.isLocalFile())
        transfer->addToDigest(transfer->data());
    return transfer->hasSucceeded();
}

int cDownloader::leastRateInSettings()
{
    return cMachineSettings().value(QLatin1String(SettingsKey::LeastRate), cTransfer::DefaultLeastRate).toInt();
}

void cDownloader::cancel()
{
    m_isCancelled = true;
    if (hasReply())
        m_transfer->cancel();
}
