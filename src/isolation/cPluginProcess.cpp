#include "isolation/cPluginProcess.h"

#include "log/cFrameworkLog.h"

#include <QtCore/QCoreApplication>

namespace {

/// How long a process may take to end once its connection has ended, in milliseconds.
constexpr int EndLimit = 5000;

cLog pluginLog()
{
    return cFrameworkLog::plugins();
}

} // namespace

cPluginProcess::cPluginProcess(const cPluginPrograms& programs, const cPluginId& id, const QString& folder, int limit)
    : m_programs(programs), m_id(id), m_folder(folder), m_remote(std::make_shared<cRemotePlugin>(id.toString(), limit))
{
    m_time.start();
}

cPluginProcess::~cPluginProcess()
{
    m_step = Step::Stopping;
    end(QStringLiteral("%1 has been unloaded").arg(m_id.toString()), EndLimit);
    m_remote->withdrawAll();
}

bool cPluginProcess::load()
{
    m_step = Step::Starting;
    if (!launch())
        return false;
    cFrameWriter frame(FrameKind::Load);
    frame.text(m_id.name());
    frame.text(m_id.version().toString());
    frame.text(m_folder);
    frame.text(QCoreApplication::organizationName());
    frame.text(QCoreApplication::applicationName());
    frame.number(quint32(m_remote->limit()));
    return ask(frame);
}

bool cPluginProcess::launch()
{
    const QString program = m_programs.program();
    if (program.isEmpty())
        return fail(QStringLiteral("there is no %1 to run it: looked in %2")
                        .arg(cPluginPrograms::programName(), m_programs.places().join(QStringLiteral(", "))));
    const cPipe::Ends ends = cPipe::makeEnds();
    if (ends.own == cPipe::Invalid)
        return fail(QStringLiteral("the system has no connection for its process"));
    m_process.reset(new cChildProcess);
    const bool isStarted = m_process->startWith(ends.other, program, {m_programs.library()});
    cPipe::closeEnd(ends.other);
    if (!isStarted) {
        cPipe::closeEnd(ends.own);
        return fail(QStringLiteral("%1 cannot be run: %2").arg(program, m_process->errorString()));
    }
    m_remote->connectTo(ends.own, [this] { onClosed(); });
    return true;
}

bool cPluginProcess::start()
{
    if (!ask(FrameKind::Start))
        return false;
    m_step = Step::Running;
    m_whyDown.clear();
    m_remote->withdrawStale();
    return true;
}

bool cPluginProcess::stop()
{
    const bool isThere = m_step == Step::Running && m_process;
    m_step = Step::Stopping;
    const bool isStopped = !isThere || ask(FrameKind::Stop);
    end(QStringLiteral("%1 has been stopped").arg(m_id.toString()), EndLimit);
    m_remote->withdrawAll();
    return isStopped;
}

bool cPluginProcess::ask(FrameKind kind)
{
    cFrameWriter frame(kind);
    return ask(frame);
}

// A process that does not do what it is told within the limit is of no more use.
bool cPluginProcess::ask(cFrameWriter& frame)
{
    cFrameReader answer;
    QString reason;
    if (m_remote->request(frame, &answer, &reason))
        return true;
    const QString id = m_id.toString();
    if (m_process)
        end(reason.startsWith(id) ? reason : QStringLiteral("%1 has ended: %2").arg(id, reason), 0);
    return fail(reason);
}

/// The process has ended, or has closed its connection, which is the same.
void cPluginProcess::onClosed()
{
    if (!m_process)
        return;
    m_process->waitForFinished(EndLimit);
    const bool hasEnded = m_process->state() == QProcess::NotRunning;
    const QString why =
        QStringLiteral("%1 has ended (%2)")
            .arg(m_id.toString(), hasEnded ? m_process->causeOfEnd() : QStringLiteral("its connection has"));
    end(why, 0);
    if (m_step != Step::Running)
        return; // who waits for the answer tells
    m_whyDown = why;
    pluginLog().error().noquote() << why + QStringLiteral("; the suite goes on without it") << Qt::endl;
    planRestart();
}

/// Ends the connection and the process, which has so many milliseconds to go by itself. @p why is what calls are
/// refused with.
void cPluginProcess::end(const QString& why, int patience)
{
    m_remote->disconnect(why);
    if (!m_process)
        return;
    if (m_process->state() != QProcess::NotRunning && !m_process->waitForFinished(patience)) {
        m_process->kill();
        m_process->waitForFinished(EndLimit);
    }
    m_process.reset();
}

void cPluginProcess::planRestart()
{
    while (!m_restarts.empty() && m_time.elapsed() - m_restarts.front() > RestartSpan)
        m_restarts.pop_front();
    if (int(m_restarts.size()) < MostRestarts) {
        m_restarts.push_back(m_time.elapsed());
        QMetaObject::invokeMethod(
            this, [this] { restart(); }, Qt::QueuedConnection);
        return;
    }
    const QString text = QStringLiteral("%1 stays down: it has been started again %2 times in five minutes");
    m_whyDown += QStringLiteral("; ") + text.arg(m_id.toString()).arg(MostRestarts);
    pluginLog().error().noquote() << text.arg(m_id.toString()).arg(MostRestarts) << Qt::endl;
}

void cPluginProcess::restart()
{
    if (m_step != Step::Running)
        return; // it has been stopped meanwhile
    if (load() && start()) {
        pluginLog().info().noquote() << QStringLiteral("started %1 again").arg(m_id.toString()) << Qt::endl;
        return;
    }
    m_whyDown = QStringLiteral("%1 is not started again: %2").arg(m_id.toString(), m_errorString);
    pluginLog().error().noquote() << m_whyDown << Qt::endl;
    m_step = Step::Running; // in the eyes of the suite, which stops it when the time comes
    planRestart();
}

bool cPluginProcess::fail(const QString& reason)
{
    const QString id = m_id.toString();
    m_errorString = reason.startsWith(id) ? QStringLiteral("its process") + reason.mid(id.size()) : reason;
    return false;
}
