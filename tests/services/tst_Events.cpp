#include "SettingsSandbox.h"

#include "services/cServiceMgr.h"

#include <QtTest/QtTest>

#include <functional>
#include <memory>
#include <new>
#include <utility>

namespace {

int s_messages = 0;

void countMessage(QtMsgType, const QMessageLogContext&, const QString&)
{
    ++s_messages;
}

} // namespace

/// Notes what it is told in a journal that it shares with others, under its name.
class cSampleListener : public QObject
{
    Q_OBJECT

public:
    cSampleListener(const QString& name, QStringList& journal) : m_journal(journal) { setObjectName(name); }

    std::function<void()> whenChanged; ///< done once
    QThread* thread = nullptr;         ///< where it was told last

public Q_SLOTS:
    void onChanged()
    {
        note(QStringLiteral("changed"));
        thread = QThread::currentThread();
        if (const auto action = std::exchange(whenChanged, nullptr))
            action();
    }
    void onNamed(const QString& name) { note(name); }
    void handleDone(int result) { note(QString::number(result)); }
    void onTen(int a, int b, int c, int d, int e, int f, int g, int h, int i, const QString& j)
    {
        note(QString::number(a + b + c + d + e + f + g + h + i) + j);
    }

private:
    void note(const QString& what) { m_journal << objectName() + QLatin1Char(' ') + what; }

    QStringList& m_journal;
};

class tst_Events : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_mgr = std::make_unique<cServiceMgr>(); }
    void cleanup()
    {
        m_mgr.reset();
        m_journal.clear();
    }

    void lastAddedIsCalledFirst();
    void valuesArrive();
    void whoCannotHearIsSkippedSilently();
    void changesDuringAnEvent();
    void destroyedListenerLeavesEverySet();
    void removingDropsTheWatch();
    void otherThreadGetsAQueuedCall();
    void closedManagerTakesNoListener();

private:
    IServiceMgr& mgr() { return *m_mgr; }
    QStringList heard(const QString& set);

    SettingsSandbox m_sandbox;
    std::unique_ptr<cServiceMgr> m_mgr;
    QStringList m_journal;
};

/// What the listeners note when "Changed" of @p set is raised.
QStringList tst_Events::heard(const QString& set)
{
    m_journal.clear();
    mgr().notify(set, "Changed");
    return m_journal;
}

void tst_Events::lastAddedIsCalledFirst()
{
    cSampleListener a("A", m_journal), b("B", m_journal), c("C", m_journal);
    QCOMPARE(heard("S"), QStringList());
    mgr().addListener("S", &a);
    mgr().addListener("T", &c);
    mgr().addListener("S", &b);
    QCOMPARE(heard("S"), QStringList({"B changed", "A changed"}));
    QCOMPARE(heard("T"), QStringList("C changed"));

    mgr().addListener("S", &a);
    QCOMPARE(heard("S"), QStringList({"A changed", "B changed", "A changed"}));
    mgr().removeListener("S", &a);
    QCOMPARE(heard("S"), QStringList("B changed"));
}

void tst_Events::valuesArrive()
{
    cSampleListener a("A", m_journal);
    mgr().addListener("S", &a);
    mgr().addListener("S", &a, "handle");
    mgr().notify("S", "Done", Q_ARG(int, 7));
    const QString name = QString::fromUtf8("Gr\u00fcn");
    mgr().notify("S", "Named", Q_ARG(QString, name));
    mgr().notify("S", "Named", Q_ARG(const QString&, name));
    const QString last("!");
    mgr().notify("S", "Ten", Q_ARG(int, 1), Q_ARG(int, 2), Q_ARG(int, 3), Q_ARG(int, 4), Q_ARG(int, 5), Q_ARG(int, 6),
                 Q_ARG(int, 7), Q_ARG(int, 8), Q_ARG(int, 9), Q_ARG(QString, last));
    QCOMPARE(m_journal, QStringList({"A 7", "A " + name, "A " + name, "A 45!"}));
}

