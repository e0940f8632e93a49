#include "guard/cSuiteTrial.h"

#include "HostSystem.h"
#include "cHostRun.h"
#include "wire/cHostAddress.h"

#include <Norvale/cMessageSocket.h>

#include <QtCore/QCoreApplication>
#include <QtNetwork/QLocalSocket>

namespace {

bool hasEnded(const QProcess& process)
{
    return process.state() == QProcess::NotRunning;
}

/// Ends a process that has not ended by itself, however its owner is left.
class cKilledAtLast
{
public:
    explicit cKilledAtLast(QProcess& process) : m_process(process) {}
    ~cKilledAtLast()
    {
        if (hasEnded(m_process))
            return;
        m_process.kill();
        m_process.waitForFinished();
    }

private:
    QProcess& m_process;
};

} // namespace

/// A connection to the suite that is being started.
class cSuiteTrial::cServing
{
public:
    /// Whether the suite has been started: its event loop answers.
    bool isServing()
    {
        if (m_socket.state() == QLocalSocket::UnconnectedState) {
            m_socket.connectToServer(m_address.socketName());
            m_isAsked = false;
        }
        if (m_socket.state() != QLocalSocket::ConnectedState)
            return false;
        if (!m_isAsked)
            cMessageSocket(&m_socket).writeMessage(R"({"command":"LIST"})");
        m_isAsked = true;
        m_answers += m_socket.readAll();
        return m_answers.contains("\"HANDLED\"");
    }

    void quit() { cMessageSocket(&m_socket).writeMessage(R"({"command":"QUIT"})"); }

private:
    const cHostAddress m_address = cHostAddress::ofThisInstallation();
    QLocalSocket m_socket;
    QByteArray m_answers;
    bool m_isAsked = false;
};

cSuiteTrial::cSuiteTrial(const Options& options) : m_options(options)
{
    constexpr int Tick = 20; // milliseconds
    QObject::connect(&m_stopSignals, &cStopSignals::stopRequested, &m_tick, [this] { m_isStopped = true; });
    m_tick.start(Tick);
    HostSystem::openNoWindowAtCrash();
}

std::optional<cCulpritSearch::Verdict> cSuiteTrial::run(const QStringList& leftOut)
{
    constexpr int EndSize = 4096;
    QProcess suite;
    const cKilledAtLast killed(suite);
    m_output.clear();
    QObject::connect(&suite, &QProcess::readyReadStandardOutput, &suite,
                     [&] { m_output = (m_output + suite.readAllStandardOutput()).right(EndSize); });
    suite.setStandardInputFile(QProcess::nullDevice());
    suite.setStandardErrorFile(QProcess::nullDevice());
    suite.start(QCoreApplication::applicationFilePath(), argumentsFor(leftOut));
    if (!suite.waitForStarted())
        return end(ExitCode::CulpritNotFound, QStringLiteral("the suite cannot be run: %1").arg(suite.errorString()));
    return m_options.command.isEmpty() ? judgeStart(suite) : judgeByCommand(suite);
}

std::optional<cCulpritSearch::Verdict> cSuiteTrial::judgeStart(QProcess& suite)
{
    if (!waitUntil([&] { return hasEnded(suite); }))
        return tooSlow(QStringLiteral("it did not end"));
    // The last line tells a whole run from a plugin that has ended the process.
    return m_output.trimmed().endsWith(cHostRun::StartOnlyAnswer.data()) ? judgeEnd(suite) : judgeEarlyEnd(suite);
}

std::optional<cCulpritSearch::Verdict> cSuiteTrial::judgeByCommand(QProcess& suite)
{
    cServing serving;
    bool isServing = false;
    if (!waitUntil([&] { return hasEnded(suite) || (isServing = serving.isServing()); }))
        return tooSlow(QStringLiteral("it did not start"));
    if (!isServing)
        return judgeEarlyEnd(suite);
    const std::optional<Verdict> verdict = judgeCommand(suite);
    if (!verdict || hasEnded(suite))
        return verdict;
    const QString finding = m_finding;
    serving.quit();
    const bool isStopped = waitUntil([&] { return hasEnded(suite); });
    if (verdict == cCulpritSearch::Bad)
        return say(*verdict, finding);
    const std::optional<Verdict> ended = isStopped ? judgeEnd(suite) : tooSlow(QStringLiteral("it did not stop"));
    return ended == cCulpritSearch::Good ? say(*verdict, finding) : ended;
}

