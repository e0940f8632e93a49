#pragma once

#include "SettingsSandbox.h"
#include "wire/cHostAddress.h"

#include <QtCore/QProcess>
#include <QtCore/QStringList>

#include <memory>

class QLocalSocket;

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
    ~HostFixture();

    /// Makes @p folder the installation; the suite of the build unless a test asks for another one.
    void useSuite(const QString& folder);

    /// Writes an installation whose feature @p feature has the plugins of @p manifests (name to text of `plugin`).
    QString makeSuite(const QString& feature, const QMap<QString, QString>& manifests);

    /// Runs VCore to its end.
    Ended run(const QStringList& arguments) const;

    /// Starts a host and waits until it serves. Null when it does not; then lastReasons() tells more.
    std::unique_ptr<QProcess> serve(const QStringList& arguments = {});

    /// Ends a host as the system would, and gives its exit code; -1 when it crashed or did not end.
    static int stop(QProcess& host);
    static int exitCodeOf(QProcess& host);

    /// Connects a client, and sends the bytes given.
    std::unique_ptr<QLocalSocket> connectClient(const QByteArray& bytes = {}) const;

    /// Lines that the plugins noted so far.
    QStringList journal() const;

    QString path(const QString& name) const { return m_sandbox.path() + QLatin1Char('/') + name; }

private:
    SettingsSandbox m_sandbox;
    QString m_suite;
};

/// One frame with @p payload.
QByteArray frame(const QByteArray& payload);

/// Reads frames until one contains @p text; an empty list when the connection ends or nothing comes for ten seconds.
QList<QByteArray> framesUntil(QLocalSocket& socket, const QByteArray& text);

/// True when the other side ends the connection within ten seconds.
bool isEnded(QLocalSocket& socket);
