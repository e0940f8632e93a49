#include "config/cConnections.h"

#include <QtNetwork/QNetworkReply>

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
