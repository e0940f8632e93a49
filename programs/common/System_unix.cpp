#include "common/System.h"

#include "common/ExitCode.h"

#include <QtCore/QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int StopSignals[] = {SIGINT, SIGTERM, SIGHUP};

constexpr unsigned Patience = 1; // seconds that the event loop has to hear of the first signal

int s_pipe[2] = {-1, -1};
volatile std::sig_atomic_t s_isStopping = 0;
volatile std::sig_atomic_t s_isLoopWaitedFor = 0;

void onAlarm(int)
{
    ::_exit(int(ExitCode::HardStop));
}

// Only what is safe in a signal handler: one byte into the pipe, the alarm, or the hard end.
void onSignal(int)
{
    if (s_isStopping)
        ::_exit(int(ExitCode::HardStop));
    s_isStopping = 1;
    if (!s_isLoopWaitedFor)
        ::alarm(Patience);
    const int error = errno;
    const char byte = 1;
    if (::write(s_pipe[1], &byte, 1) != 1)
        ::_exit(int(ExitCode::HardStop));
    errno = error;
}

void setHandler(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
}

// As nohup and shells in the background ask for; it is left so.
bool isIgnored(int signal)
{
    struct sigaction action = {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

int System::terminalColumns(Stream stream)
{
    constexpr int Usual = 80; // some terminals do not tell
    const int descriptor = stream == Output ? STDOUT_FILENO : STDERR_FILENO;
    winsize size = {};
    if (!::isatty(descriptor))
        return 0;
    return ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : Usual;
}

bool System::hasColors(Stream stream)
{
    const QByteArray terminal = qgetenv("TERM");
    return ::isatty(stream == Output ? STDOUT_FILENO : STDERR_FILENO) && !terminal.isEmpty() && terminal != "dumb";
}

cStopSignals::cStopSignals(QObject* parent) : QObject(parent)
{
    if (::pipe(s_pipe) != 0)
        return; // without the pipe the signals keep their plain effect
    for (const int end : s_pipe)
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    auto* notifier = new QSocketNotifier(s_pipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        waitForLoop();
        notifier->setEnabled(false);
        emit stopRequested();
    });
    setHandler(SIGALRM, onAlarm);
    for (const int signal : StopSignals) {
        if (!isIgnored(signal))
            setHandler(signal, onSignal);
    }
}

void cStopSignals::waitForLoop()
{
    if (s_isLoopWaitedFor)
        return;
    s_isLoopWaitedFor = 1;
    ::alarm(0);
    setHandler(SIGALRM, SIG_DFL); // which plugins may use
}

cStopSignals::~cStopSignals()
{
    for (const int signal : StopSignals) {
        if (!isIgnored(signal))
            setHandler(signal, SIG_DFL);
    }
    waitForLoop();
    s_isLoopWaitedFor = 0;
    for (int& end : s_pipe) {
        ::close(end);
        end = -1;
    }
}
