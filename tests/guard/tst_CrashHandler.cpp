#include "ChildRun.h"
#include "Files.h"
#include "Rows.h"
#include "SettingsSandbox.h"

#include "guard/CrashHandler.h"
#include "guard/cGuardSlot.h"
#include "guard/cPluginImages.h"

#include <Norvale/cLogCentral.h>

#include <QtCore/QFile>
#include <QtCore/QLibrary>

#include <memory>
#include <thread>
#include <vector>

/// Children of this program crash in the library of a plugin.
class tst_CrashHandler : public QObject
{
    Q_OBJECT

private slots:
    void tells_data()
    {
        const Rows<QString, QString, QString, QString> row("words", "step", "cause", "message");
        const QString segv = "SIGSEGV|EXCEPTION_ACCESS_VIOLATION", none;
        row("null", "start, null", "start", segv, none);
        row("call of nothing", "none, null call", "running", segv, none);
        row("division", "load, divide", "load", "SIGFPE|EXCEPTION_INT_DIVIDE_BY_ZERO", none);
        row("no instruction", "stop, illegal", "stop", "SIGILL|EXCEPTION_ILLEGAL_INSTRUCTION", none);
        row("stack used up", "none, overflow", "running", "SIGSEGV|EXCEPTION_STACK_OVERFLOW", none);
        if (Platform::hasUnixFiles()) // elsewhere the system gives up before it asks anybody
            row("stack overwritten", "start, smash", "start", segv, none);
        row("abort", "none, abort", "running", "SIGABRT", none);
        row("fatal message", "none, fatal", "running", "SIGABRT", "out of ink");
        row("exception", "start, throw", "start", "SIGABRT", "nobody caught it: .*: out of paper");
        row("in a thread", "none, thread, null", "running", segv, none);
        row("exception in a thread", "none, thread, throw", "running", "SIGABRT", ".*out of paper");
        row("in a thread while another plugin starts", "other, thread, null", "running", segv, none);
        row("in threads at once", "none, threads, null", "running", segv, none);
        row("elsewhere", "none, no plugin, null", "none", segv, none);
        row("fatal message elsewhere", "none, no plugin, fatal", "none", "SIGABRT", "out of ink");
    }

    /// A child that is not watched ends in the same way.
    void tells()
    {
        const auto [words, step, cause, message] =
            cells<QString, QString, QString, QString>("words", "step", "cause", "message");
        QDir(path("crashes")).removeRecursively();
        const Ended unwatched = crash(words + ", unwatched");
        QVERIFY(reports().isEmpty());
        const Ended ended = crash(words);
        if (Platform::hasUnixFiles() || !words.contains("overflow")) { // after which Wine ends in one way or another
            QCOMPARE(ended.output, unwatched.output);
            QCOMPARE(ended.code, unwatched.code);
        }

        QCOMPARE(reports().size(), 1);
        const QString file = path("crashes/" + reports().first());
        const QString report = QString::fromUtf8(readFile(file)).replace("\r\n", "\n");
        const bool isOfPlugin = step != "none";
        QString head = "^Crash report\n\nPlugin: %1\nStep: %2\nCause: (%3)( at 0x[0-9a-f]{16})?\n";
        head = head.arg(isOfPlugin ? "Faulty-1\\.02\\.003" : "none at hand", step, cause);
        head += message.isEmpty() ? "Time: " : QString("Message: %1\nTime: ").arg(message);
        QVERIFY2(report.contains(QRegularExpression(head)), qPrintable(report));
        const QRegularExpression rest("Qt: " QT_VERSION_STR
                                      "\n.*\nStack\n.*crashHere.*\nLog\n.*:last words \n\nLibraries\n.*crasher",
                                      QRegularExpression::DotMatchesEverythingOption);
        QVERIFY2(report.contains(rest), qPrintable(report));
        if (Platform::hasUnixFiles())
            QCOMPARE(int(QFile::permissions(file) & 0x0077), 0);

        const cGuardSlot left = slot();
        QCOMPARE(left.step != cGuardSlot::None, isOfPlugin);
        QCOMPARE(left.end == cGuardSlot::Crashed, isOfPlugin);
        QCOMPARE(QString(left.report), isOfPlugin ? reports().first() : QString());
        if (isOfPlugin)
            QVERIFY(QRegularExpression(cause).match(CrashHandler::causeText(left.cause)).hasMatch());
    }

    void keepsTenReports()
    {
        QDir(path("crashes")).removeRecursively();
        for (int i = 10; i < 30; ++i)
            writeFile(path(QString("crashes/crash-202001%1-120000-7.txt").arg(i)), "old");
        writeFile(path("crashes/a.txt"), "none of ours");
        crash("start, null");
        const QStringList left = reports();
        QCOMPARE(left.size(), 11);
        QCOMPARE(left.at(0), "a.txt");
        QCOMPARE(left.at(1), "crash-20200121-120000-7.txt");
    }

private:
    /// Runs a child, which does as main() says.
    Ended crash(const QString& words) const
    {
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(),
                      QStringList{"child", m_sandbox.path()} + words.split(", "));
        process.waitForFinished();
        const QString ending = process.exitStatus() == QProcess::CrashExit ? "crashed" : "ended";
        return {process.exitCode(), ending, Platform::consoleText(process.readAllStandardError())};
    }

    cGuardSlot slot() const
    {
        cGuardSlot slot{};
        const QByteArray bytes = readFile(path("slot"));
        memcpy(&slot, bytes.constData(), size_t(qMin(bytes.size(), int(sizeof slot))));
        return slot;
    }

    QString path(const QString& name) const { return m_sandbox.path() + '/' + name; }
    QStringList reports() const { return QDir(path("crashes")).entryList(QDir::Files, QDir::Name); }

    SettingsSandbox m_sandbox;
};

/// The child: maps a slot in its folder, and crashes as its words say.
static int crashAs(const QStringList& given)
{
    const QString folder = given.first();
    const QStringList words = given.mid(1);
    QFile file(folder + "/slot");
    if (!file.open(QIODevice::ReadWrite) || !file.resize(0) || !file.resize(sizeof(cGuardSlot)))
        return 99;
    auto* const slot = reinterpret_cast<cGuardSlot*>(file.map(0, sizeof(cGuardSlot)));
    const QByteArray way = words.last() == "unwatched" ? words.at(words.size() - 2).toUtf8() : words.last().toUtf8();
    const auto crashHere = reinterpret_cast<void (*)(const char*)>(QLibrary::resolve(CRASHER, "crashHere"));
    if (!words.contains("no plugin"))
        cPluginImages::instance().add("Faulty-1.02.003", cCodeImage::around(reinterpret_cast<const void*>(crashHere)));
    if (!words.contains("unwatched"))
        CrashHandler::install(slot, folder + "/crashes");
    cLogCentral::log("child").info() << "last words" << Qt::endl;
    const int step = QStringList{"none", "load", "start", "stop"}.indexOf(words.first());
    qstrncpy(slot->plugin, step > 0 ? "Faulty-1.02.003" : step < 0 ? "Other-1.00.000" : "", sizeof slot->plugin);
    slot->step = step < 0 ? cGuardSlot::Start : quint32(step);
    std::vector<std::thread> threads(words.contains("threads") ? 4 : words.contains("thread") ? 1 : 0);
    for (std::thread& thread : threads)
        thread = std::thread([&] { crashHere(way.constData()); });
    for (std::thread& thread : threads)
        thread.join();
    crashHere(way.constData());
    return 98;
}

TEST_OR_CHILD_MAIN(tst_CrashHandler, crashAs)
#include "tst_CrashHandler.moc"
