#include "TalkerSuite.h"

#include "core/Settings.h"
#include "version/MetaTypes.h"

#include <ChildRun.h>
#include <Rows.h>

#include <QtCore/QUrl>

#include <csignal>
#include <limits>

static const QString Segv = Platform::hasUnixFiles() ? "SIGSEGV" : "EXCEPTION_ACCESS_VIOLATION";

class tst_Isolation : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() // crashes are the system's in plugins, too
    {
        qputenv("ASAN_OPTIONS", "handle_segv=0:handle_abort=0:detect_leaks=0");
        qputenv("TSAN_OPTIONS", qgetenv("TSAN_OPTIONS") + ":handle_segv=0:handle_abort=0");
    }
    // Whatever happens in the process, the start goes on, and says why the plugin is not there.
    void starts_data()
    {
        const Rows<QString, QString, QString> row("params", "logged", "library");
        const QString talker = "talker", no = "Talker-1.00.000 is not started: ", ended = "its process has ended ";
        row("well", "{}", "[Talker]talks", talker);
        row("returns false", "{'start':'false'}", no + "its start returned false", talker);
        row("throws", "{'start':'throw'}", no + "its start threw an exception: out of paper", talker);
        row("crashes", "{'start':'segv'}", ended + '(' + Segv + ')', talker);
        if (Platform::hasUnixFiles())
            row("is fatal", "{'start':'fatal'}", ended + "(SIGABRT)", talker);
        row("exits", "{'start':'exit'}", ended + "(exit code 3)", talker);
        row("hangs", "{'start':'hang'}", "its process has not answered within 1 s", talker);
        row("has no library", "{'start':''}", "does not exist", "other");
        row("is built with another Qt", "{'start':''}",
            QString("/OtherQt%1 is built with Qt %2; this suite runs on Qt %3")
                .arg(cPluginInstance::LibrarySuffix)
                .arg(11 - QT_VERSION_MAJOR)
                .arg(QT_VERSION_MAJOR),
            "../../support/OtherQt/OtherQt");
        const QString badly = "Talker-1.00.000 did not stop properly: its ";
        row("throws in the stop", "{'stop':'throw'}", badly + "stop threw an exception: out of paper", talker);
        row("exits in the stop", "{'stop':'exit'}", badly + "process has ended (exit code 3)", talker);
        row("hangs in the stop", "{'stop':'hang'}", badly + "process has not answered within 1 s", talker);
    }
    void starts()
    {
        const auto [params, logged, library] = cells<QString, QString, QString>("params", "logged", "library");
        const bool isStarted = !params.contains("start");
        cTalkers talkers(QString(params).replace('\'', '"'), library, params.contains("hang") ? 1 : 30);
        QVERIFY(talkers.start());
        QVERIFY2(isStarted ? talkers.plugin() == "started" : talkers.plugin().startsWith("ordered but "),
                 qPrintable(talkers.plugin()));
        QVERIFY2(isStarted || talkers.plugin().contains(logged), qPrintable(talkers.plugin()));
        QCOMPARE(talkers.services.serviceExists("Talker"), isStarted);
        talkers.manager.StopNormal();
        QVERIFY(!talkers.services.serviceExists("Talker"));
        const QString lines = talkers.log.lines();
        QVERIFY2(lines.contains(logged), qPrintable(lines));
        QCOMPARE(lines.contains("[Talker]has stopped"), params == "{}");
    }

    // Every value comes back as it was, with its type.
    void values_data()
    {
        QTest::addColumn<QVariant>("value");
        int number = 0;
        const auto row = [&](const QVariant& value) { QTest::addRow("%s %d", value.typeName(), ++number) << value; };
        const QVariantList list{1, "two", 3.5, QByteArray("\0\xff", 2), QVariant(), QStringList{"a", ""}};
        row(true);
        row(QVariant::fromValue(short(-7)));
        row(std::numeric_limits<int>::min());
        row(std::numeric_limits<uint>::max());
        row(std::numeric_limits<qlonglong>::min());
        row(std::numeric_limits<qulonglong>::max());
        row(QVariant::fromValue(1.5f));
        row(0.1);
        row(-std::numeric_limits<double>::infinity());
        row(QString("\u00e4\u4e2d\U0001F600"));
        row(QString());
        row(QByteArray("\0\xff\n", 3));
        row(QStringList{"a", "", "b"});
        row(list);
        row(QVariantMap{{"list", list}, {"map", QVariantMap{{"", 1}}}});
        row(QVariantHash{{"list", list}});
        row(QUrl("https://example.org/%20?q=\u00e4"));
        row(QDate(2024, 2, 29));
        row(QTime(23, 59, 59, 999));
        row(QTime());
        row(QDateTime(QDate(1969, 12, 31), QTime(1, 2, 3, 4), Qt::UTC));
        row(QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3, 4), Qt::OffsetFromUTC, 3600));
        cJsonValue json;
        QVERIFY(cJsonReader::parse("{\"a\": [1, -2, 4294967295, 0.1, \"x\", true, null, {}]}", json));
        row(QVariant::fromValue(json));
        row(QString(1024 * 1024, 'x'));
    }
    void values()
    {
        QFETCH(QVariant, value);
        cTalkers& talkers = shared();
        QVariant answer = MetaTypes::value(value.userType());
        QVERIFY(talkers.services.invoke("Talker", "echo", QGenericReturnArgument(value.typeName(), answer.data()),
                                        QGenericArgument(value.typeName(), value.constData())));
        if (value.userType() == qMetaTypeId<cJsonValue>())
            QVERIFY(answer.value<cJsonValue>() == value.value<cJsonValue>());
        else
            QCOMPARE(answer, value);
    }
    void tenValues()
    {
        int sum = 0;
        QVERIFY(shared().services.invoke("Talker", "sum", Q_RETURN_ARG(int, sum), Q_ARG(int, 1), Q_ARG(int, 2),
                                         Q_ARG(int, 3), Q_ARG(int, 4), Q_ARG(int, 5), Q_ARG(int, 6), Q_ARG(int, 7),
                                         Q_ARG(int, 8), Q_ARG(int, 9), Q_ARG(int, 10)));
        QCOMPARE(sum, 55);
    }

    // Those of a local service, where it can tell; and none of them costs the suite more than a false.
    void refusals()
    {
        cTalkers& talkers = shared();
        IServiceMgr& services = talkers.services;
        QString text = "untouched";
        QVERIFY(!services.invoke("Talker", "sing", Q_RETURN_ARG(QString, text)));
        QVERIFY(!services.invoke("Talker", "process", Q_RETURN_ARG(QString, text)));
        QVERIFY(!services.invoke("Talker", "point", Q_ARG(QObject*, this)));
        QVariant variant;
        QVERIFY(!services.invoke("Talker", "pointer", Q_RETURN_ARG(QVariant, variant)));
        QVERIFY(!talkers.tell("goWrong", "throw"));
        QVERIFY(!services.invoke("Talker", "echo", Q_RETURN_ARG(QVariant, variant),
                                 Q_ARG(QVariant, QVariant::fromValue<QObject*>(this))));
        QVERIFY(!services.invoke("Talker", "deleteLater"));
        QCOMPARE(text, QString("untouched"));
        const QString log = talkers.log.lines();
        for (const char* reason :
             {"Cannot call \"sing\" of the service \"Talker\": it has no such method; it has ",
              "Cannot call \"process\" of the service \"Talker\": its result is of the type qlonglong, not QString",
              "Cannot call \"point\" of the service \"Talker\": values of the type QObject* cannot travel to "
              "Talker-1.00.000, which runs in a process of its own",
              "Cannot call \"pointer\" of the service \"Talker\": its result holds what cannot travel",
              "Cannot call \"goWrong\" of the service \"Talker\": it threw an exception: out of paper",
              "Cannot call \"deleteLater\" of the service \"Talker\": it cannot be called in another process",
              "Cannot call \"echo\" of the service \"Talker\": its value 1 holds what cannot travel"})
            QVERIFY2(log.contains(reason), qPrintable(log));
    }
    // What can never be called is said when it is registered.
    void registrations()
    {
        const QString log = shared().log.lines();
        QVERIFY2(log.contains("\"point\" of the service \"Talker\" cannot be called from the suite: values of the type "
                              "QObject* cannot travel between processes"),
                 qPrintable(log));
        QVERIFY2(log.contains("The service \"Pointers\" is not registered: none of its methods could be called"),
                 qPrintable(log));
        QVERIFY(!shared().services.serviceExists("Pointers"));
    }

    // A call that comes back is served in the thread that has made the outer one, to any depth.
    void callsBack()
    {
        cTalkers& talkers = shared();
        talkers.suite.threads.clear();
        QCOMPARE(talkers.call("ask", "Suite", "say", "hello"), QString("heard hello"));
        QCOMPARE(talkers.call("ask", "Suite", "nest", "3"), QString("bottom<1<2<3"));
        QCOMPARE(talkers.call("ask", "Suite", "sing", "x"), QString("refused"));
        QString fromThread;
        const std::unique_ptr<QThread> thread(
            QThread::create([&] { fromThread = talkers.call("ask", "Suite", "say", "thread"); }));
        thread->start();
        QVERIFY(thread->wait(30000));
        QCOMPARE(fromThread, QString("heard thread"));
        QCOMPARE(talkers.suite.threads, (QVector<QThread*>{QThread::currentThread(), thread.get()}));
    }
    // What the plugin asks for by itself, or from a thread of its own, is served in the suite's main thread, also while
    // that waits for the plugin.
    void callsByItself()
    {
        cTalkers& talkers = shared();
        talkers.suite.threads.clear();
        QVERIFY(talkers.tell("askSoon", "Suite", "say", "by itself"));
        QTRY_VERIFY(talkers.suite.said.contains("by itself"));
        QCOMPARE(talkers.call("askFromThread", "Suite", "say", "aside"), QString("heard aside"));
        QCOMPARE(talkers.suite.threads.count(QThread::currentThread()), 2);
        QCOMPARE(talkers.list("services"), (QStringList{"Suite", "Talker"}));
        bool isLoaded = false;
        QVERIFY(talkers.services.invoke("Talker", "load", Q_RETURN_ARG(bool, isLoaded), Q_ARG(QString, "Talker")));
        QVERIFY(isLoaded);
    }
    // Many threads of the suite at a time, while the main one calls, too.
    void callsFromThreads()
    {
        cTalkers& talkers = shared();
        std::atomic<int> right{0};
        const auto work = [&](int seed) {
            for (int i = 0; i < 200; ++i) {
                int answer = 0;
                talkers.services.invoke("Talker", "echo", Q_RETURN_ARG(int, answer), Q_ARG(int, seed + i));
                right += answer == seed + i;
                right += talkers.call("ask", "Suite", "nest", "1") == "bottom<1";
            }
        };
        std::vector<std::unique_ptr<QThread>> threads;
        for (int i = 1; i <= 3; ++i) {
            threads.emplace_back(QThread::create(work, i * 1000));
            threads.back()->start();
        }
        work(0);
        for (const auto& thread : threads)
            QVERIFY(thread->wait(60000));
        QCOMPARE(right.load(), 4 * 200 * 2);
    }

    // Each event arrives once at everybody who listens, and does not come back.
    void events()
    {
        m_shared.reset(); // there is room for one sandbox at a time
        cTalkers talkers;
        talkers.install("Other", "{}");
        QVERIFY(talkers.start());
        talkers.services.notify("SuiteEvents", "Said", Q_ARG(QString, "suite"));
        QVERIFY(talkers.tell("raise", "Said", "plugin")); // of the one that has the id now, the second
        QCOMPARE(talkers.suite.said, (QStringList{"event suite", "event plugin"}));
        QCOMPARE(talkers.list("heard"), (QStringList{"suite", "plugin"}));
        talkers.services.notify("SuiteEvents", "Said", Q_ARG(QString, "last"));
        QCOMPARE(talkers.list("heard"), (QStringList{"suite", "plugin", "last"}));
        talkers.services.notify("SuiteEvents", "Moved", Q_ARG(QObject*, this));
        QVERIFY(
            talkers.log.lines().contains("The event \"Moved\" of \"SuiteEvents\" does not reach Other-1.00.000: values "
                                         "of the type QObject* cannot travel between processes"));
    }

    void tooLate()
    {
        cTalkers talkers("{}", "talker", 1);
        QVERIFY(talkers.start());
        QVERIFY(!talkers.tell("goWrong", "hang"));
        QVERIFY(
            talkers.log.lines().contains("Cannot call \"goWrong\" of the service \"Talker\": Talker-1.00.000 has not "
                                         "answered within 1 s"));
    }

    // It comes back under its id, three times; then it stays down, and the suite does without it.
    void diesAndComesBack()
    {
        cTalkers talkers;
        QVERIFY(talkers.start());
        const QSignalSpy changes(&talkers.manager, &IPluginMgr::pluginStateChanged);
        qint64 last = talkers.process();
        QVERIFY(last > 0);
        for (int i = 1; i <= 3; ++i) {
            QVERIFY(!talkers.tell("goWrong", "segv"));
            QVERIFY(!talkers.tell("heard"));
            QVERIFY(talkers.log.lines().contains("Cannot call \"heard\" of the service \"Talker\": Talker-1.00.000 has "
                                                 "ended (" +
                                                 Segv + ")"));
            QTRY_VERIFY(talkers.process() > 0);
            QVERIFY(talkers.process() != last);
            last = talkers.process();
        }
        QVERIFY(talkers.tell("goWrongSoon", "segv"));
        QTRY_VERIFY(
            talkers.log.lines().contains("Talker-1.00.000 stays down: it has been started again 3 times in five "
                                         "minutes"));
        QVERIFY(!talkers.tell("heard"));
        QCOMPARE(talkers.plugin(),
                 QString("started but Talker-1.00.000 has ended (%1); Talker-1.00.000 stays down: it has "
                         "been started again 3 times in five minutes")
                     .arg(Segv));
        QCOMPARE(talkers.log.lines().count("started Talker-1.00.000 again"), 3);
        QTRY_COMPARE(changes.count(), 7); // four ends, three starts
    }

