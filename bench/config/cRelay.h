#pragma once

#include <QtCore/QProcess>
#include <QtCore/QUrl>

/// bench/support/relay.py, a long line to a server on this machine, for as long as it lives.
class cRelay
{
public:
    /// @param milliseconds that each byte takes, each way
    cRelay(const QUrl& server, int milliseconds);
    ~cRelay();

    bool isRunning() const { return m_port > 0; }

    /// What the relay passes on of @p url, which is one of its server.
    QUrl through(QUrl url) const;

    /// Has the line break, or fall silent, behind so many bytes towards its clients; waitForEnd() waits for that.
    void cutAfter(qint64 bytes) { say("cut " + QByteArray::number(bytes)); }
    void holdAfter(qint64 bytes) { say("hold " + QByteArray::number(bytes)); }
    bool waitForEnd() { return !answer().isEmpty(); }

    /// The bytes that have gone towards clients since the last call.
    qint64 takeSent();

private:
    void say(const QByteArray& line) { m_process.write(line + '\n'); }
    QByteArray answer();

    QProcess m_process;
    int m_port = 0;
};
