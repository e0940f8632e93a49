#include "cNginx.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QStandardPaths>
#include <QtCore/QThread>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>

namespace {

/// One process, which serves as the user who runs the benchmark; nothing outside the folder is written.
constexpr char Configuration[] = R"(
daemon off;
master_process off;
pid @/pid;
events { worker_connections 64; }
http {
    log_format sent '$bytes_sent $uri';
    access_log @/sent sent;
    sendfile on;
    client_body_temp_path @/body;
    proxy_temp_path @/proxy;
    fastcgi_temp_path @/fastcgi;
    uwsgi_temp_path @/uwsgi;
    scgi_temp_path @/scgi;
    server { listen 127.0.0.1:#; root @/root; }
}
)";

quint16 freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

/// Debian puts it where users do not look.
QString program()
{
    const QString name = QStringLiteral("nginx");
    const QString found = QStandardPaths::findExecutable(name);
    return found.isEmpty() ? QStandardPaths::findExecutable(name, {QStringLiteral("/usr/sbin")}) : found;
}

} // namespace

cNginx::cNginx() : m_port(freePort())
{
    if (!writeConfiguration())
        return;
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    m_process.start(program(), {"-p", m_folder.path(), "-c", m_folder.filePath("nginx.conf"), "-e", "stderr"});
    m_isRunning = m_process.waitForStarted() && waitUntilItAnswers();
}

cNginx::~cNginx()
{
    m_process.terminate();
    if (!m_process.waitForFinished(5000))
        m_process.kill();
    m_process.waitForFinished(5000);
}

QUrl cNginx::url(const QString& name) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1/%2").arg(QString::number(m_port), name));
}

qint64 cNginx::sent(const char* ending) const
{
    QFile log(m_folder.filePath(QStringLiteral("sent")));
    qint64 sent = 0;
    if (log.open(QIODevice::ReadOnly)) {
        for (QByteArray line = log.readLine(); !line.isEmpty(); line = log.readLine()) {
            if (line.trimmed().endsWith(ending))
                sent += line.left(line.indexOf(' ')).toLongLong();
        }
    }
    return sent;
}

bool cNginx::writeConfiguration()
{
    QByteArray text(Configuration);
    text.replace('@', m_folder.path().toLocal8Bit()).replace('#', QByteArray::number(m_port));
    QFile file(m_folder.filePath(QStringLiteral("nginx.conf")));
    return QDir(m_folder.path()).mkdir(QStringLiteral("root")) && file.open(QIODevice::WriteOnly) &&
           file.write(text) == text.size();
}

bool cNginx::waitUntilItAnswers()
{
    for (int i = 0; i < 100 && m_process.state() == QProcess::Running; ++i) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, m_port);
        if (socket.waitForConnected(100))
            return true;
        QThread::msleep(50);
    }
    return false;
}
