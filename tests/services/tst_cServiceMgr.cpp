#include "SampleServices.h"
#include "SettingsSandbox.h"

#include <Norvale/Corvane.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cLogCentral.h>

#include "services/cServiceInstance.h"
#include "services/cServiceMgr.h"

#include <QtCore/QFile>
#include <QtCore/QMetaMethod>
#include <QtTest/QtTest>

#include <memory>

namespace {

/// Notes the messages that it gets, as "connection command service".
class cMessageNotes : public Corvane::ILocalSocketMessageHandler
{
public:
    cMessageNotes() { Corvane::registerLocalSocketMessageHandler(this); }
    ~cMessageNotes() override { Corvane::unregisterLocalSocketMessageHandler(this); }

    void handleMessage(int connectionId, const cJsonValue& message) override
    {
        notes << QStringLiteral("%1 %2 %3")
                     .arg(QString::number(connectionId), message[QStringLiteral("command")].toString(),
                          message[QStringLiteral("service_id")].toString());
    }

    QStringList notes;
};

QStringList forms(const QString& name, const QString& before)
{
    QStringList signatures;
    for (int values = 10; values >= 0; --values) {
        QString signature = name + QLatin1Char('(') + before;
        for (int i = 0; i < values; ++i)
            signature += QStringLiteral(",QGenericArgument");
        signatures << signature + QLatin1Char(')');
    }
    return signatures;
}

} // namespace

class tst_cServiceMgr : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { m_mgr = std::make_unique<cServiceMgr>(); }
    void cleanup() { m_mgr.reset(); }

    void metaObjectListsTheOperationsInOrder();
    void registersUnderTheId_data();
    void registersUnderTheId();
    void laterRegistrationSupersedes();
    void invoke_data();
    void invoke();
    void overloadsAreResolvedByType();
    void serviceMayWorkOnTheRegistry();
    void destroyedServiceAnswersNullAndFalse();
    void closedManagerKeepsServingUntilReleased();

private:
    IServiceMgr& mgr() { return *m_mgr; }
    QString takeLog() { return QString::fromUtf8(m_log.readAll()); }

    SettingsSandbox m_sandbox;
    std::unique_ptr<cServiceMgr> m_mgr;
    QFile m_log;
};

void tst_cServiceMgr::initTestCase()
{
    QVERIFY(!IServiceMgr::instance());
    init();
    QCOMPARE(IServiceMgr::instance(), m_mgr.get());
    cleanup();
    QVERIFY(!IServiceMgr::instance());
    m_log.setFileName(m_sandbox.path() + QStringLiteral("/log.txt"));
    cLogCentral::setLogFile(m_log.fileName());
    QVERIFY(m_log.open(QIODevice::ReadOnly));
}

void tst_cServiceMgr::metaObjectListsTheOperationsInOrder()
{
    const QString call = QStringLiteral("QString,QString");
    QStringList expected{"verifyAPI(QString,QString)", "verifyAPI2(const QMetaObject*,QString)",
                         "registerService(QObject*)", "unregisterService(QObject*)"};
    expected += forms("invoke", call + ",QGenericReturnArgument") + forms("invoke", call);
    expected << "addListener(QString,QObject*,QString)"
             << "addListener(QString,QObject*)"
             << "removeListener(QString,QObject*)";
    expected += forms("notify", call);
    expected << "serviceExists(QString)"
             << "serviceList()"
             << "serviceFromServiceName(QString)";

    const QMetaObject& meta = IServiceMgr::staticMetaObject;
    QStringList actual;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        actual << QString::fromLatin1(meta.method(i).methodSignature());
    QCOMPARE(actual, expected);

    bool exists = true;
    QVERIFY(QMetaObject::invokeMethod(m_mgr.get(), "serviceExists", Q_RETURN_ARG(bool, exists),
                                      Q_ARG(QString, QStringLiteral("Clock"))));
    QVERIFY(!exists);
}

void tst_cServiceMgr::registersUnderTheId_data()
{
    QTest::addColumn<QObject*>("service");
    QTest::addColumn<QStringList>("ids");
    QTest::addColumn<bool>("isThreadSafe");

    QTest::newRow("no object") << static_cast<QObject*>(nullptr) << QStringList() << false;
    QTest::newRow("no id") << static_cast<QObject*>(new cUnnamed) << QStringList() << false;
    QTest::newRow("thread-safe") << static_cast<QObject*>(new cClock) << QStringList("Clock") << true;
    QTest::newRow("other spelling of true") << static_cast<QObject*>(new cSecondClock) << QStringList("Clock") << false;
    QTest::newRow("base class wins") << static_cast<QObject*>(new cDerivedClock) << QStringList("Clock") << true;
    QTest::newRow("without a flag") << static_cast<QObject*>(new cAlarm) << QStringList("Alarm") << false;
}

void tst_cServiceMgr::registersUnderTheId()
{
    QFETCH(QObject*, service);
    QFETCH(QStringList, ids);
    QFETCH(bool, isThreadSafe);
    const std::unique_ptr<QObject> owner(service);
    const cMessageNotes messages;

    mgr().registerService(service);
    QCOMPARE(mgr().serviceList(), ids);
    if (service)
        QCOMPARE(cServiceInstance(service).isThreadSafe(), isThreadSafe);
    if (!ids.isEmpty()) {
        QCOMPARE(mgr().serviceFromServiceName(ids.first()), service);
        QCOMPARE(messages.notes, QStringList("-1 NEWSERVICE " + ids.first()));
    }
    mgr().unregisterService(service);
    QVERIFY(mgr().serviceList().isEmpty());
}

