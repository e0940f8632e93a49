#pragma once

#include <QtCore/QObject>

/// What every system does in its own way: System_unix.cpp and System_win.cpp.
namespace System {

/// Where a program says something.
enum Stream {
    Output, // standard output
    Error   // standard error
};

/// Columns of the terminal that @p stream is; 0 when it is none.
int terminalColumns(Stream stream = Error);

/// Whether @p stream is a terminal that has colours. Where the terminal has to be asked for them, it is.
bool hasColors(Stream stream);

} // namespace System

/**
 * Turns the stop signals of the system into a signal of Qt: Ctrl+C, and where they exist SIGTERM and SIGHUP; on Windows
 * Ctrl+Break and the end of console and session.
 *
 * The first asks for a stop in order and is told by the event loop. Where that does not come to it within a second, as
 * when something large from outside is being read, and the second signal in any case, end the process at once with
 * ExitCode::HardStop, whatever the program is doing: what it changes on the disk stands an end at any moment. There is
 * one object in a process.
 */
class cStopSignals : public QObject
{
    Q_OBJECT

public:
    explicit cStopSignals(QObject* parent = nullptr);
    ~cStopSignals() override;

    /// From now on the first signal waits for the event loop as long as it takes: plugins start and stop, whose state
    /// nobody else knows.
    void waitForLoop();

signals:
    /// A stop in order is asked for; emitted from the event loop of the object's thread.
    void stopRequested();
};
