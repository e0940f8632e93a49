#include "LogFile.h"
#include "SettingsSandbox.h"

#include <QtCore/QTextCodec>
#include <QtCore/QThread>
#include <QtTest/QtTest>

#include <memory>
#include <optional>

class tst_cLog : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void writesWhatWasFlushed();
    void leftoverBeginsNextLine();
    void disabledChannelDropsInfoOnly();
    void handlesShareTheChannel();
    void eachCopyWritesAndTheFirstUnlocks();
    void lateCopyEndsTheLineOfItsThread();
    void assignmentMakesTheChannelsTheSame();
    void assignmentLetsWaitingThreadsOn();
    void everyLineBeginsFresh();
    void slicedCopyMayOutliveTheLine();
    void longLineIsWhole();
    void messageEndsAtZeroByte();

private:
    SettingsSandbox m_sandbox;
    std::unique_ptr<LogFile> m_file;
    cLog m_log; ///< Each test has a channel of its own.
};

void tst_cLog::init()
{
    m_file.reset();
    m_file = std::make_unique<LogFile>();
    static int number = 0;
    m_log = cLogCentral::log(QStringLiteral("c%1").arg(++number));
    m_log.enable();
}

void tst_cLog::writesWhatWasFlushed()
{
    const cLog log = cLogCentral::log(QStringLiteral("flushed"));
    log.info() << "plugin" << 7 << Qt::endl;
    log.warning() << QStringLiteral("quoted") << Qt::flush;
    log.error().nospace() << "a" << 1 << "b\n" << Qt::flush;
    QCOMPARE(m_file->closeAndStrip(), QStringLiteral("[flushed]plugin 7 \n[flushed]\"quoted\" [flushed]a1b\n"));
}

void tst_cLog::leftoverBeginsNextLine()
{
    const cLog log = cLogCentral::log(QStringLiteral("leftover"));
    log.info() << "one";
    log.info() << "two" << Qt::endl << "three";
    log.info() << Qt::endl;
    QCOMPARE(m_file->closeAndStrip(), QStringLiteral("[leftover][leftover]one two \n[leftover]three \n"));
}

void tst_cLog::disabledChannelDropsInfoOnly()
{
    cLog log = cLogCentral::log(QStringLiteral("off"));
    log.disable();
    log.info() << "dropped" << Qt::endl << "left";
    log.warning() << "warning" << Qt::endl;
    log.error() << "error" << Qt::endl;
    {
        const cDebug line = log.info(); // the switch counts when the line ends
        log.enable();
        QDebug(line) << "on" << Qt::endl;
    }
    QCOMPARE(m_file->closeAndStrip(), QStringLiteral("[off]left warning \n[off]error \n[off]on \n"));
}

void tst_cLog::handlesShareTheChannel()
{
    cLog one = cLogCentral::log(QStringLiteral("shared"));
    const cLog other = cLogCentral::log(QStringLiteral("shared"));
    cLog copy = m_log;
    copy = other;
    one.disable();
    other.info() << "dropped" << Qt::endl;
    copy.enable();
    one.info() << "written" << Qt::endl;
    QCOMPARE(m_file->closeAndStrip(), QStringLiteral("[shared]written \n"));
}

void tst_cLog::eachCopyWritesAndTheFirstUnlocks()
{
    const cLog log = cLogCentral::log(QStringLiteral("copies"));
    {
        cDebug line = log.info();
        line << "a" << Qt::flush;
        {
            cDebug copy(line);
            copy << "b" << Qt::flush << "c";
        }
        log.info() << "d" << Qt::endl; // the channel is free
        line << "e" << Qt::flush << "f";
    }
    log.info() << "g" << Qt::endl;
    QCOMPARE(m_file->closeAndStrip(), QStringLiteral("[copies]a b [copies]d \n[copies]c e [copies]f g \n"));
}

