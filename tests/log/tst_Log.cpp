#include "AtOnce.h"
#include "Encodings.h"
#include "LogFile.h"
#include "Rows.h"
#include "SettingsSandbox.h"

#include "log/cFrameworkLog.h"
#include "log/cLastLines.h"

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>

/// What is done with a channel and its lines.
using Use = void (*)(cLog& log);
Q_DECLARE_METATYPE(Use)

/// Does something for each line.
class Hook : public QObject
{
    Q_OBJECT

public:
    std::function<void(const QString& line)> action;

public slots:
    void onLine(const QString& channel, Qt::HANDLE, const QDateTime&, debugType level, const QString& text)
    {
        const auto copy = action; // it may destroy this object
        copy(QString("%1 %2 %3").arg(channel).arg(level).arg(text));
    }
    void onUnfit(const QString& text) { action(text); }
};

static QString storedSwitch(const char* channel)
{
    return QSettings().value(QString("Log/%1/enabled").arg(channel)).toString();
}

/// The channels, their lines, and the central, with each of its sinks.
class tst_Log : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { cLogCentral::setDebuggerOutput(false); }
    /// Each row has a channel of its own, named as the row; in the lines it is "[]".
    void writes_data()
    {
        const Rows<QString, Use> row("lines", "use");
        row("what was not flushed begins the next line", "[][]one two \n[]three \n", [](cLog& log) {
            log.info() << "one";
            log.info() << "two" << Qt::endl << "three";
            log.info() << Qt::endl;
        });
        row("disabled for all handles, but not for warnings", "[]left warning \n[]error \n[]on \n", [](cLog& log) {
            cLog copy = log;
            copy.disable();
            log.info() << "dropped" << Qt::endl << "left";
            log.warning() << "warning" << Qt::endl;
            log.error() << "error" << Qt::endl;
            cDebug line = log.info(); // the switch counts when the line ends
            copy.enable();
            line << "on" << Qt::endl;
        });
        row("each copy writes, the first unlocks", "[]a b []d \n[]c e []f g \n", [](cLog& log) {
            {
                cDebug line = log.info();
                line << "a" << Qt::flush;
                cDebug(line) << "b" << Qt::flush << "c";
                log.info() << "d" << Qt::endl; // the channel is free
                line << "e" << Qt::flush << "f";
            }
            log.info() << "g" << Qt::endl;
        });
        row("late copy ends the line of its thread", "[][]seen []rest \n[]free \n", [](cLog& log) {
            std::optional<cDebug> late(log.info()); // a copy, whose original is gone at once
            {
                cDebug second = log.warning();
                second << "seen" << Qt::flush;
                late.reset(); // would wait for this thread if it locked
                second << "rest" << Qt::endl;
            }
            log.info() << "free" << Qt::endl;
        });
        row("assignment makes the channels the same", "[source]from [source][source]to \n[source]free \n",
            [](cLog& log) {
                const cLog source = cLogCentral::log("source");
                log.disable();
                {
                    cDebug to = log.info(), from = source.info();
                    from << "from" << Qt::flush;
                    to << "lost" << Qt::flush;
                    to = from;
                }
                log.info() << "to" << Qt::endl;
                source.info() << "free" << Qt::endl;
            });
        row("sliced copy outlives its line", "[][]a \n[]early late b \n[][]m c \n", [](cLog& log) {
            std::optional<QDebug> kept(log.info());
            *kept << "early";
            log.info() << "a" << Qt::endl;
            *kept << "late";
            kept.reset();
            log.info() << "b" << Qt::endl;
            QDebug moved = std::move(static_cast<QDebug&&>(log.info()));
            moved << "m";
            moved = QDebug(QtDebugMsg).nospace();
            log.info() << "c" << Qt::endl;
        });
        // each where a piece of the line ends
        const QString part(65535, 'x'), umlaut(QChar(0xe4));
        row("long line, then one with a zero byte", "[]" + part + umlaut + part + " \n[]% %2 ", [](cLog& log) {
            log.info().noquote() << QString(65535, 'x') + QChar(0xe4) + QString(65535, 'x') << Qt::endl;
            log.info() << '%' << "%2" << char(0) << "gone" << Qt::endl;
        });
        const QString letters = QString::fromUtf8("ä€😀ж\x1b[1m\u202e");
        row("letters as they were streamed, in UTF-8 or Latin-1", "[]" + letters + " \"ä€\" \n[]ä \n", [](cLog& log) {
            log.info().noquote() << QString::fromUtf8("ä€😀ж\x1b[1m\u202e") << "\"ä€\"" << Qt::endl;
            log.info().noquote() << Encodings::latin1 << QString(QChar(0xe4)) << Qt::endl;
        });
        row("the framework's lines are shown", "[PluginMgr]a\\n\\x1b\\u{202e}ä\\x00 \n[a\\nb]c\nd \n", [](cLog&) {
            cFrameworkLog::plugins();
            const QString name = QString::fromUtf8("a\n\x1b\u202eä") + QChar(0);
            cLogCentral::log("PluginMgr").info().noquote() << name << Qt::endl;
            cLogCentral::log("a\nb").info() << "c\nd" << Qt::endl;
        });
    }
    void writes()
    {
        QFETCH(Use, use);
        const LogFile file;
        const QString name = QTest::currentDataTag();
        cLog log = cLogCentral::log(name);
        use(log);
        QTEST(file.close().replace('[' + name + ']', "[]"), "lines");
    }
    /// A channel reads its switch when it is first asked for; from then on, only calls change it.
    void switches()
    {
        const LogFile file;
        const auto writeToAll = [] {
            for (const char* name : {"deep/channel", "Y", "unknown"})
                cLogCentral::log(name).info() << "text" << Qt::endl;
        };
        cLogCentral::enableLog("Y"); // not a channel yet, so only stored
        QCOMPARE(storedSwitch("Y"), "true");
        QSettings().setValue("Log/Y/enabled", false);
        QSettings().setValue("Log/deep/channel/enabled", false);
        writeToAll();
        QSettings().setValue("Log/deep/channel/enabled", true); // too late
        cLogCentral::enableLog("Y");
        QCOMPARE(storedSwitch("Y"), "true");
        cLogCentral::log("unknown").disable();
        QCOMPARE(storedSwitch("unknown"), "");
        writeToAll();
        QCOMPARE(file.close(), "[unknown]text \n[Y]text \n");

        cLogCentral::disableLog("absent");
        QSettings().remove("Log");
        cLogCentral::saveLogSettings();
        QCOMPARE(QStringList({storedSwitch("Y"), storedSwitch("unknown"), storedSwitch("absent"), storedSwitch("!")}),
                 QStringList({"true", "false", "", ""}));
    }
    void files()
    {
        const LogFile file;
        const cLog log = cLogCentral::log(QString::fromUtf8("Größe"));
        log.warning() << "flushed" << Qt::endl;
        const QStringList parts = file.content().split('-');
        QVERIFY(qAbs(QDateTime::fromString(parts[0], Qt::TextDate).secsTo(QDateTime::currentDateTime())) < 60);
        const QString thread = QString::number(quintptr(QThread::currentThreadId()), 16);
        QCOMPARE(parts[1], QString::fromUtf8("Größe(%1):flushed \n").arg(thread));

        log.info() << "buffered" << Qt::endl;
        cLogCentral::setLogFile(file.path("first.log")); // the same path keeps the open file, and what is buffered
        QCOMPARE(file.content().count('\n'), 1);
        cLogCentral::setLogFile(file.path("b.log")); // another one closes it
        QCOMPARE(file.content().count('\n'), 2);
        log.error() << "flushed" << Qt::endl;
        QCOMPARE(file.content().count('\n'), 3);
        cLogCentral::setLogFile(QString());
        log.error() << "nowhere" << Qt::endl;
        cLogCentral::setLogFile(file.path("b.log")); // a file that exists is appended to
        log.error() << "last" << Qt::endl;
        QCOMPARE(file.content().count('\n'), 4);
    }
    void history()
    {
        const cLog log = cLogCentral::log("history");
        log.warning() << "not kept" << Qt::endl;
        QVERIFY(cLogCentral::history().isEmpty());
        cLogCentral::setDebuggerOutput(true);
        for (int i = 0; i <= 10000; ++i)
            log.info() << i << Qt::flush;
        const QList<cLogEntry> entries = cLogCentral::history();
        QCOMPARE(entries.size(), 10000);
        QCOMPARE(entries.first().message, "1 ");
        QCOMPARE(entries.last().message, "10000 ");
        QCOMPARE(entries.last().channel, "history");
        QVERIFY(entries.first().time <= entries.last().time);
        QVERIFY(entries.first().time.secsTo(QDateTime::currentDateTime()) < 60);
    }
    /// They are kept with no sink open, on one line each; where one is cut no character is cut in two.
    void lastLines()
    {
        static QStringList kept;
        const auto take = [](const char* text, int length) {
            const QByteArray line(text, length);
            kept.append(QString::fromUtf8(line.mid(line.indexOf("):") + 2)));
            QCOMPARE(QString::fromUtf8(line).toUtf8(), line);
        };
        const cLog log = cLogCentral::log("lastLines");
        log.info() << "before" << Qt::endl;
        cLastLines::instance().keep();
        for (int i = 0; i < cLastLines::Count; ++i)
            log.info() << i << Qt::endl;
        log.info().noquote() << "two\nlines" << Qt::endl;
        log.info().noquote() << QString::fromUtf8("x") + QString(10000, QChar(0xe9)) << Qt::endl;
        cLastLines::instance().forEach(take);
        QCOMPARE(kept.size(), int(cLastLines::Count));
        QCOMPARE(kept.first(), "2 ");
        QCOMPARE(kept.at(cLastLines::Count - 2), "two\\nlines ");
        QVERIFY(kept.last().startsWith(QString::fromUtf8("xéé")));
        QVERIFY(kept.last().toUtf8().size() < cLastLines::LongestLine);
    }
    /// They are called in the order of their addresses; one that is called may remove others, and destroy itself.
    void hooks()
    {
        QStringList called;
        std::optional<Hook> hooks[6];
        for (int i : {5, 2, 0, 4, 1, 3}) {
            hooks[i].emplace().action = [&called, i](const QString& line) {
                called << QString::number(i) + ' ' + line;
            };
            cLogCentral::addHook(&*hooks[i], "onLine");
        }
        hooks[0]->action = [&](const QString& line) {
            called << "0 " + line;
            cLogCentral::removeHook(&*hooks[1]);
            hooks[0].reset();
        };
        cLogCentral::addHook(nullptr, "onLine");
        cLogCentral::addHook(&*hooks[2], "onUnfit"); // replaces the method
        cLogCentral::removeHook(&*hooks[4]);
        cLogCentral::log("hooks").info() << "not shown" << Qt::flush;
        cLogCentral::setDebuggerOutput(true);
        cLogCentral::log("hooks").warning() << "a" << Qt::flush;
        hooks[0].emplace().action = hooks[5]->action; // at the same address, but it is no hook
        cLogCentral::log("hooks").error() << "b" << Qt::flush;
        QCOMPARE(called, QStringList({"0 hooks 1 a ", "3 hooks 1 a ", "5 hooks 1 a ", "3 hooks 2 b ", "5 hooks 2 b "}));
    }
    /// It is named where no hook hears of it, and the line goes on its way; also when the hook is called later.
    void throwingHook()
    {
        const LogFile file;
        QStringList called;
        Hook first, throwing, last;
        for (Hook* hook : {&first, &throwing, &last}) {
            hook->action = [&](const QString& line) { called << line; };
            cLogCentral::addHook(hook, "onLine");
        }
        throwing.action = [](const QString&) { throw std::runtime_error("out of paper"); };
        cLogCentral::setDebuggerOutput(true);
        cLogCentral::log("hooks").warning() << "a" << Qt::flush;
        static QString shown; // at once, whichever thread writes
        cLogCentral::setLineOutput([](const cLogEntry& line) { shown = line.message; });
        std::thread([] { cLogCentral::log("hooks").warning() << "b" << Qt::flush; }).join();
        cLogCentral::setLineOutput(nullptr);
        QCOMPARE(shown, QString("b "));
        QCoreApplication::processEvents();
        QCOMPARE(called, QStringList({"hooks 1 a ", "hooks 1 a ", "hooks 1 b ", "hooks 1 b "}));
        QCOMPARE(file.lines().count("[Norvale]The log hook Hook threw an exception: out of paper"), 2);
        QCOMPARE(cLogCentral::history().last().level, debugError);
        cLogCentral::removeHook(&first); // which waits for nothing that the exception has left locked
    }
    /// Meanwhile the file, the hooks and the switch, which does not count for warnings, are changed. A hook is called
    /// at once by its own thread, and queued by others.
    void threadsWriteWholeLinesInOrder()
    {
        const LogFile file;
        Hook steady;
        int queued = 0;
        steady.action = [&](const QString&) { ++queued; };
        cLogCentral::addHook(&steady, "onLine");
        cLogCentral::setDebuggerOutput(true);
        atOnce(8, [&](int thread) {
            const QString name = QString("c%1").arg(thread % 3);
            const bool isSwitched = thread % 3 == 1;
            for (int i = 0; i < 500; ++i) {
                if (thread == 0 && i % 10 == 0)
                    cLogCentral::setLogFile(file.path(QString("next%1.log").arg(1000 + i)));
                if (isSwitched && i % 100 == 0)
                    i % 200 ? cLogCentral::enableLog(name) : cLogCentral::disableLog(name);
                Hook brief;
                QStringList called;
                brief.action = [&](const QString& line) { called << line; };
                cLogCentral::addHook(&brief, "onLine");
                const cLog log = cLogCentral::log(name);
                (isSwitched ? log.warning() : log.info()) << "thread" << thread << "line" << i << Qt::endl;
                cLogCentral::removeHook(&brief);
                QCOMPARE(called,
                         QStringList(QString("%1 %2 thread %3 line %4 ").arg(name).arg(isSwitched).arg(thread).arg(i) +
                                     Platform::lineEnd()));
            }
            cLogCentral::saveLogSettings();
        });
        QCOMPARE(queued, 0);
        QCoreApplication::processEvents();
        QCOMPARE(queued, 8 * 500);

        const QStringList lines = file.close().split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 8 * 500);
        int next[8] = {};
        for (const QString& line : lines) {
            const int thread = line.section(' ', 1, 1).toInt() % 8;
            QCOMPARE(line, QString("[c%1]thread %2 line %3 ").arg(thread % 3).arg(thread).arg(next[thread]++));
        }
    }
    void assignmentLetsWaitingThreadsOn()
    {
        const LogFile file;
        const cLog target = cLogCentral::log("target");
        atOnce(8, [&](int thread) {
            cDebug line = target.info();
            if (thread == 0) {
                QThread::yieldCurrentThread();
                line = cLogCentral::log("source").info();
            } else {
                line << "waited" << Qt::endl;
            }
        });
        QCOMPARE(file.close().count("]waited \n"), 7);
    }

private:
    SettingsSandbox m_sandbox;
};

QTEST_GUILESS_MAIN(tst_Log)

#include "tst_Log.moc"
