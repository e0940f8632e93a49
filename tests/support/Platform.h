#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QString>

#include <memory>

/// In what a test sees, the systems differ here.
namespace Platform {

/// Whether @p process was ended by abort(), as after a fatal message.
bool isAborted(const QProcess& process);

/// Starts a program of this project. When the environment of @p process has FILE_FAULTS, the library of FileFaults/ is
/// in it: where that is not preloaded by the system, here.
void start(QProcess& process, const QString& program, const QStringList& arguments);

/// Starts this program once more. It has no console; to have the library of FileFaults/ in it as above, it calls
/// loadFaults() before all else.
void startAgain(QProcess& process, const QStringList& arguments);
void loadFaults();

/// Starts a program so that it can be interrupted: on Windows that needs a terminal.
void startInterruptible(QProcess& process, const QString& program, const QStringList& arguments);

/// Asks @p process, which was started so, to end, as a user does.
void interrupt(QProcess& process);

/// Whether a process with that id runs.
bool isRunning(qint64 process);

/// Starts a program on a terminal. Its standard output is what is drawn. @return false when no terminal is to be had.
bool startOnTerminal(QProcess& process, const QString& program, const QStringList& arguments);

/// The text in what was drawn on a terminal.
QString drawnText(QByteArray bytes);

/// What can be told in a word.
struct Traits
{
    const char* libraryEnding;
    const char* lineEnd;
    bool hasUnixFiles;
    bool keepsBytesOverAReset;
};
extern const Traits Here;

/// The file of the library @p name.
inline QString library(const QString& name)
{
    return name + QLatin1String(Here.libraryEnding);
}

/// Makes @p path a link to @p target. @return false when it is none afterwards.
bool link(const QString& target, const QString& path);

/// Whether files have modes and links, and any name but "/".
inline bool hasUnixFiles()
{
    return Here.hasUnixFiles;
}

/// Whether what has come over a connection can still be read when a reset has followed it. Windows drops it; Wine tells
/// of neither, when the reset comes while the program asks for no events, and Qt asks anew after each.
inline bool keepsBytesOverAReset()
{
    return Here.keepsBytesOverAReset;
}

/// What a program wrote to its standard streams, with plain line ends.
inline QString consoleText(QByteArray bytes)
{
    return QString::fromUtf8(bytes.replace(Here.lineEnd, "\n"));
}

/// The line end of text files, which the line builder of the log writes, too.
inline QString lineEnd()
{
    return QLatin1String(Here.lineEnd);
}

/// What child processes write for a debugger, from the construction on: on Windows a debugger listens; elsewhere it is
/// standard error. One at a time, on the whole machine.
class DebuggerLines
{
public:
    DebuggerLines();
    ~DebuggerLines();

    /// What @p child, which has ended, wrote there. Line ends are plain.
    QByteArray take(QProcess& child);

private:
    class Listener;
    std::unique_ptr<Listener> m_listener;
};

} // namespace Platform
