#pragma once

#include <QtCore/QObject>

/// What every system does in its own way: System_unix.cpp and System_win.cpp.
namespace System {

/// Columns of the terminal that standard error is; 0 when it is none.
int terminalColumns();

} // namespace System

/**
 * Turns the stop signals of the system into a signal of Qt: Ctrl+C, and where they exist SIGTERM and SIGHUP; on Windows
 * Ctrl+Break and the end of console and session.
 *
 * The first asks for a stop in order and is told by the event loop. Since a stop may hang, the second ends the process
 * at once with ExitCode::HardStop, whatever the program is doing. There is one object in a process.
 */
class cStopSignals : public QObject
{
    Q_OBJECT

public:
    explicit cStopSignals(QObject* parent = nullptr);
    ~cStopSignals() override;

signals:
    /// A stop in order is asked for; emitted from the event loop of the object's thread.
    void stopRequested();
};
