#include "LogFile.h"
#include "SettingsSandbox.h"

#include <QtCore/QSettings>
#include <QtCore/QThread>
#include <QtTest/QtTest>

namespace {

QVariant storedSwitch(const char* channel)
{
    return QSettings().value(QStringLiteral("Log/%1/enabled").arg(QLatin1String(channel)));
}

void storeSwitch(const char* channel, bool isEnabled)
{
    QSettings().setValue(QStringLiteral("Log/%1/enabled").arg(QLatin1String(channel)), isEnabled);
}

} // namespace

/// Collects what a hook is called with; the second method has a signature that does not fit.
class Hook : public QObject
{
    Q_OBJECT

public:
    QStringList lines;
    QList<debugType> levels;
    QList<Qt::HANDLE> threads;
    QList<QDateTime> times;
    QStringList* journal = nullptr;

public slots:
    void onLine(const QString& channel, Qt::HANDLE threadId, const QDateTime& time, debugType level,
                const QString& message)
    {
        lines.append(channel + QLatin1Char('|') + message);
        threads.append(threadId);
        times.append(time);
        levels.append(level);
        if (journal)
            journal->append(objectName());
    }
    void onOther(const QString&, Qt::HANDLE, const QDateTime&, debugType, const QString& message)
    {
        lines.append(QStringLiteral("other|") + message);
    }
    void onMessage(const QString& message) { lines.append(message); }
    void onLast(const QString&, Qt::HANDLE, const QDateTime&, debugType, const QString&) { delete this; }
};

class tst_cLogCentral : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void isMadeOnDemand();
    void readsSwitchAtFirstRequest();
    void switchesAndStores();
    void savesTheRegisteredChannels();
    void fileLineHasItsForm();
    void setLogFileOpensChangesAndCloses();
    void warningsAreFlushed();
    void historyKeepsTheLast();
    void hooksAreCalledInOrder();
    void hookMayBeReplacedRemovedAndUnfit();
    void hookOfAnotherThreadIsQueued();
    void destroyedHookIsForgotten();

private:
    SettingsSandbox m_sandbox;
};

void tst_cLogCentral::cleanup()
{
    cLogCentral::setDebuggerOutput(false);
}

void tst_cLogCentral::isMadeOnDemand()
{
    QVERIFY(cLogCentral::initialize());
    QCOMPARE(cLogCentral::instance(), cLogCentral::instance());
    QVERIFY(QMetaType::type("debugType") != QMetaType::UnknownType);
    QVERIFY(QMetaType::type("Qt::HANDLE") != QMetaType::UnknownType);
}

void tst_cLogCentral::readsSwitchAtFirstRequest()
{
    storeSwitch("X", false);
    storeSwitch("deep/channel", false);
    LogFile file;
    cLogCentral::log(QStringLiteral("X")).info() << "dropped" << Qt::endl;
    cLogCentral::log(QStringLiteral("X")).warning() << "warning" << Qt::endl;
    cLogCentral::log(QStringLiteral("deep/channel")).info() << "dropped" << Qt::endl;
    cLogCentral::log(QStringLiteral("unknown")).info() << "written" << Qt::endl;
    storeSwitch("X", true); // too late
    cLogCentral::log(QStringLiteral("X")).info() << "dropped" << Qt::endl;
    QCOMPARE(file.closeAndStrip(), QStringLiteral("[X]warning \n[unknown]written \n"));
    QVERIFY(!storedSwitch("unknown").isValid());
}

