#include "common/System.h"

#include "common/ExitCode.h"

#include <QtCore/QMetaObject>

#include <atomic>
#include <cstdlib>
#include <windows.h>

namespace {

std::atomic<cStopSignals*> s_receiver{nullptr};
std::atomic<bool> s_isStopping{false};

// Runs in a thread of its own. For the end of console or session the process is ended when it returns, so it waits.
BOOL WINAPI onControl(DWORD event)
{
    if (s_isStopping.exchange(true))
        std::_Exit(int(ExitCode::HardStop));
    if (cStopSignals* receiver = s_receiver)
        QMetaObject::invokeMethod(receiver, "stopRequested", Qt::QueuedConnection);
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        ::Sleep(INFINITE);
    return TRUE;
}

} // namespace

int System::terminalColumns()
{
    CONSOLE_SCREEN_BUFFER_INFO info;
    return ::GetConsoleScreenBufferInfo(::GetStdHandle(STD_ERROR_HANDLE), &info) ? info.dwSize.X : 0;
}

cStopSignals::cStopSignals(QObject* parent) : QObject(parent)
{
    s_receiver = this;
    ::SetConsoleCtrlHandler(onControl, TRUE);
}

cStopSignals::~cStopSignals()
{
    ::SetConsoleCtrlHandler(onControl, FALSE);
    s_receiver = nullptr;
}
