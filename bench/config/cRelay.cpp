#include "cRelay.h"

cRelay::cRelay(const QUrl& server, int milliseconds)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QStringLiteral("python3"),
                    {QStringLiteral(RELAY), QString::number(server.port()), QString::number(milliseconds)});
    m_port = answer().toInt();
}

cRelay::~cRelay()
{
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(5000))
        m_process.kill();
    m_process.waitForFinished(5000);
}

QUrl cRelay::through(QUrl url) const
{
    url.setPort(m_port);
    return url;
}

qint64 cRelay::takeSent()
{
    say("sent");
    return answer().toLongLong();
}

QByteArray cRelay::answer()
{
    while (!m_process.canReadLine() && m_process.waitForReadyRead(60000)) {
    }
    return m_process.readLine().trimmed();
}
