#include "HostFixture.h"

#include "Platform.h"

#include "wire/cFrameDecoder.h"
#include "wire/cHostAddress.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QtEndian>
#include <QtNetwork/QLocalSocket>

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

void HostFixture::useSuite(const QString& folder)
{
    m_suite = folder;
    m_sandbox.setInstallDir(folder);
}

QString HostFixture::makeSuite(const QString& feature, const QMap<QString, QString>& manifests)
{
    const QString root = path(QStringLiteral("suite%1").arg(++m_madeSuites));
    QString plugins;
    for (auto it = manifests.begin(); it != manifests.end(); ++it) {
        plugins += QStringLiteral("<plugin name=\"%1\" version=\"1.00.000\"/>").arg(it.key());
        writeFile(QStringLiteral("%1/plugins/%2-1.00.000/Manifest.xml").arg(root, it.key()), it.value());
    }
    writeFile(root + QStringLiteral("/plugins/features.xml"),
              QStringLiteral(
                  "<repository name=\"main\" version=\"1.0.0\"><feature name=\"%1\" version=\"1.0.0\" active=\"true\">"
                  "<plugins>%2</plugins></feature></repository>")
                  .arg(feature, plugins));
    return root;
}

HostFixture::Ended HostFixture::run(const QStringList& arguments, const QMap<QString, QString>& environment) const
{
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (auto it = environment.begin(); it != environment.end(); ++it)
        variables.insert(it.key(), it.value());
    QProcess process;
    process.setProcessEnvironment(variables);
    Platform::start(process, QStringLiteral(VCORE_PROGRAM), arguments);
    const int code = exitCodeOf(process);
    return {code, Platform::consoleText(process.readAllStandardOutput()),
            Platform::consoleText(process.readAllStandardError())};
}

void HostFixture::prepareStart()
{
    QFile::remove(path(QStringLiteral("journal")));
    m_host = std::make_unique<QProcess>();
    m_host->setProcessChannelMode(QProcess::ForwardedErrorChannel);
}

void HostFixture::start(const QStringList& arguments)
{
    prepareStart();
    m_host->start(QStringLiteral(VCORE_PROGRAM), arguments);
}

void HostFixture::startInterruptible()
{
    prepareStart();
    Platform::startInterruptible(*m_host, QStringLiteral(VCORE_PROGRAM), {});
}

bool HostFixture::serve(const QStringList& arguments)
{
    start(arguments);
    return isServing();
}

bool HostFixture::isServing()
{
    const QDeadlineTimer deadline(Patience);
    while (!deadline.hasExpired() && !m_host->waitForFinished(20)) {
        const auto client = connectClient(frame(R"({"command":"LIST"})"));
        if (client->state() == QLocalSocket::ConnectedState && !framesUntil(*client, "HANDLED").isEmpty())
            return true;
    }
    return false;
}

int HostFixture::quit()
{
    run({QStringLiteral("--send"), QStringLiteral(R"({"command":"QUIT"})")});
    return exitCodeOf(*m_host);
}

int HostFixture::exitCodeOf(QProcess& process)
{
    if (process.state() != QProcess::NotRunning && !process.waitForFinished(Patience)) {
        process.kill();
        process.waitForFinished();
        return -1;
    }
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

QJsonArray HostFixture::spansOf(const QString& trace)
{
    QFile file(trace);
    return QJsonDocument::fromJson(file.open(QIODevice::ReadOnly) ? file.readAll() : "")["traceEvents"].toArray();
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
