#pragma once

#include "ChildRun.h"
#include "Platform.h"
#include "PluginFolder.h"
#include "Rows.h"
#include "SettingsSandbox.h"

#include "common/ExitCode.h"
#include "wire/cFrameDecoder.h"
#include "wire/cHostAddress.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QtEndian>
#include <QtNetwork/QLocalSocket>

#include <memory>

Q_DECLARE_METATYPE(ExitCode)

/// One frame with @p payload.
inline QByteArray frame(const QByteArray& payload)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian<qint32>(payload.size(), bytes.data());
    return bytes + payload;
}

/// Reads frames until one contains @p text; an empty list when the connection ends or nothing comes for ten seconds.
inline QByteArrayList framesUntil(QLocalSocket& socket, const QByteArray& text)
{
    cFrameDecoder decoder;
    QByteArrayList frames;
    QByteArray payload;
    do {
        decoder.append(socket.readAll());
        while (decoder.next(&payload)) {
            frames.append(payload);
            if (payload.contains(text))
                return frames;
        }
    } while (socket.waitForReadyRead(10000));
    return {};
}

/// A sandbox in which real hosts run as child processes, on the suite that the build has made or on one of the test's
/// own.
class HostFixture
{
public:
    HostFixture()
    {
        useSuite(VCORE_TEST_SUITE);
        qputenv("VCORE_TEST_JOURNAL", QFile::encodeName(path("journal")));
    }

    /// Makes @p folder the installation; the suite of the build unless a test asks for another one.
    void useSuite(const QString& folder)
    {
        m_suite = folder;
        m_sandbox.setInstallDir(folder);
    }

    /// Writes one value of the machine-wide settings.
    void setMachineValue(const QString& key, const QVariant& value) { m_sandbox.setMachineValue(key, value); }

    /// Writes another installation, whose feature @p feature has the plugins of @p plugins (name to the words of
    /// writePlugin()), each with @p library.
    QString makeSuite(const QString& feature, const Variables& plugins, const QString& library = QString())
    {
        const QString root = path(QString("suite%1").arg(++m_madeSuites));
        QString elements;
        for (auto it = plugins.begin(); it != plugins.end(); ++it) {
            elements += QString("<plugin name='%1' version='1.00.000'/>").arg(it.key());
            writePlugin(root, it.key() + "-1.00.000", it.value(), library);
        }
        const QString features = "<repository name='main' version='1.0.0'><feature name='%1' version='1.0.0' "
                                 "active='true'><plugins>%2</plugins></feature></repository>";
        writeFile(root + "/plugins/features.xml", features.arg(feature, elements).toUtf8());
        return root;
    }

    /// Runs VCore to its end, with the words of @p line as arguments, or with those given.
    Ended run(const QString& line) const { return run(wordsOf(line)); }
    Ended run(const QStringList& arguments, const Variables& variables = {}, const QString& folder = QString()) const
    {
        return runToEnd(VCORE_PROGRAM, arguments, variables, folder);
    }

    /// Runs VCore, which ends with @p code, and says all of @p said.
    void expect(const QString& line, ExitCode code, const QStringList& said = {}) const
    {
        expect(wordsOf(line), code, said);
    }
    void expect(const QStringList& arguments, ExitCode code, const QStringList& said = {}) const
    {
        const Ended ended = run(arguments);
        const QString all = ended.output + ended.reasons;
        for (const QString& text : said)
            QVERIFY2(all.contains(text), qPrintable(all));
        QCOMPARE(ended.code, int(code));
    }

    /// Starts the host of the fixture, with an empty journal, for Platform::interrupt().
    void startInterruptible()
    {
        prepareStart();
        Platform::startInterruptible(*m_host, VCORE_PROGRAM, {});
    }

    /// Waits until the host that was started serves. @return false when it does not; its reasons are in the test's
    /// output.
    bool isServing()
    {
        const QDeadlineTimer deadline(30000);
        while (!deadline.hasExpired() && !m_host->waitForFinished(20)) {
            const auto client = connectClient(frame(R"({"command":"LIST"})"));
            if (client->state() == QLocalSocket::ConnectedState && !framesUntil(*client, "HANDLED").isEmpty())
                return true;
        }
        return false;
    }

    /// Starts the host of the fixture, with an empty journal, and waits until it serves.
    bool serve(const QStringList& arguments = {})
    {
        prepareStart();
        Platform::start(*m_host, VCORE_PROGRAM, arguments);
        return isServing();
    }

    QProcess& host() { return *m_host; }

    /// Ends the host as a client does. @return its exit code.
    int quit()
    {
        run({"--send", R"({"command":"QUIT"})"});
        return exitCodeOf(*m_host);
    }

    /// The spans in a trace that a host wrote, in order of their begin.
    static QJsonArray spansOf(const QString& trace)
    {
        return QJsonDocument::fromJson(readFile(trace))["traceEvents"].toArray();
    }

    /// Connects a client, and sends the bytes given.
    std::unique_ptr<QLocalSocket> connectClient(const QByteArray& bytes = {}) const
    {
        auto socket = std::make_unique<QLocalSocket>();
        socket->connectToServer(cHostAddress::ofInstallation(m_suite).socketName());
        if (socket->waitForConnected(10000)) {
            socket->write(bytes);
            socket->flush();
        }
        return socket;
    }

    /// Lines that the plugins noted so far.
    QStringList journal() const { return QString::fromUtf8(readFile(path("journal"))).split('\n', Qt::SkipEmptyParts); }

    QString path(const QString& name) const { return m_sandbox.path() + '/' + name; }

private:
    void prepareStart()
    {
        QFile::remove(path("journal"));
        m_host = std::make_unique<QProcess>();
        m_host->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    }

    SettingsSandbox m_sandbox;
    QString m_suite;
    int m_madeSuites = 0;
    std::unique_ptr<QProcess> m_host;
};
