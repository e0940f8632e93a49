#include "config/cConnections.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>
#include <QtNetwork/QNetworkReply>

namespace {

/// The most that a wait goes without a look at what it waits for, in milliseconds.
constexpr int WaitStep = 100;

} // namespace

cConnections::cConnections(QObject* parent) : QNetworkAccessManager(parent)
{
    connect(this, &QNetworkAccessManager::finished, this, &cConnections::note);
}

void cConnections::closeIdle()
{
    // Qt would end transfers that run as well.
    if (!m_areKept || m_running > 0 || m_idle.elapsed() < MostIdle)
        return;
    clearConnectionCache();
    m_areKept = false;
}

void cConnections::waitWhile(const std::function<bool()>& goesOn)
{
    // Events are waited for, not asked for again and again; the timer is an event every step.
    QTimer step;
    step.start(WaitStep);
    while (goesOn())
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

QNetworkReply* cConnections::createRequest(Operation operation, const QNetworkRequest& request, QIODevice* outgoing)
{
    ++m_running;
    return QNetworkAccessManager::createRequest(operation, request, outgoing);
}

void cConnections::note(const QNetworkReply* reply)
{
    --m_running;
    m_idle.start();
    // Errors of the network itself leave no connection; those that a server tells do.
    if (reply->error() == QNetworkReply::NoError || reply->error() > QNetworkReply::UnknownProxyError)
        m_areKept = true;
}
