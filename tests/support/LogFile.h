#pragma once

#include "Files.h"
#include "Platform.h"

#include <Norvale/cLogCentral.h>
#include <QtCore/QDir>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>

/// A folder with a log file in use, for as long as it lives.
class LogFile
{
public:
    LogFile() { cLogCentral::setLogFile(path("first.log")); }
    ~LogFile() { cLogCentral::setLogFile(QString()); }

    QString path(const QString& name) const { return m_folder.filePath(name); }

    /// What is on disk, with plain line ends, all files in the order of their names. A warning or an error brings what
    /// is before it there.
    QString content() const
    {
        QByteArray bytes;
        for (const QString& name : QDir(m_folder.path()).entryList(QDir::Files, QDir::Name))
            bytes += readFile(path(name));
        return Platform::consoleText(bytes);
    }

    /// The same, with "[channel]" where a line begins.
    QString lines() const
    {
        static const QRegularExpression begin("\\w+ \\w+ \\d+ \\d\\d:\\d\\d:\\d\\d \\d{4}-([^(]*)\\([0-9a-f]+\\):");
        return content().replace(begin, "[\\1]");
    }

    /// Closes the log file. @return the lines that are then on disk.
    QString close() const
    {
        cLogCentral::setLogFile(QString());
        return lines();
    }

private:
    QTemporaryDir m_folder;
};
