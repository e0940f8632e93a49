#pragma once

#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtCore/QUrl>

/**
 * An nginx on a free port of 127.0.0.1, with a configuration and a folder of its own in a temporary place, for as long
 * as it lives.
 */
class cNginx
{
public:
    cNginx();
    ~cNginx();

    /// False when it is not installed or does not start; standard error says why.
    bool isRunning() const { return m_isRunning; }

    QString path(const QString& name) const { return m_folder.filePath(QStringLiteral("root/") + name); }
    QUrl url(const QString& name) const;

    /// The bytes of all answers so far, heads included, to requests of paths that end in @p ending.
    qint64 sent(const char* ending) const;

private:
    bool writeConfiguration();
    bool waitUntilItAnswers();

    QTemporaryDir m_folder;
    QProcess m_process;
    quint16 m_port = 0;
    bool m_isRunning = false;
};
