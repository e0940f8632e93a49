#pragma once

#include <Norvale/cDebug.h>

#include <QtCore/QDateTime>
#include <QtCore/QObject>

#include <functional>

/// Lets whoever starts the program see why something failed: the log on the terminal, and a clear end instead of a
/// crash.
namespace Diagnostics {

/// From now on the lines of all log channels appear on standard error (on Windows: as showReasons()).
void showLog();

/// From now on the warnings and errors of all log channels appear on standard error, as reasons of this program. They
/// and what Terminal::status() shows do not get into each other's way.
void showReasons();

/// From now on a fatal condition of the framework ends the process with ExitCode::Fatal: the message goes to standard
/// error, and what setLastAct() has set is done.
void catchFatalMessages();

/// Sets what is done before a fatal end, if that comes from the main thread; an empty function for nothing.
void setLastAct(const std::function<void()>& act);

} // namespace Diagnostics

/// A hook of the log central that prints warnings and errors on standard error.
class cTerminalHook : public QObject
{
    Q_OBJECT

public slots:
    void showLine(const QString& channel, Qt::HANDLE threadId, const QDateTime& time, debugType level,
                  const QString& message);
};
