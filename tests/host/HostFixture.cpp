#include "HostFixture.h"

#include "wire/cFrameDecoder.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QThread>
#include <QtCore/QtEndian>
#include <QtNetwork/QLocalSocket>

#ifdef Q_OS_UNIX
#include <csignal>
#endif

namespace {

constexpr int Patience = 30000;
constexpr int SocketPatience = 10000;

void writeFile(const QString& path, const QString& text)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0)
        qFatal("cannot write %s", qPrintable(path));
}

} // namespace

HostFixture::HostFixture()
{
    useSuite(QStringLiteral(VCORE_TEST_SUITE));
    qputenv("VCORE_TEST_JOURNAL", QFile::encodeName(path(QStringLiteral("journal"))));
}

HostFixture::~HostFixture() = default;

void HostFixture::useSuite(const QString& folder)
{
    m_suite = folder;
    m_sandbox.setInstallDir(folder);
}

QString HostFixture::makeSuite(const QString& feature, const QMap<QString, QString>& manifests)
{
    const QString root = path(QStringLiteral("made"));
    QDir(root).removeRecursively();
    QString plugins;
    for (auto it = manifests.begin(); it != manifests.end(); ++it) {
        plugins += QStringLiteral("<plugin name=\"%1\" version=\"1.00.000\"/>").arg(it.key());
        writeFile(QStringLiteral("%1/plugins/%2-1.00.000/Manifest.xml").arg(root, it.key()), it.value());
    }
    writeFile(root + QStringLiteral("/plugins/features.xml"),
              QStringLiteral("<repository version=\"1.0.0\"><feature name=\"%1\" version=\"1.0.0\" active=\"true\">"
                             "<plugins>%2</plugins></feature></repository>")
                  .arg(feature, plugins));
    return root;
}

HostFixture::Ended HostFixture::run(const QStringList& arguments) const
{
    QProcess process;
    process.start(QStringLiteral(VCORE_PROGRAM), arguments);
    const int code = exitCodeOf(process);
    return {code, QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

std::unique_ptr<QProcess> HostFixture::serve(const QStringList& arguments)
{
    QFile::remove(path(QStringLiteral("journal")));
    auto host = std::make_unique<QProcess>();
    host->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    host->start(QStringLiteral(VCORE_PROGRAM), arguments);
    const QDeadlineTimer deadline(Patience);
    while (!deadline.hasExpired() && !host->waitForFinished(20)) {
        const auto client = connectClient(frame(R"({"command":"LIST"})"));
        if (client->state() == QLocalSocket::ConnectedState && !framesUntil(*client, "HANDLED").isEmpty())
            return host;
    }
    host->kill();
    host->waitForFinished();
    return nullptr;
}

int HostFixture::stop(QProcess& host)
{
    host.terminate();
    return exitCodeOf(host);
}

int HostFixture::exitCodeOf(QProcess& host)
{
    if (host.state() != QProcess::NotRunning && !host.waitForFinished(Patience)) {
        host.kill();
        host.waitForFinished();
        return -1;
    }
    return host.exitStatus() == QProcess::NormalExit ? host.exitCode() : -1;
}

std::unique_ptr<QLocalSocket> HostFixture::connectClient(const QByteArray& bytes) const
{
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(cHostAddress::ofInstallation(m_suite).socketName());
    if (socket->waitForConnected(SocketPatience)) {
        socket->write(bytes);
        socket->flush();
    }
    return socket;
}

QStringList HostFixture::journal() const
{
    QFile file(path(QStringLiteral("journal")));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QByteArray frame(const QByteArray& payload)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian<qint32>(payload.size(), bytes.data());
    return bytes + payload;
}

QList<QByteArray> framesUntil(QLocalSocket& socket, const QByteArray& text)
{
    cFrameDecoder decoder;
    QList<QByteArray> frames;
    QByteArray payload;
    do {
        decoder.append(socket.readAll());
        while (decoder.next(&payload)) {
            frames.append(payload);
            if (payload.contains(text))
                return frames;
        }
    } while (socket.waitForReadyRead(SocketPatience));
    return {};
}

bool isEnded(QLocalSocket& socket)
{
    return socket.state() == QLocalSocket::UnconnectedState || socket.waitForDisconnected(SocketPatience);
}
