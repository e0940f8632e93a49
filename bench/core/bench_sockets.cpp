// Messages there and back over a local socket, framed by cMessageSocket and bare, with the same bytes on the wire. Both
// ends run on one core, so that what is measured is the work and not where the scheduler happened to put the threads.
// The time is that which the two ends spent on their core: on an idle machine the time that passed, and on a busy one
// not that of others.

#include "Goals.h"
#include "cProcessorTime.h"

#include <Norvale/cMessageSocket.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QSemaphore>
#include <QtCore/QThread>
#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>

#include <memory>

#ifdef Q_OS_LINUX
#include <sched.h>
#endif

namespace {

constexpr int HeaderSize = 4; // of a frame, in bytes
constexpr int Batch = 4;      // messages in one reading of the clock

/// Threads that are started later inherit the core.
void stayOnThisCore()
{
#ifdef Q_OS_LINUX
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(sched_getcpu(), &cores);
    if (sched_setaffinity(0, sizeof cores, &cores) != 0)
        std::fprintf(stderr, "cannot stay on one core\n");
#endif
}

using Serve = void (*)(QLocalSocket&);

void echoBare(QLocalSocket& socket)
{
    while (socket.bytesAvailable() > 0 || socket.waitForReadyRead(-1)) {
        socket.write(socket.readAll());
        socket.flush();
    }
}

void echoFramed(QLocalSocket& socket)
{
    cMessageSocket messages(&socket);
    while (true) {
        while (!messages.messageAvailable()) {
            if (!socket.waitForReadyRead(-1))
                return;
        }
        messages.writeMessage(messages.readMessage());
    }
}

QByteArray exchangeBare(QLocalSocket& socket, const QByteArray& bytes)
{
    socket.write(bytes);
    socket.flush();
    QByteArray answer;
    while (answer.size() < bytes.size() && (socket.bytesAvailable() > 0 || socket.waitForReadyRead(-1)))
        answer += socket.readAll();
    return answer;
}

QByteArray exchangeFramed(QLocalSocket& socket, const QByteArray& message)
{
    cMessageSocket messages(&socket);
    messages.writeMessage(message);
    while (!messages.messageAvailable() && socket.waitForReadyRead(-1)) {
    }
    return messages.readMessage();
}

/// An echo that lives in a thread of its own, and this thread's connection to it.
class cEcho
{
public:
    explicit cEcho(Serve serve) : m_thread(QThread::create([this, serve] { run(serve); }))
    {
        m_thread->start();
        m_isListening.acquire();
        m_socket.connectToServer(name());
        m_socket.waitForConnected(-1);
    }
    ~cEcho()
    {
        m_socket.abort();
        m_thread->wait();
    }
    cEcho(const cEcho&) = delete;
    cEcho& operator=(const cEcho&) = delete;

    QLocalSocket& socket() { return m_socket; }

private:
    static QString name() { return QStringLiteral("norvale-bench-%1").arg(QCoreApplication::applicationPid()); }

    void run(Serve serve)
    {
        QLocalServer server;
        server.listen(name());
        m_isListening.release();
        if (server.waitForNewConnection(-1))
            serve(*server.nextPendingConnection());
    }

    QSemaphore m_isListening;
    std::unique_ptr<QThread> m_thread;
    QLocalSocket m_socket;
};

using Exchange = QByteArray (*)(QLocalSocket&, const QByteArray&);

void thereAndBack(benchmark::State& state, Serve serve, Exchange exchange, int size)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = char(i * 31 + i / 256);
    cEcho echo(serve);
    if (exchange(echo.socket(), bytes) != bytes) {
        state.SkipWithError("the answer differs");
        return;
    }
    for (auto _ : state) {
        const cProcessorTime time;
        for (int i = 0; i < Batch; ++i)
            benchmark::DoNotOptimize(exchange(echo.socket(), bytes));
        state.SetIterationTime(time.elapsed());
    }
    state.SetBytesProcessed(state.iterations() * Batch * size);
}

void compare(Goals& goals, const std::string& name, int messageSize)
{
    const auto add = [&](const std::string& way, Serve serve, Exchange exchange, int size) {
        benchmark::RegisterBenchmark((name + way).c_str(), thereAndBack, serve, exchange, size)
            ->UseManualTime()
            ->Repetitions(41)
            ->MinTime(0.03)
            ->Unit(benchmark::kMicrosecond);
    };
    add("/bare", echoBare, exchangeBare, HeaderSize + messageSize);
    add("/framed", echoFramed, exchangeFramed, messageSize);
    goals.atLeast(name, name + "/bare", name + "/framed", 0.95);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    stayOnThisCore();

    Goals goals(Goals::Round::Median);
    compare(goals, "socket_64B", 64);
    compare(goals, "socket_4KiB", 4 * 1024);
    compare(goals, "socket_1MiB", 1024 * 1024);
    return runBenchmarks(argc, argv, goals);
}