void tst_cLog::lateCopyEndsTheLineOfItsThread()
{
    const cLog log = cLogCentral::log(QStringLiteral("late"));
    std::unique_ptr<cDebug> first(new cDebug(log.info()));
    auto late = std::make_unique<cDebug>(*first);
    first.reset();
    {
        cDebug second = log.warning();
        second << "seen" << Qt::flush;
        late.reset(); // would wait for this thread if it locked
        second << "rest" << Qt::endl;
    }
    log.info() << "free" << Qt::endl;
    QCOMPARE(m_file->closeAndStrip(), QStringLiteral("[late][late]seen [late]rest \n[late]free \n"));
}

void tst_cLog::assignmentMakesTheChannelsTheSame()
{
    const cLog source = cLogCentral::log(QStringLiteral("source"));
    cLog target = cLogCentral::log(QStringLiteral("target"));
    target.disable();
    {
        cDebug to = target.info();
        cDebug from = source.info();
        from << "from" << Qt::flush;
        to << "lost" << Qt::flush;
        to = from;
    }
    target.info() << "named after the source" << Qt::endl;
    source.info() << "free" << Qt::endl;
    QCOMPARE(m_file->closeAndStrip(),
             QStringLiteral("[source]from [source][source]named after the source \n[source]free \n"));
}

void tst_cLog::assignmentLetsWaitingThreadsOn()
{
    const cLog target = cLogCentral::log(QStringLiteral("waited for"));
    std::unique_ptr<QThread> waiting;
    {
        cDebug to = target.info();
        waiting.reset(QThread::create([&] { target.info() << "waited" << Qt::endl; }));
        waiting->start();
        cDebug from = m_log.info();
        to = from;
    }
    QVERIFY(waiting->wait(60000));
    QVERIFY(m_file->closeAndStrip().contains(QStringLiteral("]waited \n")));
}

void tst_cLog::everyLineBeginsFresh()
{
    const cLog log = cLogCentral::log(QStringLiteral("fresh"));
    log.info().nospace().noquote().verbosity(7) << Qt::hex << qSetFieldWidth(3) << 255 << Qt::reset << Qt::endl;
    QCOMPARE(log.info().verbosity(), 2);
    log.info() << 255 << QString(QChar(0xe4)) << Qt::endl;
    // the bytes of the locale's codec, each a character
    const QByteArray bytes = QTextCodec::codecForLocale()->fromUnicode(QString(QChar(0xe4)));
    QCOMPARE(m_file->closeAndStrip(),
             QStringLiteral("[fresh] ff\n[fresh][fresh]255 \"%1\" \n").arg(QString::fromLatin1(bytes)));
}

void tst_cLog::slicedCopyMayOutliveTheLine()
{
    const cLog log = cLogCentral::log(QStringLiteral("sliced"));
    std::optional<QDebug> kept(log.info().nospace());
    *kept << "early";
    log.info() << "a"
               << "b" << Qt::endl;
    *kept << "late";
    kept.reset();
    log.info() << "c" << Qt::endl;
    QDebug moved = std::move(static_cast<QDebug&&>(log.info()));
    moved << "m";
    moved = QDebug(QtDebugMsg).nospace();
    log.info() << "d" << Qt::endl;
    QCOMPARE(m_file->closeAndStrip(),
             QStringLiteral("[sliced][sliced]a b \n[sliced]earlylatec \n[sliced][sliced]m d \n"));
}

void tst_cLog::longLineIsWhole()
{
    const cLog log = cLogCentral::log(QStringLiteral("long"));
    QString text(70001, QLatin1Char('x'));
    text[65535] = QChar(0xe4);
    log.info().noquote() << text << Qt::endl;
    log.info() << "short" << Qt::endl;
    const QByteArray bytes = QTextCodec::codecForLocale()->fromUnicode(text);
    QCOMPARE(m_file->closeAndStrip(),
             QStringLiteral("[long]") + QString::fromLatin1(bytes) + QStringLiteral(" \n[long]short \n"));
}

void tst_cLog::messageEndsAtZeroByte()
{
    const cLog log = cLogCentral::log(QStringLiteral("%1%4"));
    log.info() << '%' << "%2 %3" << char(0) << "gone" << Qt::endl;
    QCOMPARE(m_file->closeAndStrip(), QStringLiteral("[%1%4]% %2 %3 "));
}

QTEST_GUILESS_MAIN(tst_cLog)

#include "tst_cLog.moc"
