#include "isolation/cChildProcess.h"

#include <windows.h>

// Closing the last handle of the job ends what is in it.
cChildProcess::~cChildProcess()
{
    if (m_job)
        CloseHandle(m_job);
}

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

void cChildProcess::setupChildProcess() {}

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

QString cChildProcess::causeOfEnd() const
{
    const quint32 code = quint32(exitCode());
    if (code < 0x80000000u) // what is above are exceptions
        return QStringLiteral("exit code %1").arg(code);
    return QStringLiteral("exception 0x%1").arg(QString::number(code, 16).toUpper());
}