void tst_cLogCentral::switchesAndStores()
{
    cLogCentral::enableLog(QStringLiteral("Y"));
    QCOMPARE(storedSwitch("Y").toString(), QStringLiteral("true"));
    cLogCentral::disableLog(QStringLiteral("Y"));
    QCOMPARE(storedSwitch("Y").toString(), QStringLiteral("false"));

    LogFile file;
    const cLog log = cLogCentral::log(QStringLiteral("Y")); // not registered until now: reads what was stored
    log.info() << "dropped" << Qt::endl;
    cLogCentral::enableLog(QStringLiteral("Y"));
    log.info() << "written" << Qt::endl;
    QCOMPARE(storedSwitch("Y").toString(), QStringLiteral("true"));
    cLog(log).disable();
    QCOMPARE(storedSwitch("Y").toString(), QStringLiteral("true"));
    log.info() << "dropped" << Qt::endl;
    QCOMPARE(file.closeAndStrip(), QStringLiteral("[Y]written \n"));
}

void tst_cLogCentral::savesTheRegisteredChannels()
{
    cLogCentral::log(QStringLiteral("saved")).disable();
    cLogCentral::disableLog(QStringLiteral("unregistered"));
    QSettings().remove(QStringLiteral("Log"));
    cLogCentral::saveLogSettings();
    QCOMPARE(storedSwitch("saved").toString(), QStringLiteral("false"));
    QVERIFY(!storedSwitch("unregistered").isValid());
    QVERIFY(!storedSwitch("!").isValid());
}

void tst_cLogCentral::fileLineHasItsForm()
{
    LogFile file;
    const QDateTime before = QDateTime::currentDateTime();
    cLogCentral::log(QString::fromUtf8("Größe")).info() << "text" << Qt::endl;
    const QDateTime after = QDateTime::currentDateTime();
    const QString line = QString::fromUtf8(file.close());
    const int dash = line.indexOf(QLatin1Char('-'));
    const QString thread = QString::number(quintptr(QThread::currentThreadId()), 16);
    QCOMPARE(line.mid(dash), QString::fromUtf8("-Größe(%1):text \n").arg(thread));
    QVERIFY(line.startsWith(before.toString(Qt::TextDate)) || line.startsWith(after.toString(Qt::TextDate)));
}

void tst_cLogCentral::setLogFileOpensChangesAndCloses()
{
    QTemporaryDir folder;
    LogFile first;
    const cLog log = cLogCentral::log(QStringLiteral("files"));
    log.info() << "one" << Qt::endl;
    QVERIFY(QFile::rename(first.path(), first.path() + QStringLiteral(".moved")));
    cLogCentral::setLogFile(first.path()); // the same path keeps the open file
    log.warning() << "two" << Qt::endl;
    QVERIFY(!QFile::exists(first.path()));

    LogFile second; // another path closes it
    QFile moved(first.path() + QStringLiteral(".moved"));
    QVERIFY(moved.open(QIODevice::ReadOnly));
    QCOMPARE(moved.readAll().count('\n'), 2);
    log.info() << "three" << Qt::endl;
    cLogCentral::setLogFile(QString());
    log.error() << "nowhere" << Qt::endl;
    cLogCentral::setLogFile(second.path()); // a file that exists is appended to
    log.info() << "four" << Qt::endl;
    QCOMPARE(second.closeAndStrip(), QStringLiteral("[files]three \n[files]four \n"));
}

void tst_cLogCentral::warningsAreFlushed()
{
    LogFile file;
    const cLog log = cLogCentral::log(QStringLiteral("flush"));
    log.warning() << "warning" << Qt::endl;
    QCOMPARE(file.read().count('\n'), 1);
    log.info() << "info" << Qt::endl;
    log.error() << "error" << Qt::endl;
    QCOMPARE(file.read().count('\n'), 3);
}

void tst_cLogCentral::historyKeepsTheLast()
{
    QVERIFY(cLogCentral::history().isEmpty());
    const cLog log = cLogCentral::log(QStringLiteral("history"));
    log.warning() << "not kept" << Qt::endl;
    cLogCentral::setDebuggerOutput(true);
    for (int i = 0; i <= 10000; ++i)
        log.info() << i << Qt::flush;
    log.error() << "last" << Qt::flush;
    const QList<cLogEntry> history = cLogCentral::history();
    QCOMPARE(history.size(), 10000);
    QCOMPARE(history.first().message, QStringLiteral("2 "));
    QCOMPARE(history.last().message, QStringLiteral("last "));
    QCOMPARE(history.last().channel, QStringLiteral("history"));
    QCOMPARE(history.last().level, debugError);
    QCOMPARE(history.last().threadId, QThread::currentThreadId());
    QVERIFY(history.last().time.isValid() && history.first().time <= history.last().time);
}

