#include <QtCore/QCoreApplication>
#include <QtCore/QLibrary>

#include <cstdio>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <csignal>
#include <poll.h>

/// Waits until the suite says something over the connection, or has ended it. Nothing is read.
static void waitForSuite(qintptr connection)
{
    pollfd waited{int(connection), POLLIN, 0};
    while (::poll(&waited, 1, -1) < 0 && errno == EINTR) {
    }
}
/// What asks a whole group of processes to end is for the suite, which stops its plugins first. Handlers, since
/// programs that the plugin starts would inherit that a signal is ignored.
static void leaveSignalsToSuite()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        std::signal(signal, [](int) {});
}
#else
#include <windows.h>

static void waitForSuite(qintptr) {} // it speaks at once

static void leaveSignalsToSuite()
{
    SetConsoleCtrlHandler([](DWORD) { return TRUE; }, TRUE);
}
#endif

// VPlugin LIBRARY, with the end of a connection in the environment: the suite starts it so, see the isolation room.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    bool isNumber = false;
    const qintptr connection = qintptr(qgetenv("NORVALE_PLUGIN_CONNECTION").toLongLong(&isNumber));
    qunsetenv("NORVALE_PLUGIN_CONNECTION");
    if (!isNumber || argc != 2) {
        std::fputs("VPlugin runs a plugin for a suite, which starts it; it does nothing by itself\n", stderr);
        return 64;
    }
    leaveSignalsToSuite();
    waitForSuite(connection);
    QLibrary library(QCoreApplication::arguments().at(1));
    const auto run = reinterpret_cast<int (*)(qintptr)>(library.resolve("norvale_run_plugin"));
    if (run)
        return run(connection);
    std::fprintf(stderr, "VPlugin: %s\n", qPrintable(library.errorString()));
    return 1;
}