void tst_cServiceMgr::laterRegistrationSupersedes()
{
    cClock first;
    cSecondClock second;
    const cMessageNotes messages;
    mgr().registerService(&first);
    QCOMPARE(mgr().serviceFromServiceName("Clock"), &first);
    mgr().registerService(&second);
    QCOMPARE(mgr().serviceList(), QStringList("Clock"));
    QCOMPARE(mgr().serviceFromServiceName("Clock"), &second);
    QCOMPARE(messages.notes, QStringList({"-1 NEWSERVICE Clock", "-1 NEWSERVICE Clock"}));
    // Whoever has the id may withdraw the service; the object is not compared.
    mgr().unregisterService(&first);
    QVERIFY(!mgr().serviceExists("Clock"));
    QVERIFY(!mgr().serviceFromServiceName("Clock"));
}

void tst_cServiceMgr::invoke_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("method");
    QTest::addColumn<int>("answer");
    QTest::addColumn<QString>("reason");

    QTest::newRow("called") << "Clock"
                            << "now" << 12 << QString();
    QTest::newRow("unknown id") << "Cuckoo"
                                << "now" << -1 << "no service is registered";
    QTest::newRow("unknown method") << "Clock"
                                    << "tomorrow" << -1 << "no such method";
    QTest::newRow("method with parentheses") << "Clock"
                                             << "now()" << -1 << "no such method";
    QTest::newRow("method without a name") << "Clock"
                                           << "" << -1 << "no such method";
    QTest::newRow("method beyond Latin-1") << "Clock" << QString::fromUtf8("n\u014dw") << -1 << "no such method";
    QTest::newRow("values missing") << "Clock"
                                    << "add" << -1 << "no such method";
    QTest::newRow("plain C++ function") << "Clock"
                                        << "notInvokable" << -1 << "no such method";
    QTest::newRow("result of another type") << "Clock"
                                            << "handOverTo" << -1 << "no such method";
}

void tst_cServiceMgr::invoke()
{
    QFETCH(QString, id);
    QFETCH(QString, method);
    QFETCH(int, answer);
    QFETCH(QString, reason);
    cClock clock;
    mgr().registerService(&clock);
    takeLog();

    int result = -1;
    QCOMPARE(mgr().invoke(id, method, Q_RETURN_ARG(int, result)), reason.isEmpty());
    QCOMPARE(result, answer);
    const QString log = takeLog();
    QCOMPARE(log.count(QLatin1Char('\n')), reason.isEmpty() ? 0 : 1);
    QVERIFY2(log.contains(reason) && (reason.isEmpty() || log.contains(id)), qPrintable(log));
    QCOMPARE(mgr().invoke(id, method), reason.isEmpty());
}

void tst_cServiceMgr::overloadsAreResolvedByType()
{
    cClock clock;
    mgr().registerService(&clock);
    int hours = 0;
    QVERIFY(mgr().invoke("Clock", "add", Q_RETURN_ARG(int, hours), Q_ARG(int, 3)));
    QCOMPARE(hours, 15);
    QString text;
    // a type name that is not written in its normal form
    const QString minutes = QStringLiteral("30");
    QVERIFY(mgr().invoke("Clock", "add", Q_RETURN_ARG(QString, text), Q_ARG(const QString&, minutes)));
    QCOMPARE(text, QStringLiteral("1230"));
}

void tst_cServiceMgr::serviceMayWorkOnTheRegistry()
{
    cClock clock;
    cAlarm alarm;
    mgr().registerService(&clock);
    bool isHandedOver = false;
    QVERIFY(mgr().invoke("Clock", "handOverTo", Q_RETURN_ARG(bool, isHandedOver), Q_ARG(QObject*, &alarm)));
    QVERIFY(isHandedOver);
    QCOMPARE(alarm.rung(), 1);
    QCOMPARE(mgr().serviceList(), QStringList("Alarm"));
}

void tst_cServiceMgr::destroyedServiceAnswersNullAndFalse()
{
    auto clock = std::make_unique<cClock>();
    mgr().registerService(clock.get());
    QVERIFY(mgr().invoke("Clock", "now"));
    clock.reset();
    // By the time it is destroyed its class no longer tells the id, so the record stays.
    QVERIFY(mgr().serviceExists("Clock"));
    QVERIFY(!mgr().serviceFromServiceName("Clock"));
    takeLog();
    QVERIFY(!mgr().invoke("Clock", "now"));
    QVERIFY(takeLog().contains("destroyed"));
    mgr().verifyAPI("Clock", "1.0");

    cClock next;
    mgr().registerService(&next);
    QVERIFY(mgr().invoke("Clock", "now"));
}

void tst_cServiceMgr::closedManagerKeepsServingUntilReleased()
{
    cClock clock, late;
    cAlarm alarm;
    mgr().registerService(&clock);
    mgr().registerService(&alarm);
    m_mgr->setClosed();
    const cMessageNotes messages;
    mgr().registerService(&late);
    QCOMPARE(mgr().serviceFromServiceName("Clock"), &clock);
    QCOMPARE(messages.notes, QStringList());
    QVERIFY(mgr().invoke("Clock", "now"));
    QCOMPARE(mgr().serviceList(), QStringList({"Alarm", "Clock"}));
    m_mgr->releaseAll();
    QCOMPARE(mgr().serviceList(), QStringList());
    QVERIFY(!mgr().serviceFromServiceName("Clock"));
}

QTEST_GUILESS_MAIN(tst_cServiceMgr)
#include "tst_cServiceMgr.moc"
