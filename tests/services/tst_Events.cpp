#include "AtOnce.h"
#include "LogFile.h"
#include "SettingsSandbox.h"

#include "services/cServiceMgr.h"
#include "version/ForeignCode.h"

#include <QtTest/QtTest>

#include <functional>
#include <memory>
#include <new>
#include <stdexcept>

/// Notes what it is told in a journal that it shares with others, under its name.
class cListener : public QObject
{
    Q_OBJECT

public:
    cListener(const QString& name, QStringList& journal) : m_journal(journal) { setObjectName(name); }

    std::function<void()> whenChanged = [] {};

public Q_SLOTS:
    void onChanged()
    {
        note("changed");
        whenChanged();
    }
    void onNamed(const QString& name) { note(name); }
    void handleDone(int result) { note(QString::number(result)); }
    void onTen(int a, int b, int c, int d, int e, int f, int g, int h, int i, const QString& j)
    {
        note(QString::number(a + b + c + d + e + f + g + h + i) + j);
    }

private:
    void note(const QString& what) { m_journal << objectName() + ' ' + what; }

    QStringList& m_journal;
};

class tst_Events : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { m_manager.releaseAll(); }
    void lastAddedIsCalledFirst()
    {
        QCOMPARE(heard("S"), QStringList());
        m_mgr.addListener("S", &m_a);
        m_mgr.addListener("T", &m_b);
        m_mgr.addListener("S", &m_b);
        QCOMPARE(heard("S"), QStringList({"B changed", "A changed"}));
        QCOMPARE(heard("T"), QStringList("B changed"));
        m_mgr.addListener("S", &m_a);
        QCOMPARE(heard("S"), QStringList({"A changed", "B changed", "A changed"}));
        m_mgr.removeListener("S", &m_a);
        QCOMPARE(heard("S"), QStringList("B changed"));
    }
    /// Who has no such method is skipped, without a message.
    void valuesArriveWhereTheyFit()
    {
        static int s_messages = 0;
        const QtMessageHandler before =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) { ++s_messages; });
        QObject deaf;
        m_mgr.addListener("S", nullptr);
        m_mgr.addListener("S", &deaf);
        m_mgr.addListener("S", &m_a);
        m_mgr.addListener("S", &m_a, "handle");
        m_mgr.addListener("S", &m_b, "");
        heard("S");
        m_mgr.notify("S", "Changed", Q_ARG(int, 1));
        m_mgr.notify("S", "");
        m_mgr.notify("S", "Done", Q_ARG(int, 7));
        const QString name = QString::fromUtf8("Gr\u00fcn"), last = "!";
        m_mgr.notify("S", "Named", Q_ARG(QString, name));
        m_mgr.notify("S", "Named", Q_ARG(const QString&, name));
        m_mgr.notify("S", "Ten", Q_ARG(int, 1), Q_ARG(int, 2), Q_ARG(int, 3), Q_ARG(int, 4), Q_ARG(int, 5),
                     Q_ARG(int, 6), Q_ARG(int, 7), Q_ARG(int, 8), Q_ARG(int, 9), Q_ARG(QString, last));
        qInstallMessageHandler(before);
        QCOMPARE(m_journal, QStringList({"A changed", "A 7", "A " + name, "A " + name, "A 45!"}));
        QCOMPARE(s_messages, 0);
    }
    void changesDuringAnEvent()
    {
        cListener first("first", m_journal);
        auto destroyed = std::make_unique<cListener>("destroyed", m_journal);
        m_mgr.addListener("S", &m_a);
        m_mgr.addListener("S", destroyed.get());
        m_mgr.addListener("S", &first);
        first.whenChanged = [&] {
            m_mgr.removeListener("S", &m_a);
            destroyed.reset();
            m_mgr.addListener("S", &m_b);
        };
        QCOMPARE(heard("S"), QStringList("first changed"));
        QCOMPARE(heard("S"), QStringList({"B changed", "first changed"}));
    }
    void removingDropsTheWatch()
    {
        alignas(cListener) char place[sizeof(cListener)];
        auto* unwatched = new (place) cListener("unwatched", m_journal);
        m_mgr.addListener("S", unwatched);
        m_mgr.addListener("T", unwatched);
        m_mgr.removeListener("S", unwatched);
        QCOMPARE(heard("T"), QStringList("unwatched changed"));
        unwatched->~cListener();

        // The registration in T has outlived its listener. It is skipped, also when another one gets the same address.
        QCOMPARE(heard("T"), QStringList());
        auto* next = new (place) cListener("next", m_journal);
        QCOMPARE(heard("T"), QStringList());
        next->~cListener();
        m_mgr.removeListener("T", unwatched);
        QCOMPARE(heard("T"), QStringList());
    }
    /// It is named, and the others hear of the event; also when the call is queued.
    void throwingListener()
    {
        const LogFile file;
        m_a.whenChanged = [] { throw std::runtime_error("out of paper"); };
        for (cListener* listener : {&m_b, &m_a, &m_b})
            m_mgr.addListener("S", listener);
        QCOMPARE(heard("S"), QStringList({"B changed", "A changed", "B changed"}));
        std::thread([&] { m_mgr.notify("S", "Changed"); }).join();
        QCoreApplication::processEvents();
        m_a.whenChanged = [] {};
        QCOMPARE(m_journal.size(), 6);
        const QString culprit = "[ServiceMgr]The listener cListener of " + QCoreApplication::applicationFilePath() +
                                " threw an exception: out of paper in \"onChanged\"";
        QVERIFY2(file.lines().count(culprit) == 2, qPrintable(file.lines()));
    }
    void failedStartIsUndone()
    {
        cListener& kept = m_b;
        auto destroyed = std::make_unique<cListener>("destroyed", m_journal);
        m_mgr.addListener("S", &kept);
        cStartJournal journal;
        {
            const cStartJournal::Opened opened(journal);
            m_mgr.addListener("S", &m_a);
            m_mgr.addListener("T", &m_a);
            m_mgr.addListener("S", destroyed.get());
            m_mgr.removeListener("T", &m_a);
        }
        destroyed.reset();
        m_mgr.addListener("S", &kept);
        std::thread([&] { m_mgr.notify("S", "Changed"); }).join(); // it waits for them when they are withdrawn
        QCOMPARE(journal.undo([](const void*) { return false; }), QStringList("a listener of \"S\""));
        m_journal.clear();
        QCoreApplication::processEvents();
        QCOMPARE(m_journal, QStringList({"B changed", "B changed"}));
        QCOMPARE(m_manager.withdraw(cCodeImage::around(cCodeImage::codeOf(&kept))).size(), 2);
        QCOMPARE(heard("S"), QStringList());
    }
    void otherThreadGetsAQueuedCall()
    {
        m_mgr.addListener("S", &m_a);
        m_journal.clear();
        std::thread([&] { m_mgr.notify("S", "Named", Q_ARG(QString, QString(3, 'x'))); }).join();
        QCOMPARE(m_journal, QStringList());
        QCoreApplication::processEvents();
        QCOMPARE(m_journal, QStringList("A xxx"));
    }
    /// Threads add, remove, destroy and notify listeners of their own, at once and partly in one set. A destroyed one
    /// leaves every set, however often it was there.
    void listenersMayComeAndGo()
    {
        atOnce(4, [&](int thread) {
            const QString own = QString::number(thread);
            for (int i = 0; i < 5000; ++i) {
                QStringList journal;
                cListener stays("stays", journal);
                auto goes = std::make_unique<cListener>("goes", journal);
                for (cListener* listener : {goes.get(), &stays, goes.get()})
                    m_mgr.addListener(own, listener);
                m_mgr.addListener("Shared", goes.get()); // of which nobody raises an event while it is destroyed
                m_mgr.notify(own, "Changed");
                goes.reset();
                m_mgr.notify(own, "Changed");
                m_mgr.removeListener(own, &stays);
                m_mgr.notify(own, "Changed");
                QCOMPARE(journal.join(", "), "goes changed, stays changed, goes changed, stays changed");
            }
        });
        QCOMPARE(heard("Shared"), QStringList());
    }
    /// It comes last, as a manager is not opened again.
    void closedManagerTakesNoListener()
    {
        m_mgr.addListener("S", &m_a);
        m_manager.setClosed();
        m_mgr.addListener("S", &m_b);
        QCOMPARE(heard("S"), QStringList("A changed"));
        m_manager.releaseAll();
        QCOMPARE(heard("S"), QStringList());
        m_mgr.removeListener("S", &m_a);
    }

private:
    /// What the listeners note when "Changed" of @p set is raised.
    QStringList heard(const QString& set)
    {
        m_journal.clear();
        m_mgr.notify(set, "Changed");
        return m_journal;
    }

    SettingsSandbox m_sandbox;
    cServiceMgr m_manager;
    IServiceMgr& m_mgr = m_manager;
    QStringList m_journal;
    cListener m_a{"A", m_journal}, m_b{"B", m_journal};
};

QTEST_GUILESS_MAIN(tst_Events)
#include "tst_Events.moc"
