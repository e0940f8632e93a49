#include "AtOnce.h"
#include "LogFile.h"
#include "Rows.h"
#include "SettingsSandbox.h"
#include "cNamedService.h"

#include <Norvale/Corvane.h>
#include <Norvale/GenericArguments.h>
#include <Norvale/cJsonValue.h>

#include "services/cServiceMgr.h"
#include "services/cServiceRegistry.h"
#include "version/ForeignCode.h"

#include <memory>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

class cAlarm : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Alarm")
    Q_CLASSINFO("threadsafe", "True")

public:
    int rung = 0;

public Q_SLOTS:
    void ring() { ++rung; }
};

class cClock : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("threadsafe", "true")
    Q_CLASSINFO("service", "Clock")

public:
    Q_INVOKABLE int now() { return 12; }
    Q_INVOKABLE int add(int hours) { return 12 + hours; }
    Q_INVOKABLE QString add(const QString& text) { return "12" + text; }
    /// Works on the registry from inside a call.
    Q_INVOKABLE bool handOverTo(QObject* alarm)
    {
        IServiceMgr::instance()->unregisterService(this);
        IServiceMgr::instance()->registerService(alarm);
        return IServiceMgr::instance()->invoke("Alarm", "ring");
    }
    Q_INVOKABLE QString fail(const QString& text)
    {
        if (text.isEmpty())
            throw 42;
        throw std::runtime_error(qPrintable(text));
    }
    void notInvokable() {}
};

/// What `Q_ARG`, with `const void*`, and `Q_RETURN_ARG`, with `void*`, make from Qt 6.5 on, for every Qt.
template <typename Pointer>
struct LaterArgument
{
    const LaterArgument<const void*>* metaType;
    const char* name;
    Pointer data;
};

/// Its own id is hidden by the base class's.
class cDerivedClock : public cClock
{
    Q_OBJECT
    Q_CLASSINFO("service", "DerivedClock")
};

