#include "common/System.h"

#include "common/ExitCode.h"

#include <QtCore/QMetaObject>

#include <atomic>
#include <cstdlib>
#include <windows.h>

namespace {

std::atomic<cStopSignals*> s_receiver{nullptr};
std::atomic<bool> s_isStopping{false};
std::atomic<bool> s_isLoopWaitedFor{false};
std::atomic<bool> s_isHeard{false}; // the first signal, by the event loop

constexpr DWORD Patience = 1000; // milliseconds that the event loop has to hear of the first signal

void tell(cStopSignals* receiver)
{
    const auto hear = [receiver] {
        s_isHeard = true;
        emit receiver->stopRequested();
    };
    QMetaObject::invokeMethod(receiver, hear, Qt::QueuedConnection);
    ::Sleep(Patience);
    if (!s_isHeard && !s_isLoopWaitedFor && s_receiver)
        std::_Exit(int(ExitCode::HardStop));
}

// Runs in a thread of its own. For the end of console or session the process is ended when it returns, so it waits.
BOOL WINAPI onControl(DWORD event)
{
    if (s_isStopping.exchange(true))
        std::_Exit(int(ExitCode::HardStop));
    if (cStopSignals* receiver = s_receiver)
        tell(receiver);
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        ::Sleep(INFINITE);
    return TRUE;
}

} // namespace

int System::terminalColumns(Stream stream)
{
    CONSOLE_SCREEN_BUFFER_INFO info;
    const HANDLE console = ::GetStdHandle(stream == Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    return ::GetConsoleScreenBufferInfo(console, &info) ? info.dwSize.X : 0;
}

// A console before Windows 10 knows no colours of this kind and refuses the mode.
bool System::hasColors(Stream stream)
{
    constexpr DWORD Sequences = 0x0004; // ENABLE_VIRTUAL_TERMINAL_PROCESSING, which older headers lack
    const HANDLE console = ::GetStdHandle(stream == Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    DWORD mode = 0;
    return qgetenv("TERM") != "dumb" && ::GetConsoleMode(console, &mode) &&
           ::SetConsoleMode(console, mode | ENABLE_PROCESSED_OUTPUT | Sequences);
}

cStopSignals::cStopSignals(QObject* parent) : QObject(parent)
{
    s_receiver = this;
    ::SetConsoleCtrlHandler(onControl, TRUE);
}

void cStopSignals::waitForLoop()
{
    s_isLoopWaitedFor = true;
}

cStopSignals::~cStopSignals()
{
    ::SetConsoleCtrlHandler(onControl, FALSE);
    s_receiver = nullptr;
}
