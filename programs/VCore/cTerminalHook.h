#pragma once

#include <Norvale/cDebug.h>

#include <QtCore/QDateTime>
#include <QtCore/QObject>

/// A hook of the log central that prints warnings and errors on standard error.
class cTerminalHook : public QObject
{
    Q_OBJECT

public slots:
    void showLine(const QString& channel, Qt::HANDLE threadId, const QDateTime& time, debugType level,
                  const QString& message);
};