void tst_cLogCentral::hooksAreCalledInOrder()
{
    Hook hooks[3];
    QStringList journal;
    for (int i : {2, 0, 1}) {
        hooks[i].setObjectName(QString::number(i));
        hooks[i].journal = &journal;
        cLogCentral::addHook(&hooks[i], "onLine");
    }
    const cLog log = cLogCentral::log(QStringLiteral("hooks"));
    log.info() << "not shown" << Qt::endl;
    cLogCentral::setDebuggerOutput(true);
    log.warning() << "shown" << Qt::endl;
    QCOMPARE(journal, (QStringList{QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("2")}));
    QCOMPARE(hooks[0].lines, QStringList{QStringLiteral("hooks|shown \n")});
    QCOMPARE(hooks[0].levels, QList<debugType>{debugWarning});
    QCOMPARE(hooks[0].threads, QList<Qt::HANDLE>{QThread::currentThreadId()});
    QVERIFY(qAbs(hooks[0].times.first().msecsTo(QDateTime::currentDateTime())) < 60000);
}

void tst_cLogCentral::hookMayBeReplacedRemovedAndUnfit()
{
    Hook hook;
    Hook unfit;
    Hook other;
    cLogCentral::addHook(nullptr, "onLine");
    cLogCentral::addHook(&unfit, "onMessage");
    cLogCentral::addHook(&hook, "onLine");
    cLogCentral::addHook(&hook, "onOther");
    cLogCentral::removeHook(&other);
    cLogCentral::setDebuggerOutput(true);
    const cLog log = cLogCentral::log(QStringLiteral("hook"));
    log.info() << "a" << Qt::flush;
    cLogCentral::removeHook(&hook);
    log.info() << "b" << Qt::flush;
    QCOMPARE(hook.lines, QStringList{QStringLiteral("other|a ")});
    QVERIFY(unfit.lines.isEmpty());
}

void tst_cLogCentral::hookOfAnotherThreadIsQueued()
{
    Hook hook;
    cLogCentral::addHook(&hook, "onLine");
    cLogCentral::setDebuggerOutput(true);
    Qt::HANDLE writer = nullptr;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        writer = QThread::currentThreadId();
        cLogCentral::log(QStringLiteral("queued")).error() << "text" << Qt::flush;
    }));
    thread->start();
    QVERIFY(thread->wait(60000));
    QVERIFY(hook.lines.isEmpty());
    QCoreApplication::processEvents();
    QCOMPARE(hook.lines, QStringList{QStringLiteral("queued|text ")});
    QCOMPARE(hook.threads, QList<Qt::HANDLE>{writer});
    QCOMPARE(hook.levels, QList<debugType>{debugError});
}

void tst_cLogCentral::destroyedHookIsForgotten()
{
    auto* gone = new Hook;
    auto* last = new Hook; // destroys itself while it is called
    cLogCentral::addHook(gone, "onLine");
    cLogCentral::addHook(last, "onLast");
    delete gone;
    cLogCentral::setDebuggerOutput(true);
    const QPointer<Hook> alive(last);
    cLogCentral::log(QStringLiteral("gone")).info() << "a" << Qt::flush;
    QVERIFY(!alive);
    cLogCentral::log(QStringLiteral("gone")).info() << "b" << Qt::flush;
    QCOMPARE(cLogCentral::history().last().message, QStringLiteral("b "));
}

QTEST_GUILESS_MAIN(tst_cLogCentral)

#include "tst_cLogCentral.moc"
