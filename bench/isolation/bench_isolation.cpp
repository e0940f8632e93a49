// What it costs that a plugin runs in a process of its own: a call of its service by name, there and back, beside a
// bare echo of as many bytes by a program at the other end of a QLocalSocket; and the private memory of VPlugin before
// it is told its plugin, beside that of a program with a QCoreApplication alone. Both echoes and this program share one
// core, so that what is measured is the work and not where the scheduler happened to put the processes.

#include "Goals.h"

#include "isolation/Frames.h"
#include "isolation/cChildProcess.h"
#include "isolation/cPipe.h"
#include "isolation/cPluginProcess.h"
#include "services/cServiceMgr.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>

#include <memory>
#include <sched.h>

namespace {

void stayOnThisCore()
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(sched_getcpu(), &cores);
    if (sched_setaffinity(0, sizeof cores, &cores) != 0)
        std::fprintf(stderr, "cannot stay on one core\n");
}

IServiceMgr& services()
{
    static cServiceMgr manager;
    return manager;
}

/// The plugin in its process.
class cEchoPlugin
{
public:
    cEchoPlugin()
    {
        QFile manifest(m_folder.filePath("Manifest.xml"));
        if (manifest.open(QFile::WriteOnly))
            manifest.write(
                "<m><plugin runtime_api_version='13'><start><library filename='echoPlugin' function='create'/>"
                "</start></plugin></m>");
        manifest.close();
        QFile::copy(ECHO_PLUGIN, m_folder.filePath("echoPlugin.so"));
        services();
        m_process.reset(new cPluginProcess(cPluginPrograms(VPLUGIN, NORVALE_LIBRARY), {"Echo", cVersion("1.0.0")},
                                           m_folder.path(), 30));
        if (!m_process->load() || !m_process->start())
            std::fprintf(stderr, "no plugin: %s\n", qPrintable(m_process->errorString()));
    }
    ~cEchoPlugin() { m_process->stop(); }

private:
    QTemporaryDir m_folder;
    std::unique_ptr<cPluginProcess> m_process;
};

/// The program that echoes, and the connection to it.
class cBareEcho
{
public:
    cBareEcho()
    {
        const QString name = QStringLiteral("norvale-bench-echo-%1").arg(QCoreApplication::applicationPid());
        m_server.listen(name);
        m_process.start(BARE_ECHO, {m_server.fullServerName()});
        if (m_server.waitForNewConnection(10000))
            m_socket = m_server.nextPendingConnection();
    }
    ~cBareEcho()
    {
        m_server.close();
        delete m_socket;
        m_process.waitForFinished();
    }

    QByteArray exchange(const QByteArray& bytes)
    {
        m_socket->write(bytes);
        m_socket->flush();
        QByteArray answer;
        while (answer.size() < bytes.size() && (m_socket->bytesAvailable() > 0 || m_socket->waitForReadyRead(-1)))
            answer += m_socket->readAll();
        return answer;
    }

private:
    QProcess m_process;
    QLocalServer m_server;
    QLocalSocket* m_socket = nullptr;
};

cBareEcho& bareEcho()
{
    static cBareEcho echo;
    return echo;
}

/// The size of the frame in which a call with that value travels.
int frameSize(const QVariant& value)
{
    cFrameWriter frame(FrameKind::Call);
    frame.number(0);
    frame.number(0);
    Q_UNUSED(frame.value(value))
    return frame.finish(0, 0).size();
}

void bare(benchmark::State& state, int size)
{
    const QByteArray bytes(size, 'x');
    for (auto _ : state) {
        if (bareEcho().exchange(bytes) != bytes)
            state.SkipWithError("the answer differs");
    }
}

void callNumber(benchmark::State& state)
{
    for (auto _ : state) {
        int answer = 0;
        if (!services().invoke("Echo", "number", Q_RETURN_ARG(int, answer), Q_ARG(int, 42)) || answer != 42)
            state.SkipWithError("the answer differs");
    }
}

void callText(benchmark::State& state, int size)
{
    const QString text(size, 'x');
    for (auto _ : state) {
        QString answer;
        if (!services().invoke("Echo", "text", Q_RETURN_ARG(QString, answer), Q_ARG(QString, text)) || answer != text)
            state.SkipWithError("the answer differs");
    }
}

template <typename... Arguments>
void add(const std::string& name, Arguments... arguments)
{
    benchmark::RegisterBenchmark(name.c_str(), arguments...)
        ->UseRealTime()
        ->Repetitions(41)
        ->MinTime(0.03)
        ->Unit(benchmark::kMicrosecond);
}

/// The private memory of a process in bytes, once it has come to rest.
double privateMemory(qint64 process)
{
    double last = -1;
    for (int i = 0; i < 100; ++i) {
        QThread::msleep(50);
        QFile file(QStringLiteral("/proc/%1/smaps_rollup").arg(process));
        double memory = 0;
        if (file.open(QFile::ReadOnly)) {
            for (const QByteArray& line : file.readAll().split('\n')) {
                if (line.startsWith("Private_"))
                    memory += line.simplified().split(' ').value(1).toDouble() * 1024;
            }
        }
        if (memory > 0 && memory == last)
            break;
        last = memory;
    }
    return last;
}

/// The private memory of VPlugin before its plugin, as a part of what it may be: that of a bare application, and 1 MB.
double shareOfMemory()
{
    const cPipe::Ends ends = cPipe::makeEnds();
    cChildProcess waiting;
    waiting.startWith(ends.other, VPLUGIN, {NORVALE_LIBRARY});
    QProcess bareProcess;
    bareProcess.start(BARE_APPLICATION, QStringList());
    bareProcess.waitForStarted();
    const double own = privateMemory(waiting.processId()), bare = privateMemory(bareProcess.processId());
    std::printf("MEMORY VPlugin %.0f KiB, QCoreApplication %.0f KiB\n", own / 1024, bare / 1024);
    bareProcess.closeWriteChannel();
    bareProcess.waitForFinished();
    cPipe::closeEnd(ends.own);
    cPipe::closeEnd(ends.other);
    waiting.waitForFinished();
    return own / (bare + 1e6);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    stayOnThisCore();
    const double memory = shareOfMemory();
    const cEchoPlugin plugin;
    constexpr int TextSize = 1000;
    add("call/number", callNumber);
    add("bare/number", bare, frameSize(42));
    add("call/text", callText, TextSize);
    add("bare/text", bare, frameSize(QString(TextSize, 'x')));

    Goals goals(Goals::Round::Median);
    goals.atMost("isolated_call", "call/number", "bare/number", 1.3);
    goals.atMost("isolated_call_text", "call/text", "bare/text", 1.3);
    goals.custom("isolated_memory", 1, false, [=](const Goals&) { return memory; });
    return runBenchmarks(argc, argv, goals);
}
