#include "isolation/cChildProcess.h"

#include "guard/CrashHandler.h"

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <csignal>
#include <fcntl.h>
#endif
#ifdef Q_OS_LINUX
#include <sys/prctl.h>
#endif

bool cChildProcess::startWith(qintptr end, const QString& program, const QStringList& arguments)
{
    m_end = end;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(EndVariable), QString::number(end));
    setProcessEnvironment(environment);
    setProcessChannelMode(ForwardedChannels);
    start(program, arguments);
    if (!waitForStarted())
        return false;
    tieToThisProcess();
    return true;
}

QString cChildProcess::causeOfEnd() const
{
    if (exitStatus() == NormalExit)
        return QStringLiteral("exit code %1").arg(exitCode());
    return CrashHandler::causeText(exitCode());
}

#ifdef Q_OS_WIN

// Closing the last handle of the job ends what is in it.
cChildProcess::~cChildProcess()
{
    if (m_job)
        CloseHandle(m_job);
}

cChildProcess::cChildProcess() = default;

void cChildProcess::prepareChild() {}

void cChildProcess::tieToThisProcess()
{
    m_job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(m_job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    const HANDLE process = OpenProcess(PROCESS_SET_QUOTA | PROCESS_TERMINATE, FALSE, DWORD(processId()));
    if (process) {
        AssignProcessToJobObject(m_job, process);
        CloseHandle(process);
    }
}

#else

// Newer Qt calls a function there; older calls a member.
cChildProcess::cChildProcess()
{
    setChildProcessModifier([this] { prepareChild(); });
}

cChildProcess::~cChildProcess() = default;

// Runs in the child, between fork and exec. A plugin that never looks at its connection again would outlive the suite.
void cChildProcess::prepareChild()
{
    ::fcntl(int(m_end), F_SETFD, 0);
#ifdef Q_OS_LINUX
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
}

void cChildProcess::tieToThisProcess() {} // the child has done it

#endif
