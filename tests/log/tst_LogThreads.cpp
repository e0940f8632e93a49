#include "LogFile.h"
#include "SettingsSandbox.h"

#include <QtCore/QAtomicInt>
#include <QtCore/QThread>
#include <QtTest/QtTest>

#include <functional>
#include <thread>
#include <vector>

namespace {

constexpr int threadCount = 8;
constexpr int linesPerThread = 500;

/// Threads that all run one function, each with its number. They are the language's own: a look-out for races sees
/// their start and end, while Qt's are hidden from it.
class Crowd
{
public:
    explicit Crowd(const std::function<void(int)>& run)
    {
        for (int i = 0; i < threadCount; ++i)
            m_threads.emplace_back(run, i);
    }
    ~Crowd() { join(); }

    void join()
    {
        for (std::thread& thread : m_threads) {
            if (thread.joinable())
                thread.join();
        }
    }

private:
    std::vector<std::thread> m_threads;
};

/// Three channels, so that some threads share one.
cLog channel(int thread)
{
    return cLogCentral::log(QStringLiteral("threads%1").arg(thread % 3));
}

void writeLines(int thread)
{
    for (int i = 0; i < linesPerThread; ++i)
        channel(thread).info() << "thread" << thread << "line" << i << Qt::endl;
}

} // namespace

class CountingHook : public QObject
{
    Q_OBJECT

public:
    QAtomicInt count;

public slots:
    void onLine(const QString&, Qt::HANDLE, const QDateTime&, debugType, const QString&) { count.ref(); }
};

class tst_LogThreads : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { cLogCentral::setDebuggerOutput(false); }
    void everyLineIsWholeAndInOrder();
    void fileMayChangeMeanwhile();
    void hooksMayComeAndGo();
    void switchesAndChannelsMayChange();

private:
    SettingsSandbox m_sandbox;
};

/// Each thread's lines, in the order of the files. @return how many of them are in their place, whole.
static int countInOrder(const QByteArray& text)
{
    static const QRegularExpression form(
        QStringLiteral("^\\w+ \\w+ \\d+ [\\d:]+ \\d{4}-threads(\\d)\\([0-9a-f]+\\):thread (\\d) line (\\d+) $"));
    int next[threadCount] = {};
    int count = 0;
    for (const QByteArray& line : text.split('\n')) {
        const QRegularExpressionMatch match = form.match(QString::fromUtf8(line));
        if (!match.hasMatch())
            continue;
        const int thread = match.captured(2).toInt();
        if (match.captured(1).toInt() == thread % 3 && match.captured(3).toInt() == next[thread]++)
            ++count;
    }
    return count;
}

void tst_LogThreads::everyLineIsWholeAndInOrder()
{
    LogFile file;
    Crowd(writeLines).join();
    const QByteArray text = file.close();
    QCOMPARE(text.count('\n'), threadCount * linesPerThread);
    QCOMPARE(countInOrder(text), threadCount * linesPerThread);
}

void tst_LogThreads::fileMayChangeMeanwhile()
{
    LogFile file;
    QTemporaryDir folder;
    QStringList paths{file.path()};
    QAtomicInt done;
    Crowd crowd([&](int thread) {
        writeLines(thread);
        done.ref();
    });
    while (done.loadAcquire() < threadCount) {
        paths.append(folder.filePath(QString::number(paths.size())));
        cLogCentral::setLogFile(paths.last());
        QThread::yieldCurrentThread();
    }
    crowd.join();
    cLogCentral::setLogFile(QString());
    QByteArray text;
    for (const QString& path : qAsConst(paths)) {
        QFile part(path);
        QVERIFY(part.open(QIODevice::ReadOnly));
        text += part.readAll();
    }
    QCOMPARE(countInOrder(text), threadCount * linesPerThread);
}

void tst_LogThreads::hooksMayComeAndGo()
{
    CountingHook steady;
    QThread other;
    steady.moveToThread(&other);
    other.start();
    cLogCentral::addHook(&steady, "onLine");
    cLogCentral::setDebuggerOutput(true);
    QAtomicInt written;
    {
        Crowd crowd([&](int thread) {
            for (int i = 0; i < 50; ++i) {
                CountingHook brief;
                cLogCentral::addHook(&brief, "onLine");
                channel(thread).info() << "line" << Qt::endl;
                written.ref();
                cLogCentral::removeHook(&brief);
                QVERIFY(brief.count.loadRelaxed() >= 1);
            }
        });
    }
    QTRY_COMPARE(steady.count.loadRelaxed(), written.loadRelaxed());
    cLogCentral::removeHook(&steady);
    other.quit();
    QVERIFY(other.wait(60000));
    QVERIFY(cLogCentral::history().size() >= threadCount * 50);
}

void tst_LogThreads::switchesAndChannelsMayChange()
{
    LogFile file;
    Crowd([](int thread) {
        const QString own = QStringLiteral("own%1").arg(thread);
        for (int i = 0; i < 5; ++i) {
            cLogCentral::disableLog(own);
            channel(thread).disable();
            cLogCentral::log(own).warning() << "written" << Qt::endl;
            cLogCentral::enableLog(QStringLiteral("threads%1").arg(thread % 3));
            channel(thread).error() << "written" << Qt::endl;
        }
        cLogCentral::saveLogSettings();
    }).join();
    QCOMPARE(file.close().count(":written \n"), threadCount * 5 * 2);
}

QTEST_GUILESS_MAIN(tst_LogThreads)

#include "tst_LogThreads.moc"
