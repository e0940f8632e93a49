#include "log/LineText.h"
#include "log/cLineStream.h"
#include "log/cTimeText.h"

#include <QtCore/QBuffer>
#include <QtCore/QDateTime>
#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

/// Each fast way against the plain one, on many inputs.
class tst_LineText : public QObject
{
    Q_OBJECT

private slots:
    void hexIsThatOfQString();
    void latin1IsThatOfQString();
    void prefixIsWhatWouldBeSubstituted();
    void timeIsThatOfQDateTime();
    void streamIsAsGoodAsNew();

private:
    QRandomGenerator m_random{20260301};
};

namespace {

QByteArray bytes(const LineText::Bytes& line)
{
    return QByteArray(line.constData(), line.size());
}

/// Mostly ASCII, sometimes not, with a zero byte here and there.
QByteArray randomText(QRandomGenerator& random)
{
    QByteArray text(random.bounded(40), 'x');
    const bool isPlain = random.bounded(2) == 0;
    for (char& byte : text)
        byte = char(isPlain ? 32 + random.bounded(95) : random.bounded(256));
    return text;
}

} // namespace

void tst_LineText::hexIsThatOfQString()
{
    for (int i = 0; i < 1000000; ++i) {
        const quintptr number = quintptr(m_random.generate64() >> m_random.bounded(64));
        LineText::Bytes line;
        LineText::appendHex(line, number);
        if (bytes(line) != QByteArray::number(qulonglong(number), 16))
            QFAIL(qPrintable(QString::number(number)));
    }
    LineText::Bytes zero;
    LineText::appendHex(zero, 0);
    QCOMPARE(bytes(zero), QByteArray("0"));
}

void tst_LineText::latin1IsThatOfQString()
{
    for (int i = 0; i < 1000000; ++i) {
        const QByteArray text = randomText(m_random);
        LineText::Bytes line;
        line.append('-');
        LineText::appendLatin1(line, text.constData(), LineText::messageLength(text));
        if (bytes(line) != '-' + LineText::message(text).toUtf8())
            QFAIL(text.toHex().constData());
    }
}

void tst_LineText::prefixIsWhatWouldBeSubstituted()
{
    LineText::Bytes line;
    LineText::appendFilePrefix(line, "Tue Nov 3 10:00:00 2026", "%4PluginMgr", Qt::HANDLE(quintptr(6000)));
    QCOMPARE(bytes(line), QByteArray("Tue Nov 3 10:00:00 2026-%4PluginMgr(1770):"));
    QCOMPARE(LineText::forDebugger(Qt::HANDLE(quintptr(6000)), QStringLiteral("%1%3"), QStringLiteral("%2 ")),
             QStringLiteral("T6000:%1%3:%2 "));
}

/// Also when the clock is put back, and before 1970.
void tst_LineText::timeIsThatOfQDateTime()
{
    cTimeText text;
    qint64 time = 1793700000000;
    for (int i = 0; i < 100000; ++i) {
        if (i % 16 == 0)
            time = qint64(m_random.generate64() % 8000000000000) - 2000000000000;
        else
            time += m_random.bounded(-700, 1000);
        const QByteArray expected = QDateTime::fromMSecsSinceEpoch(time).toString(Qt::TextDate).toUtf8();
        if (text.at(time) != expected)
            QFAIL(qPrintable(QString::number(time)));
    }
}

namespace {

/// Manipulators of a caller's own, which may do what they like with the stream.
QTextStream& inLatin1(QTextStream& stream)
{
    stream.setCodec("ISO-8859-1");
    return stream;
}
QTextStream& inGerman(QTextStream& stream)
{
    stream.setLocale(QLocale(QLocale::German));
    return stream;
}
/// The conversion keeps the half until the other one arrives.
QTextStream& halfCharacter(QTextStream& stream)
{
    return stream << QChar(0xd83d) << Qt::flush;
}
QTextStream& toNothing(QTextStream& stream)
{
    stream.setDevice(nullptr);
    return stream;
}

/// One of many values and manipulators.
using Streaming = void (*)(QDebug& debug, int value);

const Streaming streamings[] = {
    [](QDebug& debug, int value) { debug << value; },
    [](QDebug& debug, int value) { debug << value * 0.37; },
    [](QDebug& debug, int) { debug << "text"; },
    [](QDebug& debug, int value) { debug << QString(QChar(value % 0xd800)); },
    [](QDebug& debug, int) { debug << QByteArray("a\"b"); },
    [](QDebug& debug, int value) {
        debug << QList<int>{value, 2};
    },
    [](QDebug& debug, int) { debug << Qt::hex << Qt::showbase; },
    [](QDebug& debug, int value) { debug << qSetFieldWidth(value % 12) << qSetPadChar(QLatin1Char('*')); },
    [](QDebug& debug, int value) { debug << Qt::fixed << qSetRealNumberPrecision(value % 9); },
    [](QDebug& debug, int) { debug.nospace(); },
    [](QDebug& debug, int) { debug.noquote().verbosity(7); },
    [](QDebug& debug, int) { debug << halfCharacter; },
    [](QDebug& debug, int) { debug << Qt::left << Qt::uppercasedigits; },
    [](QDebug& debug, int) { debug << Qt::flush; },
    [](QDebug& debug, int) { debug << Qt::endl; },
    [](QDebug& debug, int) { debug << inLatin1; },
    [](QDebug& debug, int) { debug << inGerman; },
    [](QDebug& debug, int) { debug << Qt::flush << toNothing; },
};

} // namespace

/// Lines of random values and manipulators, through the kept stream and through a new one for each line.
void tst_LineText::streamIsAsGoodAsNew()
{
    QBuffer kept;
    QBuffer fresh;
    QVERIFY(kept.open(QIODevice::ReadWrite | QIODevice::Text) && fresh.open(QIODevice::ReadWrite | QIODevice::Text));
    cLineStream lines(kept);
    for (int i = 0; i < 100000; ++i) {
        QDebug ours(lines.start());
        QDebug plain(&fresh);
        for (int items = m_random.bounded(8); items > 0; --items) {
            const Streaming streaming = streamings[m_random.bounded(int(std::size(streamings)))];
            const int value = m_random.bounded(1000000);
            streaming(ours, value);
            streaming(plain, value);
        }
        lines.settle(std::move(ours));
        QDebug(std::move(plain)).nospace();
        if (kept.data() != fresh.data())
            QFAIL(qPrintable(QString::number(i)));
        if (kept.size() > 4096) {
            kept.buffer().clear();
            fresh.buffer().clear();
            kept.seek(0);
            fresh.seek(0);
        }
    }
}

QTEST_GUILESS_MAIN(tst_LineText)

#include "tst_LineText.moc"
