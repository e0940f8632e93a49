#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVarLengthArray>

/// The forms that a line takes on its way to the sinks.
namespace LineText {

/// A line of usual length is made without asking for memory.
using Bytes = QVarLengthArray<char, 512>;

// The bytes of a line are those of a stream that writes UTF-8, unless its user has done otherwise: what is valid UTF-8
// is taken as such, each other byte as a character of Latin-1.

/// The message of a line: the bytes up to the first zero byte.
QString message(const QByteArray& text);

/// The number of bytes of a line that are its message: those before the first zero byte.
int messageLength(const QByteArray& text);

/// The line for the debugger: "T<thread id>:<channel>:<message>".
QString forDebugger(Qt::HANDLE threadId, const QString& channel, const QString& message);

/// Appends the beginning of a line of the log file: "<time>-<channel>(<thread id>):", all in UTF-8.
void appendFilePrefix(Bytes& line, const QByteArray& time, const QByteArray& channel, Qt::HANDLE threadId);

/// Appends the UTF-8 form of the bytes of a line, without the way over UTF-16.
void appendUtf8(Bytes& line, const char* text, int length);

/// How many of the @p length bytes are the next piece, of about @p limit bytes: no character is cut in two.
int pieceLength(const char* text, int length, int limit);

/// The line end of the system's text files, as the line builder makes it of "\n".
const char* end();

/// The bytes of a line with everything shown that stands before its line end; see version/Shown.h.
QByteArray shownLine(const QByteArray& text);

} // namespace LineText

/**
 * The text of the time, made once a second.
 *
 * The form of the log file has no smaller unit, and making it costs many times what writing the line does: the system
 * is asked for the zone, and on Qt 5 day and month are named in its language. A changed clock is seen at once, a changed
 * zone with the next second. Not thread-safe.
 */
class cTimeText
{
public:
    /// Local time in the form of `Qt::TextDate`, in UTF-8.
    /// @param milliseconds since the start of 1970, UTC.
    const QByteArray& at(qint64 milliseconds);

private:
    QByteArray m_text;
    qint64 m_second = 0; // of `m_text`, once that is not empty
};

/// Hands one line to the debugger of the system; where there is none, writes it to standard error.
void writeDebuggerLine(const QString& line);
