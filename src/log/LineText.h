#pragma once

#include <QtCore/QString>

class QDateTime;

/// The forms that a line takes on its way to the sinks.
namespace LineText {

/// The message of a line: the bytes up to the first zero byte, each a character of Latin-1.
QString message(const QByteArray& text);

/// The line for the debugger.
QString forDebugger(Qt::HANDLE threadId, const QString& channel, const QString& message);

/// The line for the log file, in UTF-8.
QByteArray forFile(const QDateTime& time, const QString& channel, Qt::HANDLE threadId, const QString& message);

} // namespace LineText
