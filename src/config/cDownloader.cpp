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
    expect(QUrl());
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
    const QSharedPointer<cTransfer> transfer = begin(url, device);
    m_transfer = transfer;
    connect(transfer.data(), &cTransfer::progress, this, &cDownloader::onProgress);
    const QPointer<cDownloader> self(this);
    if (transfer->state() == cTransfer::Idle)
        transfer->start();
    cTransfer::wait({transfer});
    if (self)
        m_isBusy = false;
    if (device && transfer->hasSucceeded() && !url.isLocalFile())
        transfer->addToDigest(transfer->data());
    return transfer->hasSucceeded();
}

void cDownloader::expect(const QUrl& url)
{
    if (m_expected)
        m_expected->cancel();
    m_expectedUrl = url;
    m_expected.reset();
    if (url.isEmpty() || url.isLocalFile())
        return;
    m_expected = QSharedPointer<cTransfer>::create(*m_connections, url, m_options);
    m_expected->start();
}

QSharedPointer<cTransfer> cDownloader::begin(const QUrl& url, std::optional<QIODevice*> device)
{
    if (m_expected && url == m_expectedUrl && !device)
        return std::exchange(m_expected, nullptr);
    return QSharedPointer<cTransfer>::create(*m_connections, url, m_options, device);
}

int cDownloader::leastRateInSettings()
{
    return cMachineSettings().value(QLatin1String(SettingsKey::LeastRate), cTransfer::DefaultLeastRate).toInt();
}

void cDownloader::cancel()
{
    m_isCancelled = true;
    if (m_expected)
        m_expected->cancel();
    if (hasReply())
        m_transfer->cancel();
}
