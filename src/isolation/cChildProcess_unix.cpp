#include "isolation/cChildProcess.h"

#include <csignal>
#include <fcntl.h>
#ifdef Q_OS_LINUX
#include <sys/prctl.h>
#endif

cChildProcess::~cChildProcess() = default;

bool cChildProcess::startWith(qintptr end, const QString& program, const QStringList& arguments)
{
    m_end = end;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(EndVariable), QString::number(end));
    setProcessEnvironment(environment);
    setProcessChannelMode(ForwardedChannels);
    start(program, arguments);
    return waitForStarted();
}

// Runs in the child, between fork and exec.
void cChildProcess::setupChildProcess()
{
    ::fcntl(int(m_end), F_SETFD, 0);
    tieToThisProcess();
}

// A plugin that never looks at its connection again would outlive the suite.
void cChildProcess::tieToThisProcess()
{
#ifdef Q_OS_LINUX
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
}

QString cChildProcess::causeOfEnd() const
{
    if (exitStatus() == NormalExit)
        return QStringLiteral("exit code %1").arg(exitCode());
    switch (exitCode()) {
    case SIGSEGV:
        return QStringLiteral("SIGSEGV");
    case SIGABRT:
        return QStringLiteral("SIGABRT");
    case SIGBUS:
        return QStringLiteral("SIGBUS");
    case SIGFPE:
        return QStringLiteral("SIGFPE");
    case SIGILL:
        return QStringLiteral("SIGILL");
    case SIGKILL:
        return QStringLiteral("SIGKILL");
    case SIGTERM:
        return QStringLiteral("SIGTERM");
    default:
        return QStringLiteral("signal %1").arg(exitCode());
    }
}
