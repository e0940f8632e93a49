#pragma once

#include "ExitCode.h"
#include "SettingsSandbox.h"

#include <QtCore/QJsonArray>
#include <QtCore/QProcess>
#include <QtCore/QStringList>

#include <memory>

class QLocalSocket;

Q_DECLARE_METATYPE(ExitCode)

/// A sandbox in which real hosts run as child processes, on the suite that the build has made or on one of the test's
/// own.
class HostFixture
{
public:
    struct Ended
    {
        int code;
        QString output;
        QString reasons;
    };

    HostFixture();

    /// Makes @p folder the installation; the suite of the build unless a test asks for another one.
    void useSuite(const QString& folder);

    /// Writes one value of the machine-wide settings.
    void setMachineValue(const QString& key, const QVariant& value) { m_sandbox.setMachineValue(key, value); }

    /// Writes another installation, whose feature @p feature has the plugins of @p manifests (name to text of
    /// `plugin`).
    QString makeSuite(const QString& feature, const QMap<QString, QString>& manifests);

    /// Runs VCore to its end, with the words of @p line as arguments, or with those given.
    Ended run(const QString& line) const { return run(line.split(QLatin1Char(' '), Qt::SkipEmptyParts)); }
    Ended run(const QStringList& arguments, const QMap<QString, QString>& environment = {}) const;

    /// Starts the host of the fixture, with an empty journal.
    void start(const QStringList& arguments = {});

    /// The same, for Platform::interrupt().
    void startInterruptible();

    /// Waits until the host that was started serves. @return false when it does not; its reasons are in the test's
    /// output.
    bool isServing();

    /// Starts the host and waits until it serves.
    bool serve(const QStringList& arguments = {});

    QProcess& host() { return *m_host; }

    /// Ends the host as a client does. @return as exitCodeOf().
    int quit();

    /// Waits for the end of a process. @return its exit code; -1 when it crashed or did not end.
    static int exitCodeOf(QProcess& process);

    /// The spans in a trace that a host wrote, in order of their begin.
    static QJsonArray spansOf(const QString& trace);

    /// Connects a client, and sends the bytes given.
    std::unique_ptr<QLocalSocket> connectClient(const QByteArray& bytes = {}) const;

    /// Lines that the plugins noted so far.
    QStringList journal() const;

    QString path(const QString& name) const { return m_sandbox.path() + QLatin1Char('/') + name; }

private:
    void prepareStart();

    SettingsSandbox m_sandbox;
    QString m_suite;
    int m_madeSuites = 0;
    std::unique_ptr<QProcess> m_host;
};

/// One frame with @p payload.
QByteArray frame(const QByteArray& payload);

/// Reads frames until one contains @p text; an empty list when the connection ends or nothing comes for ten seconds.
QList<QByteArray> framesUntil(QLocalSocket& socket, const QByteArray& text);

/// True when the other side ends the connection within ten seconds.
bool isEnded(QLocalSocket& socket);