void tst_Events::whoCannotHearIsSkippedSilently()
{
    cSampleListener a("A", m_journal), b("B", m_journal);
    QObject deaf;
    mgr().addListener("S", &a);
    mgr().addListener("S", &deaf);
    mgr().addListener("S", &b, "");
    mgr().addListener("S", nullptr);
    s_messages = 0;
    const QtMessageHandler before = qInstallMessageHandler(countMessage);
    mgr().notify("S", "Changed");
    mgr().notify("S", "Changed", Q_ARG(int, 1));
    mgr().notify("S", "Absent");
    mgr().notify("S", "");
    qInstallMessageHandler(before);
    QCOMPARE(m_journal, QStringList("A changed"));
    QCOMPARE(s_messages, 0);
}

void tst_Events::changesDuringAnEvent()
{
    cSampleListener first("first", m_journal), removed("removed", m_journal), added("added", m_journal);
    auto destroyed = std::make_unique<cSampleListener>("destroyed", m_journal);
    mgr().addListener("S", &removed);
    mgr().addListener("S", destroyed.get());
    mgr().addListener("S", &first);
    first.whenChanged = [&] {
        first.whenChanged = nullptr;
        mgr().removeListener("S", &removed);
        destroyed.reset();
        mgr().addListener("S", &added);
    };
    QCOMPARE(heard("S"), QStringList("first changed"));
    QCOMPARE(heard("S"), QStringList({"added changed", "first changed"}));
}

void tst_Events::destroyedListenerLeavesEverySet()
{
    cSampleListener stays("stays", m_journal);
    auto goes = std::make_unique<cSampleListener>("goes", m_journal);
    for (const char* set : {"S", "T"}) {
        mgr().addListener(set, goes.get());
        mgr().addListener(set, &stays);
        mgr().addListener(set, goes.get());
    }
    goes.reset();
    QCOMPARE(heard("S"), QStringList("stays changed"));
    QCOMPARE(heard("T"), QStringList("stays changed"));
}

void tst_Events::removingDropsTheWatch()
{
    alignas(cSampleListener) char place[sizeof(cSampleListener)];
    auto* unwatched = new (place) cSampleListener("unwatched", m_journal);
    mgr().addListener("S", unwatched);
    mgr().addListener("T", unwatched);
    mgr().removeListener("S", unwatched);
    QCOMPARE(heard("T"), QStringList("unwatched changed"));
    unwatched->~cSampleListener();

    // The registration in T has outlived its listener. It is skipped, also when another one gets the same address.
    QCOMPARE(heard("T"), QStringList());
    auto* next = new (place) cSampleListener("next", m_journal);
    QCOMPARE(heard("T"), QStringList());
    next->~cSampleListener();
    mgr().removeListener("T", unwatched);
    mgr().removeListener("T", unwatched);
    QCOMPARE(heard("T"), QStringList());
}

void tst_Events::otherThreadGetsAQueuedCall()
{
    QThread worker;
    cSampleListener listener("A", m_journal);
    listener.moveToThread(&worker);
    mgr().addListener("S", &listener);
    QCOMPARE(heard("S"), QStringList());
    listener.whenChanged = [&] { worker.quit(); };
    worker.start();
    QVERIFY(worker.wait());
    QCOMPARE(listener.thread, &worker);
    QCOMPARE(m_journal, QStringList("A changed"));
}

void tst_Events::closedManagerTakesNoListener()
{
    cSampleListener before("before", m_journal), after("after", m_journal);
    mgr().addListener("S", &before);
    m_mgr->setClosed();
    mgr().addListener("S", &after);
    QCOMPARE(heard("S"), QStringList("before changed"));
    m_mgr->releaseAll();
    QCOMPARE(heard("S"), QStringList());
    mgr().removeListener("S", &before);
}

QTEST_GUILESS_MAIN(tst_Events)
#include "tst_Events.moc"
