#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVarLengthArray>

/// The forms that a line takes on its way to the sinks.
namespace LineText {

/// A line of usual length is made without asking for memory.
using Bytes = QVarLengthArray<char, 512>;

/// The message of a line: the bytes up to the first zero byte, each a character of Latin-1.
QString message(const QByteArray& text);

/// The line for the debugger: "T<thread id>:<channel>:<message>".
QString forDebugger(Qt::HANDLE threadId, const QString& channel, const QString& message);

/// The beginning of the line for the log file: "<time>-<channel>(<thread id>):", all in UTF-8.
void appendFilePrefix(Bytes& line, const QByteArray& time, const QByteArray& channel, Qt::HANDLE threadId);

/// Appends a number in lower-case hexadecimal, with no prefix and no padding.
void appendHex(Bytes& line, quintptr number);

/// Appends the UTF-8 form of Latin-1 text, without the way over UTF-16.
void appendLatin1(Bytes& line, const char* text, int length);

/// Up to where the bytes of a line are its message: the first zero byte, or the end.
int messageLength(const QByteArray& text);

} // namespace LineText
