#include <Norvale/Corvane.h>
#include <Norvale/cJsonValue.h>

#include <QtTest/QtTest>

namespace {

QStringList journal;

struct Handler : Corvane::ILocalSocketMessageHandler
{
    explicit Handler(const QString& handlerName) : name(handlerName) {}
    ~Handler() override { Corvane::unregisterLocalSocketMessageHandler(this); }

    void handleMessage(int connectionId, const cJsonValue& message) override
    {
        journal << name + QString::number(connectionId) + message.toString();
        if (toUnregister)
            Corvane::unregisterLocalSocketMessageHandler(toUnregister);
        if (toRegister)
            Corvane::registerLocalSocketMessageHandler(toRegister);
    }

    QString name;
    Handler* toRegister = nullptr;
    Handler* toUnregister = nullptr;
};

QStringList dispatch(int connectionId)
{
    journal.clear();
    Corvane::handleLocalSocketMessage(connectionId, cJsonValue("x"));
    return journal;
}

} // namespace

class tst_MessageHandlers : public QObject
{
    Q_OBJECT

private slots:
    void everyHandlerOnceInOrder()
    {
        Handler b("b");
        Handler a("a");
        QCOMPARE(dispatch(1), QStringList());
        for (Handler* handler : {&b, &a, &b})
            Corvane::registerLocalSocketMessageHandler(handler);
        QCOMPARE(dispatch(-1), QStringList({"b-1x", "a-1x"}));
        Corvane::unregisterLocalSocketMessageHandler(&b);
        Corvane::unregisterLocalSocketMessageHandler(&b);
        QCOMPARE(dispatch(3), QStringList("a3x"));
    }
    void changesCountFromTheNextMessage()
    {
        Handler a("a");
        Handler leaving("l");
        Handler last("z");
        Handler coming("c");
        for (Handler* handler : {&a, &leaving, &last})
            Corvane::registerLocalSocketMessageHandler(handler);
        a.toUnregister = &leaving;
        a.toRegister = &coming;
        QCOMPARE(dispatch(1), QStringList({"a1x", "l1x", "z1x"}));
        QCOMPARE(dispatch(2), QStringList({"a2x", "z2x", "c2x"}));
    }
};

QTEST_GUILESS_MAIN(tst_MessageHandlers)
#include "tst_MessageHandlers.moc"