std::optional<cCulpritSearch::Verdict> cSuiteTrial::judgeCommand(QProcess& suite)
{
    constexpr int CannotTellCode = 125;
    QProcess command;
    const cKilledAtLast killed(command);
    command.setProcessChannelMode(m_options.isQuiet ? QProcess::ForwardedErrorChannel : QProcess::ForwardedChannels);
    if (m_options.isQuiet)
        command.setStandardOutputFile(QProcess::nullDevice());
    command.setStandardInputFile(QProcess::nullDevice());
    command.start(m_options.command.first(), m_options.command.mid(1));
    if (!command.waitForStarted()) {
        return end(ExitCode::CulpritNotFound, QStringLiteral("the command \"%1\" cannot be run: %2")
                                                  .arg(m_options.command.first(), command.errorString()));
    }
    if (!waitUntil([&] { return hasEnded(command) || hasEnded(suite); }))
        return tooSlow(QStringLiteral("the command did not end"));
    if (hasEnded(suite))
        return judgeEarlyEnd(suite);
    if (command.exitStatus() == QProcess::CrashExit)
        return say(cCulpritSearch::Bad, QStringLiteral("breaks: the command crashed"));
    if (command.exitCode() == 0)
        return say(cCulpritSearch::Good, QStringLiteral("is good"));
    if (command.exitCode() == CannotTellCode)
        return say(cCulpritSearch::CannotTell, QStringLiteral("the command cannot tell"));
    return say(cCulpritSearch::Bad,
               QStringLiteral("breaks: the command ended with the code %1").arg(command.exitCode()));
}

// Of a suite that has ended.
std::optional<cCulpritSearch::Verdict> cSuiteTrial::judgeEnd(const QProcess& suite)
{
    if (suite.exitStatus() == QProcess::CrashExit)
        return say(cCulpritSearch::Bad, QStringLiteral("breaks: it crashed"));
    const ExitCode code = ExitCode(suite.exitCode());
    if (code == ExitCode::HostRunning)
        return end(code, QStringLiteral("another host has been started meanwhile"));
    if (code == ExitCode::SocketFailed || code == ExitCode::FileFailed)
        return end(code, QStringLiteral("the suite ended with the code %1").arg(suite.exitCode()));
    if (code == ExitCode::Ok)
        return say(cCulpritSearch::Good, QStringLiteral("is good"));
    return say(cCulpritSearch::Bad, QStringLiteral("breaks: it ended with the code %1").arg(suite.exitCode()));
}

// Of one that has ended before it was to.
std::optional<cCulpritSearch::Verdict> cSuiteTrial::judgeEarlyEnd(const QProcess& suite)
{
    const std::optional<Verdict> verdict = judgeEnd(suite);
    return verdict == cCulpritSearch::Good ? say(cCulpritSearch::Bad, QStringLiteral("breaks: a plugin ended it"))
                                           : verdict;
}

cCulpritSearch::Verdict cSuiteTrial::say(Verdict verdict, const QString& finding)
{
    m_finding = finding;
    return verdict;
}

std::optional<cCulpritSearch::Verdict> cSuiteTrial::end(ExitCode code, const QString& reason)
{
    m_code = endWith(code, reason);
    return std::nullopt;
}

std::optional<cCulpritSearch::Verdict> cSuiteTrial::tooSlow(const QString& what)
{
    if (m_isStopped)
        return end(ExitCode::CulpritNotFound, QStringLiteral("the search has been stopped"));
    return say(cCulpritSearch::Bad, QStringLiteral("breaks: %1 within %2 s").arg(what).arg(m_options.seconds));
}

// Serves the events meanwhile, a stop signal among them. False when that came, and when it has lasted too long.
bool cSuiteTrial::waitUntil(const std::function<bool()>& isDone)
{
    const QDeadlineTimer deadline(m_options.seconds * qint64(1000));
    QCoreApplication::processEvents();
    while (!m_isStopped && !isDone()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return !m_isStopped;
}

QStringList cSuiteTrial::argumentsFor(const QStringList& leftOut) const
{
    QStringList arguments{QStringLiteral("--run"), QStringLiteral("--no-guard")};
    if (m_options.command.isEmpty())
        arguments.append(QStringLiteral("--start-only"));
    if (!m_options.logPath.isEmpty())
        arguments += QStringList{QStringLiteral("--log"), m_options.logPath};
    const QStringList without = m_options.without + leftOut;
    arguments.append(QStringLiteral("--categories=") + m_options.categories.join(QLatin1Char(',')));
    if (!without.isEmpty())
        arguments.append(QStringLiteral("--without=") + without.join(QLatin1Char(',')));
    return arguments;
}