#ifndef Q_OS_WIN
    // What ends a whole group of processes, as a log-out does, is for the suite, which stops its plugins.
    void leavesSignalsToTheSuite()
    {
        cTalkers talkers;
        QVERIFY(talkers.start());
        const qint64 process = talkers.process();
        for (const int signal : {SIGINT, SIGTERM, SIGHUP})
            QCOMPARE(::kill(pid_t(process), signal), 0);
        QCOMPARE(talkers.process(), process);
    }
#endif

    // However busy it is: nothing of a suite that is gone runs on.
    void endsWithTheSuite()
    {
        QProcess host;
        host.start(QCoreApplication::applicationFilePath(), {"child"});
        QVERIFY(host.waitForReadyRead(30000));
        const qint64 process = host.readLine().trimmed().toLongLong();
        QVERIFY(Platform::isRunning(process));
        host.kill();
        QVERIFY(host.waitForFinished());
        QTRY_VERIFY(!Platform::isRunning(process));
    }

private:
    cTalkers& shared()
    {
        if (!m_shared) {
            m_shared.reset(new cTalkers);
            m_shared->start();
        }
        return *m_shared;
    }

    std::unique_ptr<cTalkers> m_shared;
};

/// A suite whose plugin never comes to an end; it tells the plugin's process, and waits to be killed.
static int runHost(const QStringList&)
{
    cTalkers talkers("{}", "talker", 1);
    talkers.start();
    const qint64 process = talkers.process();
    talkers.tell("goWrong", "hang"); // is given up: by now the plugin does not look at its connection
    std::printf("%lld\n", process);
    std::fflush(stdout);
    return QCoreApplication::exec();
}

TEST_OR_CHILD_MAIN(tst_Isolation, runHost)
#include "tst_Isolation.moc"
