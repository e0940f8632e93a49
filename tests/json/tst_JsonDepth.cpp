// A million levels, on a thread with Qt's default stack.

#include <Norvale/cJsonReader.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cJsonWriter.h>

#include <QtCore/QThread>
#include <QtCore/QVariant>
#include <QtTest/QTest>

namespace {

constexpr int Levels = 1000000;

QByteArray repeated(const QByteArray& part)
{
    return part.repeated(Levels / (part.count('[') + part.count('{')));
}

/// Runs @p task on a thread of its own and waits for it.
template <typename Task>
bool onThread(Task task)
{
    bool isDone = false;
    QThread* const thread = QThread::create([&] { isDone = task(); });
    thread->start();
    thread->wait();
    delete thread;
    return isDone;
}

} // namespace

class tst_JsonDepth : public QObject
{
    Q_OBJECT

private slots:
    void everything_data();
    void everything();
    void failures_data();
    void failures();
    void variants();
};

void tst_JsonDepth::everything_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("arrays") << repeated("[") + '1' + repeated("[").replace('[', ']');
    QTest::newRow("objects") << repeated("{\"a\":") + '1' + QByteArray(Levels, '}');
    QTest::newRow("mixed") << repeated("[1,{\"a\":2,\"b\":") + "null" + QByteArray("}]").repeated(Levels / 2);
}

void tst_JsonDepth::everything()
{
    QFETCH(QByteArray, text);
    QVERIFY(onThread([&] {
        cJsonValue value;
        cJsonValue again;
        if (!cJsonReader::parse(text, value) || !cJsonReader::parse(text, again))
            return false;
        cJsonValue copy = value;
        copy.append(1);
        const bool isSame = value == again && value.equivalentTo(again) && value.notEqualTo(copy, true);
        const bool isWritten = cJsonWriter::serialize(value) == text;
        again = cJsonValue();
        return isSame && isWritten && value.prettyPrint(0).size() > text.size();
    }));
}

// Each open level fails and looks for its closing bracket: that must not cost a walk over the rest for each.
void tst_JsonDepth::failures_data()
{
    QTest::addColumn<QByteArray>("text");
    const QByteArray rest = QByteArray("\"x\" /* c */ ").repeated(Levels / 10);
    QTest::newRow("arrays not closed") << repeated("[");
    QTest::newRow("objects not closed") << repeated("{\"a\":");
    QTest::newRow("closed the wrong way") << repeated("[{\"a\":") + QByteArray("]}").repeated(Levels / 2);
    QTest::newRow("tokens behind the failure") << repeated("[") + "1 2" + rest;
    QTest::newRow("quotes behind the failure") << repeated("[") + "1 2" + QByteArray(Levels, '"');
    QTest::newRow("comments behind the failure") << repeated("{\"a\":") + "?" + QByteArray("/* ").repeated(Levels / 10);
}

void tst_JsonDepth::failures()
{
    QFETCH(QByteArray, text);
    QVERIFY(onThread([&] {
        cJsonValue value;
        return !cJsonReader::parse(text, value) && value.size() == 1;
    }));
}

void tst_JsonDepth::variants()
{
    constexpr int Kept = 2000; // on every system
    QVERIFY(onThread([] {
        cJsonValue value;
        cJsonValue shallow;
        const QByteArray part = QByteArray(Kept, '[') + QByteArray(Kept, ']');
        if (!cJsonReader::parse(repeated("["), value) && !cJsonReader::parse(part, shallow))
            return false;
        const QVariant deepest = value.toVariant();
        return deepest.isValid() && cJsonValue(shallow.toVariant()) == shallow;
    }));
}

QTEST_APPLESS_MAIN(tst_JsonDepth)
#include "tst_JsonDepth.moc"
