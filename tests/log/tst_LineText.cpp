#include "log/LineText.h"
#include "log/cLogLine.h"

#include <Encodings.h>

#include <QtTest/QtTest>

// Manipulators of a caller's own may do what they like with the text stream.

static QTextStream& halfCharacter(QTextStream& stream)
{
    return stream << QChar(0xd83d) << Qt::flush;
}

static QTextStream& otherLocale(QTextStream& stream)
{
    stream.setLocale(QLocale(QLocale::German));
    return stream;
}

static QTextStream& noDevice(QTextStream& stream)
{
    stream.setDevice(nullptr);
    return stream;
}

/// Values and manipulators.
static void (*const streamings[])(QDebug& debug, int value) = {
    [](QDebug& debug, int value) { debug << value << "text" << value * 0.37; },
    [](QDebug& debug, int value) { debug << QString(QChar(value % 0xd800)) << QByteArray("a\"b"); },
    [](QDebug& debug, int) { debug << Qt::hex << Qt::showbase << Qt::left << Qt::uppercasedigits; },
    [](QDebug& debug, int value) { debug << qSetFieldWidth(value % 12) << qSetPadChar(QLatin1Char('*')); },
    [](QDebug& debug, int value) { debug << Qt::fixed << qSetRealNumberPrecision(value % 9); },
    [](QDebug& debug, int) { debug.nospace().noquote(); },
    [](QDebug& debug, int) { debug << Qt::flush; },
    [](QDebug& debug, int) { debug << Qt::endl; },
    // The conversion keeps the half of a character until the other one arrives.
    [](QDebug& debug, int) { debug << halfCharacter; },
    [](QDebug& debug, int) { debug << Encodings::latin1; },
    [](QDebug& debug, int) { debug << otherLocale; },
    [](QDebug& debug, int) { debug << Qt::flush << noDevice; },
};

/// Each fast way against the plain one, on many inputs.
class tst_LineText : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Encodings::setDefault("UTF-8"); }
    /// Half of the texts are plain ASCII, the others have any bytes, also zeros. No percent sign is a place-holder.
    void lineIsThatOfQString()
    {
        for (int i = 0; i < 1000000; ++i) {
            const quint64 thread = i ? m_random.generate64() >> m_random.bounded(64) : 0;
            QByteArray text(m_random.bounded(40), 'x');
            for (char& byte : text)
                byte = char(i % 2 ? 32 + m_random.bounded(95) : m_random.bounded(256));
            LineText::Bytes line;
            LineText::appendFilePrefix(line, "Tue Nov 3", "%4%1", Qt::HANDLE(quintptr(thread)));
            LineText::appendUtf8(line, text.constData(), LineText::messageLength(text));
            const QByteArray plain = "Tue Nov 3-%4%1(" + QByteArray::number(qulonglong(thread), 16) + "):";
            if (QByteArray(line.constData(), line.size()) != plain + LineText::message(text).toUtf8())
                QFAIL((plain + text.toHex()).constData());
        }
    }
    /// Also when the clock is put back, and before 1970.
    void timeIsThatOfQDateTime()
    {
        cTimeText text;
        qint64 time = 0;
        for (int i = 0; i < 100000; ++i) {
            time += m_random.bounded(-700, 1000);
            if (i % 16 == 0)
                time = qint64(m_random.generate64() % 8000000000000) - 2000000000000;
            QCOMPARE(text.at(time), QDateTime::fromMSecsSinceEpoch(time).toString(Qt::TextDate).toUtf8());
        }
    }
    /// Lines of random values and manipulators, through the kept stream and through a new one for each line.
    void streamIsAsGoodAsNew()
    {
        QBuffer kept, fresh;
        QVERIFY(kept.open(QIODevice::ReadWrite | QIODevice::Text));
        QVERIFY(fresh.open(QIODevice::ReadWrite | QIODevice::Text));
        cLineStream lines(kept);
        for (int i = 0; i < 100000; ++i) {
            QDebug ours(lines.start()), plain(&fresh);
            for (int items = m_random.bounded(8); items > 0; --items) {
                const auto streaming = streamings[m_random.bounded(int(std::size(streamings)))];
                const int value = m_random.bounded(1000000);
                streaming(ours, value);
                streaming(plain, value);
            }
            lines.finish(std::move(ours));
            QDebug(std::move(plain)).nospace();
            QCOMPARE(kept.data(), fresh.data());
            for (QBuffer* buffer : {&kept, &fresh}) {
                buffer->buffer().clear();
                buffer->seek(0);
            }
        }
    }

private:
    QRandomGenerator m_random{20260301};
};

QTEST_GUILESS_MAIN(tst_LineText)

#include "tst_LineText.moc"