class tst_cServiceMgr : public QObject, private Corvane::ILocalSocketMessageHandler
{
    Q_OBJECT

public:
    tst_cServiceMgr() { Corvane::registerLocalSocketMessageHandler(this); }
    ~tst_cServiceMgr() override { Corvane::unregisterLocalSocketMessageHandler(this); }

private Q_SLOTS:
    void init()
    {
        m_mgr.registerService(&m_clock);
        m_announced.clear();
    }
    void cleanup() { m_manager.releaseAll(); }
    /// Each with the number of its values.
    void metaObjectListsTheOperationsInOrder()
    {
        QStringList expected{"verifyAPI 2", "verifyAPI2 2", "registerService 1", "unregisterService 1"};
        const auto expectForms = [&](const QString& name, int most) {
            for (int count = most; count >= most - 10; --count)
                expected << name.arg(count);
        };
        expectForms("invoke %1", 13); // with a place for the result
        expectForms("invoke %1", 12);
        expected << QStringList{"addListener 3", "addListener 2", "removeListener 2"};
        expectForms("notify %1", 12);
        expected << QStringList{"serviceExists 1", "serviceList 0", "serviceFromServiceName 1"};
        QStringList actual;
        const QMetaObject& meta = IServiceMgr::staticMetaObject;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            actual << QString("%1 %2").arg(QString(meta.method(i).name())).arg(meta.method(i).parameterCount());
        QCOMPARE(actual, expected);
    }
    void registersUnderTheId_data()
    {
        const Rows<QObject*, QString, bool> row("service", "id", "isThreadSafe");
        row("no object", nullptr, "", false);
        row("no id, no flag", new QObject, "", false);
        row("thread-safe", new cClock, "Clock", true);
        row("base class wins", new cDerivedClock, "Clock", true);
        row("other spelling of true", new cAlarm, "Alarm", false);
    }
    /// A later one supersedes one that is there, and whoever has the id may withdraw it: the object is not compared.
    void registersUnderTheId()
    {
        const auto [service, id] = cells<QObject*, QString>("service", "id");
        const std::unique_ptr<QObject> owner(service);
        m_mgr.registerService(service);
        QCOMPARE(m_mgr.serviceList(), id == "Alarm" ? QStringList({"Alarm", "Clock"}) : QStringList("Clock"));
        QCOMPARE(m_mgr.serviceFromServiceName(id), id.isEmpty() ? nullptr : service);
        QCOMPARE(m_announced, id.isEmpty() ? QStringList() : QStringList("NEWSERVICE-1" + id));
        QTEST(service && cServiceInstance(service).isThreadSafe(), "isThreadSafe");
        m_mgr.unregisterService(service ? service : &m_clock);
        m_mgr.unregisterService(id == "Clock" ? &m_alarm : static_cast<QObject*>(&m_clock));
        QVERIFY(m_mgr.serviceList().isEmpty());
    }
    /// A start that fails leaves the registry as it was: what it has superseded is back, what is another's stays.
    void failedStartIsUndone()
    {
        cClock own;
        const auto other = std::make_unique<cNamedService>("Others");
        cStartJournal journal;
        {
            const cStartJournal::Opened opened(journal);
            m_mgr.registerService(&own);
            m_mgr.registerService(&m_alarm);
            m_mgr.registerService(other.get());
            m_mgr.unregisterService(other.get());
            m_mgr.registerService(other.get());
        }
        m_mgr.registerService(&own); // again, after the start
        m_mgr.unregisterService(&own);
        m_mgr.registerService(&m_clock);
        const void* const others = cCodeImage::codeOf(other.get());
        QCOMPARE(journal.undo([&](const void* code) { return code == others; }), QStringList("the service \"Alarm\""));
        QCOMPARE(m_mgr.serviceList(), QStringList({"Clock", "Others"}));
        cStartJournal second;
        {
            const cStartJournal::Opened opened(second);
            m_mgr.registerService(&own);
        }
        QCOMPARE(second.undo([](const void*) { return false; }), QStringList("the service \"Clock\""));
        QCOMPARE(m_mgr.serviceFromServiceName("Clock"), &m_clock);
        m_manager.withdraw(cCodeImage::around(cCodeImage::codeOf(&m_clock)));
        QCOMPARE(m_mgr.serviceList(), QStringList());
    }
    /// Random registrations, withdrawals and look-ups, with two services for each id, while both grow and shrink.
    void registryAgreesWithAHash()
    {
        constexpr int Ids = 3000, Steps = 400000;
        std::vector<std::unique_ptr<cNamedService>> services;
        for (int i = 0; i < 2 * Ids; ++i)
            services.push_back(std::make_unique<cNamedService>("Id" + QByteArray::number(i % Ids)));
        QHash<QString, QObject*> expected{{"Clock", &m_clock}};
        std::mt19937 random(7);
        for (int step = 0; step < Steps; ++step) {
            const auto& service = services[random() % services.size()];
            const bool isGrowing = step / (Steps / 8) % 2 == 0;
            if (random() % 4 < (isGrowing ? 3u : 1u)) {
                m_mgr.registerService(service.get());
                expected.insert(cServiceInstance::idOf(service.get()), service.get());
            } else {
                m_mgr.unregisterService(service.get());
                expected.remove(cServiceInstance::idOf(service.get()));
            }
            const QString asked = "Id" + QString::number(random() % Ids);
            QCOMPARE(m_mgr.serviceFromServiceName(asked), expected.value(asked));
            QCOMPARE(m_mgr.serviceExists(asked), expected.contains(asked));
        }
        QStringList ids = expected.keys();
        ids.sort();
        QCOMPARE(m_mgr.serviceList(), ids);
    }
    void invoke_data()
    {
        const QString noMethod = "the service \"Clock\": it has no such method";
        const QString all = "; it has now(), add(int), add(QString), handOverTo(QObject*), fail(QString)";
        const Rows<QString, QString, QString> row("id", "method", "reason");
        row("called", "Clock", "now", "");
        row("unknown id", "Cuckoo", "now", "the service \"Cuckoo\": none is registered");
        row("unknown method", "Clock", "tomorrow", noMethod + all);
        row("misspelt method", "Clock", "Nwo", noMethod + " (is \"now\" meant?)" + all);
        row("method with parentheses", "Clock", "now()", noMethod + " (is \"now\" meant?)" + all);
        row("method without a name", "Clock", "", noMethod + all);
        row("method beyond Latin-1", "Clock", QString::fromUtf8("n\u014dw"), noMethod);
        row("values missing", "Clock", "add", noMethod + " for the given values (), only add(int), add(QString)");
        row("plain C++ function", "Clock", "notInvokable", noMethod);
    }
    void invoke()
    {
        const auto [id, method, reason] = cells<QString, QString, QString>("id", "method", "reason");
        const LogFile file;
        int result = -1;
        QCOMPARE(m_mgr.invoke(id, method, Q_RETURN_ARG(int, result)), reason.isEmpty());
        QCOMPARE(result, reason.isEmpty() ? 12 : -1);
        QCOMPARE(file.lines().count('\n'), reason.isEmpty() ? 0 : 1);
        QVERIFY2(file.lines().contains(reason), qPrintable(file.lines()));
        QVERIFY2(m_mgr.lastError().contains(reason), qPrintable(m_mgr.lastError()));
        QCOMPARE(m_mgr.invoke(id, method), reason.isEmpty());
    }
    void wrongResultTypeAndExceptionsAreNamed()
    {
        const LogFile file;
        int result = -1;
        QString text = "none";
        QVERIFY(!m_mgr.invoke("Clock", "fail", Q_RETURN_ARG(int, result), Q_ARG(QString, "")));
        QVERIFY(!m_mgr.invoke("Clock", "fail", Q_RETURN_ARG(QString, text), Q_ARG(QString, "")));
        QVERIFY(!m_mgr.invoke("Clock", "fail", Q_ARG(QString, "out of order")));
        QCOMPARE(result, -1);
        QCOMPARE(text, "none");
        QCOMPARE(m_mgr.lastError(), "The service \"Clock\" threw an exception: out of order in \"fail\"");
        std::thread([&] { text = m_mgr.lastError(); }).join();
        QCOMPARE(text, "");
        QCOMPARE(
            file.lines(),
            "[ServiceMgr]Cannot call \"fail\" of the service \"Clock\": its result is of the type QString, not int \n"
            "[ServiceMgr]The service \"Clock\" threw an exception of unknown type in \"fail\" \n"
            "[ServiceMgr]The service \"Clock\" threw an exception: out of order in \"fail\" \n");
    }
    /// And the types of the values choose the method, also by names that are not in their normal form.
    void serviceMayWorkOnTheRegistry()
    {
        QString text;
        const QString minutes = "30";
        QVERIFY(m_mgr.invoke("Clock", "add", Q_RETURN_ARG(QString, text), Q_ARG(const QString&, minutes)));
        QCOMPARE(text, "1230");
        bool isHandedOver = false;
        QVERIFY(m_mgr.invoke("Clock", "handOverTo", Q_RETURN_ARG(bool, isHandedOver), Q_ARG(QObject*, &m_alarm)));
        QVERIFY(isHandedOver);
        QCOMPARE(m_alarm.rung, 1);
        QCOMPARE(m_mgr.serviceList(), QStringList("Alarm"));
    }
    /// One without a name goes by its meta-type; the values of both kinds may stand side by side.
    void takesTheValuesOfLaterQt()
    {
        using Corvane::genericArgument;
        using LaterValue = LaterArgument<const void*>;
        using LaterResult = LaterArgument<void*>;
        const LaterValue text{nullptr, "QString", nullptr};
        const QString minutes = "30";
        QString answer;
        const LaterResult result{&text, nullptr, &answer};
        const LaterValue value{&text, nullptr, &minutes};
        QVERIFY(m_mgr.invoke("Clock", "add", genericArgument(result), genericArgument(value)));
        QCOMPARE(answer, "1230");
        int hours = 0;
        const int one = 1;
        QVERIFY(m_mgr.invoke("Clock", "add", genericArgument(Q_RETURN_ARG(int, hours)),
                             genericArgument(LaterValue{&text, "int", &one})));
        QCOMPARE(hours, 13);
        QVERIFY(m_mgr.invoke("Clock", "now", Q_RETURN_ARG(int, hours), QGenericArgument()));
        QCOMPARE(hours, 12);
        QVERIFY(m_mgr.invoke("Clock", "add", QReturnArgument<int>("int", hours), Q_ARG(int, one)));
        QCOMPARE(hours, 13);
        QCOMPARE((Corvane::valueCount<LaterResult, LaterValue, QGenericArgument, QReturnArgument<int>>), 2);
    }
    void destroyedServiceAnswersNullAndFalse()
    {
        const LogFile file;
        m_mgr.registerService(std::make_unique<cClock>().get());
        // By the time it is destroyed its class no longer tells the id, so the record stays.
        QVERIFY(m_mgr.serviceExists("Clock"));
        QVERIFY(!m_mgr.serviceFromServiceName("Clock"));
        QVERIFY(!m_mgr.invoke("Clock", "now"));
        QVERIFY(file.lines().contains("destroyed"));
        m_mgr.verifyAPI("Clock", "1.0");
        m_mgr.registerService(&m_clock);
        QVERIFY(m_mgr.invoke("Clock", "now"));
    }
    /// One thread registers and withdraws a service over and over, all call one that stays, look up and list.
    void callsWhileTheRegistryChanges()
    {
        std::atomic<int> wrong{0};
        atOnce(4, [&](int thread) {
            for (int i = 0; i < 20000; ++i) {
                int hours = 0;
                wrong += !m_mgr.invoke("Clock", "add", Q_RETURN_ARG(int, hours), Q_ARG(int, i)) || hours != 12 + i;
                wrong += !m_mgr.serviceList().contains("Clock");
                const QObject* found = m_mgr.serviceFromServiceName("Alarm");
                wrong += found && found != &m_alarm;
                if (thread > 0)
                    continue;
                m_mgr.registerService(&m_alarm);
                wrong += m_mgr.serviceFromServiceName("Alarm") != &m_alarm;
                m_mgr.unregisterService(&m_alarm);
                wrong += m_mgr.serviceFromServiceName("Alarm") != nullptr;
            }
        });
        QCOMPARE(wrong.load(), 0);
    }
    /// It comes last, as a manager is not opened again.
    void closedManagerKeepsServingUntilReleased()
    {
        m_manager.setClosed();
        m_mgr.registerService(std::make_unique<cClock>().get());
        QCOMPARE(m_announced, QStringList());
        QVERIFY(m_mgr.invoke("Clock", "now"));
        m_manager.releaseAll();
        QCOMPARE(m_mgr.serviceList(), QStringList());
        QVERIFY(!m_mgr.serviceFromServiceName("Clock"));
    }

private:
    void handleMessage(int connectionId, const cJsonValue& message) override
    {
        m_announced << message["command"].toString() + QString::number(connectionId) + message["service_id"].toString();
    }

    SettingsSandbox m_sandbox;
    cServiceMgr m_manager;
    IServiceMgr& m_mgr = m_manager;
    cClock m_clock; // registered, unless a test withdraws it
    cAlarm m_alarm;
    QStringList m_announced;
};

QTEST_GUILESS_MAIN(tst_cServiceMgr)
#include "tst_cServiceMgr.moc"
