#pragma once

#include <Norvale/cLogCentral.h>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>

/// A log file for as long as it lives.
class LogFile
{
public:
    LogFile() { cLogCentral::setLogFile(path()); }
    ~LogFile() { cLogCentral::setLogFile(QString()); }

    QString path() const { return m_folder.filePath(QStringLiteral("test.log")); }

    /// Closes the log file, and reads it.
    QByteArray close()
    {
        cLogCentral::setLogFile(QString());
        return read();
    }

    /// What is on disk.
    QByteArray read() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// Closes the log file. @return its text, with "[channel]" where a line begins.
    QString closeAndStrip()
    {
        static const QRegularExpression begin(
            QStringLiteral("\\w+ \\w+ \\d+ \\d\\d:\\d\\d:\\d\\d \\d{4}-([^(]*)\\([0-9a-f]+\\):"));
        return QString::fromUtf8(close()).replace(begin, QStringLiteral("[\\1]"));
    }

private:
    QTemporaryDir m_folder;
};
