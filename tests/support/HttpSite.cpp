#include "HttpSite.h"

#include "MachineProgram.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

HttpSite::HttpSite(bool isSecure)
{
    QDir().mkpath(folder());
    QStringList arguments{QStringLiteral(NORVALE_TEST_SUPPORT "/http_site.py"), folder()};
    if (isSecure)
        arguments += makeCertificate();
    m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    MachineProgram::start(m_server, QStringLiteral("python3"), arguments);
    while (!m_server.canReadLine() && m_server.waitForReadyRead(10000)) {
    }
    m_port = m_server.readLine().trimmed().toInt();
    if (m_port == 0)
        qFatal("http_site.py does not run");
}

HttpSite::~HttpSite()
{
    m_server.closeWriteChannel();
    if (!m_server.waitForFinished(5000))
        m_server.kill();
    m_server.waitForFinished(5000);
}

bool HttpSite::write(const QString& path, const QByteArray& bytes)
{
    QFile file(folder() + QLatin1Char('/') + path);
    QDir().mkpath(QFileInfo(file).path());
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QString HttpSite::forge(const QString& steps)
{
    m_server.write(steps.toUtf8() + '\n');
    while (m_server.canReadLine() || m_server.waitForReadyRead(30000)) {
        const QString line = QString::fromUtf8(m_server.readLine().trimmed());
        if (line.startsWith(QLatin1Char('=')))
            return line.mid(1);
        if (!line.isEmpty())
            m_requests.append(line);
    }
    return QStringLiteral("no answer");
}

QUrl HttpSite::url(const QString& path, const QString& faults) const
{
    const QString scheme = QFile::exists(m_folder.filePath(QStringLiteral("key.pem"))) ? "https" : "http";
    const QString prefix = faults.isEmpty() ? faults : QLatin1Char('/') + faults;
    return QUrl(QStringLiteral("%1://127.0.0.1:%2%3/%4").arg(scheme, QString::number(m_port), prefix, path));
}

QUrl HttpSite::fileUrl(const QString& path) const
{
    return QUrl::fromLocalFile(QDir(folder()).absoluteFilePath(path));
}

QStringList HttpSite::takeRequests()
{
    // The server tells of a request before it answers, and of all of them before this has its answer.
    (void)forge(QString());
    return std::exchange(m_requests, {});
}

QStringList HttpSite::makeCertificate()
{
    const QStringList files{m_folder.filePath(QStringLiteral("cert.pem")),
                            m_folder.filePath(QStringLiteral("key.pem"))};
    QProcess openssl;
    MachineProgram::start(openssl, QStringLiteral("openssl"),
                          {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-batch", "-subj", "/CN=127.0.0.1", "-days",
                           "2", "-out", files.first(), "-keyout", files.last()});
    openssl.waitForFinished();
    return files;
}
